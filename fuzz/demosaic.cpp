// TRW_Convert on mosaics that become words or bytes of colour, packed or not, at every level; with
// `gradient` and the other methods.
#include <algorithm>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "raw/convert/convert.h"
#include "raw/unpack/decision.h"
#include "trvil/raw.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;
using trv::Code;
using trv::raw::Packing;

// Every line a strip, on one thread.
constexpr trv::raw::Cut fine{1, 1, 4};

// Mostly of a mosaic.
uint32_t any_samples(Input& in) {
    const auto first = static_cast<uint32_t>(Code::BAY8), last = uint32_t{trv::code_end};
    return trv::format_prefix + (in.one_in(32) ? in.byte() : first + in.below(last - first));
}

uint32_t any_picture(Input& in) {
    constexpr Code all[] = {Code::RGB48,    Code::BGR48,    Code::RGB48_10, Code::BGR48_10,
                            Code::RGB48_12, Code::BGR48_12, Code::RGB48_14, Code::BGR48_14,
                            Code::BGR24,    Code::RGB24,    Code::BGRX32,   Code::RGBX32};
    return trv::format_prefix +
           (in.one_in(32) ? in.byte() : static_cast<uint32_t>(all[in.below(std::size(all))]));
}

Answers any_source(Input& in, const Packing* packing) {
    Answers a{};
    a.present = !in.one_in(32);
    a.format = any_samples(in);
    a.width = in.one_in(4) ? in.below(300) : in.below(40);
    a.height = in.below(8);
    a.method = in.one_in(16) ? in.word() : in.between(1, 3) << 8 | 9;
    a.phase = in.one_in(16) ? in.word() : in.between(1, 4) << 8 | 10;
    const trv::Format* format = a.known();
    const uint64_t line = packing != nullptr  ? trv::raw::line_bytes(*packing, 0, a.width)
                          : format == nullptr ? a.width
                                              : trv::line_bytes(*format, a.width);
    a.stride = static_cast<uint32_t>(line) + (in.one_in(2) ? 0 : in.below(30));
    return a;
}

Answers any_destination(Input& in, const Answers& from) {
    Answers a{};
    a.present = !in.one_in(32);
    a.format = any_picture(in);
    a.width = from.width;
    a.height = in.one_in(16) ? in.below(8) : from.height + in.below(2);
    const trv::Format* format = a.known();
    const uint64_t line = format == nullptr ? a.width : trv::line_bytes(*format, a.width);
    a.stride = static_cast<uint32_t>(line) + (in.one_in(2) ? 0 : in.below(30));
    return a;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const uint32_t code = in.one_in(2) ? 0 : 1 + in.below(trv::raw::packing_count);
    const Packing* packing = trv::raw::find_packing(code);
    Answers from = any_source(in, packing), to = any_destination(in, from);
    TRW_Settings settings{};
    if (in.one_in(2)) settings.method = TRW_METHOD_GRADIENT;
    const uint8_t sides = in.byte();
    // The sample after the last line, and groups that are read whole where there is no packing.
    const size_t source_size =
        size_t{from.stride} * from.height + (packing == nullptr ? size_t{from.width} + 64 : 0);
    const size_t pixel = 8, lines = std::max(from.height, to.height);
    const size_t destination_size = (size_t{to.stride} + pixel * (from.width + 4)) * lines;
    if (source_size > fuzz::arena_bytes || destination_size > fuzz::arena_bytes) return 0;
    from.address = fuzz::place(fuzz::source_arena(), source_size, sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), destination_size, sides & 2);
    uint8_t* const out = to.address;
    in.fill(from.address, source_size);
    std::memset(out, 0x3C + (sides & 4), destination_size);
    const uint64_t source = fuzz::handle_of(from), destination = fuzz::handle_of(to);
    const uint32_t status = fuzz::compare_each(
        trv::raw::levels, trv::raw::best_level(), out, destination_size,
        [&](const trv::raw::Level& level) {
            return trv::raw::convert(level, source, code, destination, settings, nullptr, fine);
        });
    fuzz::require(status == TRV_STATUS_OK || status == TRV_STATUS_BAYER_SETTING ||
                      status == TRV_STATUS_PARAMETER || status == TRV_STATUS_UNSUPPORTED,
                  "the status is one of the stated ones");
    settings.size = sizeof settings;
    fuzz::require(TRW_Convert(source, code, destination, &settings, nullptr) == status,
                  "the entry returns the same");
    return 0;
}
