// TRW_Unpack on any two buffers that are valid by themselves, at every level, compared with the
// bits that the table of packings says.
#include "raw/unpack/unpack.h"

#include <algorithm>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "raw/unpack/decision.h"
#include "trvil/raw.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;
using trv::raw::Packing;

// Mostly a known packing.
uint32_t any_packing(Input& in) {
    return in.one_in(32) ? in.word() : 1 + in.below(trv::raw::packing_count);
}

// Mostly a format that the samples go to.
uint32_t any_format(Input& in, const Packing* packing) {
    const uint32_t choice = in.byte();
    if (packing == nullptr || in.one_in(16)) return choice;
    for (uint32_t i = 0; i < trv::format_count; ++i) {
        const auto code =
            static_cast<uint32_t>(trv::formats[(choice + i) % trv::format_count].code);
        if (trv::raw::goes_to(*packing, code)) return trv::format_prefix + code;
    }
    return 0;
}

Answers any_source(Input& in, const Packing* packing) {
    Answers a{};
    a.present = !in.one_in(32);
    a.width = in.one_in(8) ? in.below(300) : in.below(70);
    a.height = in.below(4);
    a.packing_offset = in.one_in(4) ? in.below(40) : 0;
    const uint64_t line =
        packing == nullptr ? a.width : trv::raw::line_bytes(*packing, a.packing_offset, a.width);
    a.stride = static_cast<uint32_t>(line) + (in.one_in(2) ? 0 : in.below(70));
    if (in.one_in(32)) a.stride = in.below(200);
    return a;
}

Answers any_destination(Input& in, const Packing* packing, const Answers& from) {
    Answers a{};
    a.present = !in.one_in(32);
    a.format = any_format(in, packing);
    a.width = from.width;
    a.height = in.one_in(16) ? in.below(4) : from.height + in.below(2);
    a.stride = 2 * from.width + (in.one_in(2) ? 0 : in.below(70));
    if (in.one_in(32)) a.stride = in.below(200);
    return a;
}

size_t picture_bytes(const Answers& a, uint64_t line) {
    return a.height == 0 ? 0 : size_t{a.stride} * (a.height - 1) + line;
}

// The pixel's two bytes, bit by bit from the table.
uint32_t pixel(const Packing& p, const uint8_t* line, uint32_t x) {
    const uint8_t* group = line + size_t{x / p.group} * p.bytes;
    const unsigned per_pixel = p.samples / p.group;
    uint32_t value = 0;
    for (unsigned i = 0; i < per_pixel; ++i)
        for (unsigned bit = 0; bit < p.bits; ++bit) {
            const trv::raw::Place at = trv::raw::place(p, x % p.group * per_pixel + i, bit);
            value |= (uint32_t{group[at.byte]} >> at.bit & 1u) << (8 * i + bit);
        }
    return value;
}

void require_pixels(const Packing& p, const Answers& from, const Answers& to) {
    for (uint32_t y = 0; y < from.height; ++y)
        for (uint32_t x = 0; x < from.width; ++x) {
            const uint8_t* at = to.address + size_t{y} * to.stride + size_t{2} * x;
            const uint32_t found = at[0] | uint32_t{at[1]} << 8;
            const uint8_t* line = from.address + size_t{y} * from.stride;
            fuzz::require(found == pixel(p, line, from.packing_offset % p.group + x),
                          "a pixel is the bits that the table names");
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const uint32_t code = any_packing(in);
    const Packing* packing = trv::raw::find_packing(code);
    Answers from = any_source(in, packing), to = any_destination(in, packing, from);
    const uint8_t sides = in.byte();
    // No more than a call may touch: its lines, to the last byte of the last one.
    const uint64_t line =
        packing == nullptr ? 0 : trv::raw::line_bytes(*packing, from.packing_offset, from.width);
    const size_t source_size = picture_bytes(from, line);
    const size_t destination_size =
        std::max(picture_bytes(to, 2 * uint64_t{from.width}), size_t{to.stride} * to.height);
    from.address = fuzz::place(fuzz::source_arena(), source_size, sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), destination_size, sides & 2);
    uint8_t* const out = to.address;
    in.fill(from.address, source_size);
    std::memset(out, 0x3C + (sides & 4), destination_size);
    if (in.one_in(64)) (sides & 8 ? from : to).address = nullptr;
    const uint64_t source = fuzz::handle_of(from), destination = fuzz::handle_of(to);
    const uint32_t status =
        fuzz::compare_each(trv::raw::levels, trv::raw::best_level(), out, destination_size,
                           [&](const trv::raw::Level& level) {
                               return trv::raw::unpack(level, source, code, destination);
                           });
    if (status == TRV_STATUS_OK) require_pixels(*packing, from, to);
    fuzz::require(status == TRV_STATUS_OK || status == TRV_STATUS_PARAMETER ||
                      status == TRV_STATUS_UNSUPPORTED,
                  "the status is one of the stated ones");
    fuzz::require(TRW_Unpack(source, code, destination) == status, "the entry returns the same");
    return 0;
}
