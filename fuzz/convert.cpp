// TIL_Convert on any two buffers that are valid by themselves, at every level.
#include "image/exports/convert.h"

#include <algorithm>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "image/format/routes.h"
#include "tests/any_machine.h"
#include "trvil/til.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;
using trv::Format;

// Mostly a known format, the kit's prefix or another, now and then anything.
uint32_t any_format(Input& in) {
    const uint32_t prefix = in.one_in(16) ? in.word() << 8 : trv::format_prefix;
    const uint32_t choice = in.byte();
    if (choice >= 3 * trv::format_count) return prefix + choice;
    return prefix + static_cast<uint32_t>(trv::formats[choice % trv::format_count].code);
}

Answers any_buffer(Input& in) {
    Answers a{};
    a.present = !in.one_in(32);
    a.format = in.one_in(64) ? 0 : any_format(in);
    a.width = in.one_in(8) ? in.below(150) : in.below(24);
    a.height = in.below(4);
    const Format* format = a.known();
    const uint64_t line = format == nullptr ? a.width : trv::line_bytes(*format, a.width + 4);
    a.stride = static_cast<uint32_t>(line) + (in.one_in(2) ? 0 : in.below(70));
    a.method = in.one_in(16) ? in.word() : in.between(1, 3) << 8 | 9;
    a.phase = in.one_in(16) ? in.word() : in.between(1, 4) << 8 | 10;
    a.packing_offset = format == nullptr ? 0 : in.below(format->group);
    return a;
}

size_t span(uint64_t step, uint32_t lines, uint64_t last) {
    return lines == 0 ? 0 : step * (lines - 1) + last;
}

// Bytes of the destination that a conversion may reach, whatever the destination says of itself:
// the size rules of the library ask for less on some routes, and the rest is the caller's duty.
size_t reach(const Answers& from, const Answers& to) {
    const Format *source = from.known(), *destination = to.known();
    const size_t own = size_t{to.stride} * to.height;
    if (source == nullptr || destination == nullptr) return own;
    const uint64_t pixels = (uint64_t{from.width} + 3) / 4 * 4;  // unpacking writes whole groups
    const uint64_t line = trv::line_bytes(*destination, pixels);
    const uint64_t step = std::max<uint64_t>(to.stride, line + to.stride - to.width);
    const bool shears = source->code == trv::Code::Mono8 && destination == source;
    return std::max({own, span(shears ? step : to.stride, from.height, line),
                     size_t{from.stride} * from.height});
}

// What a rule may read: its lines, a rest of a group, the sample or pixel after the last line.
size_t source_extent(const Answers& from, const Answers& to) {
    return std::max(size_t{from.stride} * from.height, size_t{to.stride} * to.height) + 64;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    Answers from = any_buffer(in), to = any_buffer(in);
    const size_t source_size = source_extent(from, to), destination_size = reach(from, to);
    const uint8_t sides = in.byte();
    const bool missing = in.one_in(64);
    from.address = fuzz::place(fuzz::source_arena(), source_size, sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), destination_size, sides & 2);
    uint8_t* const out = to.address;
    const trv::Machine machine = test::any_machine(in);
    in.fill(from.address, source_size);
    std::memset(out, 0x3C + (sides & 4), destination_size);
    if (missing) (sides & 8 ? from : to).address = nullptr;
    const uint64_t source = sides & 16 || !missing ? fuzz::handle_of(from) : 0;
    const uint64_t destination = fuzz::handle_of(to);
    const uint32_t status =
        fuzz::compare_levels(out, destination_size, [&](const trv::Level& level) {
            return trv::convert(trv::on_machine(level, machine), source, destination);
        });
    fuzz::require(status == TRV_STATUS_OK || status == TRV_STATUS_BAYER_SETTING ||
                      status == TRV_STATUS_PARAMETER || status == TRV_STATUS_UNSUPPORTED,
                  "the status is one of the stated ones");
    fuzz::require(TIL_Convert(source, destination) == status, "the entry returns the same");
    return 0;
}
