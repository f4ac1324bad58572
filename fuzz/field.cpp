// TIL_FieldToFrame and its four methods on any field of whole pixels, at every level.
#include "image/exports/field_to_frame.h"

#include <algorithm>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "tests/any_machine.h"
#include "trvil/til.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;

constexpr trv::Code taken[] = {trv::Code::Mono8,  trv::Code::BGR24,  trv::Code::RGB24,
                               trv::Code::XBGR32, trv::Code::BGRX32, trv::Code::XRGB32,
                               trv::Code::RGBX32, trv::Code::RGBA32, trv::Code::YUV422};

// A line has at least two pixels and is made of whole ones, YUV422 of pairs.
Answers any_field(Input& in) {
    Answers a{};
    a.present = !in.one_in(32);
    const trv::Format& format = in.one_in(8) ? trv::formats[in.below(trv::format_count)]
                                             : trv::format_of(taken[in.below(9)]);
    a.width = 4 + (in.one_in(8) ? in.below(150) : in.below(24));
    a.height = in.below(9);
    const uint32_t whole = trv::is_packed(format) ? 8 : format.group;
    const uint32_t pixels = (a.width + whole - 1) / whole * whole + whole * in.below(20);
    a.stride = static_cast<uint32_t>(trv::line_bytes(format, pixels));
    a.format = in.one_in(32) ? in.word() : trv::whole_code(format);
    return a;
}

using Method = uint32_t (*)(uint64_t, uint64_t, uint32_t);
constexpr Method methods[] = {TIL_FieldToFrame_LineDup, TIL_FieldToFrame_LineAve,
                              TIL_FieldToFrame_Bilinear, TIL_FieldToFrame_Median};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    Answers from = any_field(in), to = any_field(in);
    const uint32_t method = in.below(5), flag = in.below(3);
    const uint8_t sides = in.byte();
    // A format that the code does not know may be interpolated by another's neighbours.
    const size_t field_size = size_t{from.stride} * from.height;
    if (from.known() != nullptr && from.format != to.format && in.one_in(2))
        to.format = from.format;
    from.address = fuzz::place(fuzz::source_arena(), field_size, sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), 2 * field_size, sides & 2);
    uint8_t* const out = to.address;
    const trv::Machine machine = test::any_machine(in);
    in.fill(from.address, field_size);
    std::memset(out, 0x3C + (sides & 4), 2 * field_size);
    const uint64_t source = fuzz::handle_of(from), destination = fuzz::handle_of(to);
    const uint32_t status = fuzz::compare_levels(out, 2 * field_size, [&](const trv::Level& level) {
        return trv::field_to_frame(trv::on_machine(level, machine), source, destination, method,
                                   flag);
    });
    fuzz::require(status == TRV_STATUS_OK || status == TRV_STATUS_PARAMETER ||
                      status == TRV_STATUS_UNSUPPORTED,
                  "the status is one of the stated ones");
    fuzz::require(TIL_FieldToFrame(source, destination, method, flag) == status,
                  "the entry returns the same");
    if (method < 4 && to.present)
        fuzz::require(methods[method](source, destination, flag) == status,
                      "the method returns the same");
    return 0;
}
