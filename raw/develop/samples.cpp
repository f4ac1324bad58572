#include "raw/develop/samples.h"

#include "raw/unpack/decision.h"
#include "raw/unpack/row.h"

namespace trv::raw {
namespace {

// Whether a packed format's bits lie as those of a packing.
bool lies_like(const Format& format, const Packing& packing) {
    if (packing.group != format.group || packing.bits != format.stored ||
        packing.bytes * 8 != format.group * format.stored)
        return false;
    for (unsigned k = 0; k < packing.group; ++k)
        for (unsigned bit = 0; bit < packing.bits; ++bit) {
            const unsigned from_top = k * packing.bits + packing.bits - 1 - bit;
            const unsigned at = format.order == BitOrder::least ? k * packing.bits + bit : from_top;
            const Place place = raw::place(packing, k, bit);
            const unsigned inside = format.order == BitOrder::least ? at % 8 : 7 - at % 8;
            if (place.byte != at / 8 || place.bit != inside) return false;
        }
    return true;
}

const Packing* packing_like(const Format& format) {
    for (const Packing& packing : packings)
        if (packing.target == Target::words && lies_like(format, packing)) return &packing;
    return nullptr;
}

bool is_single_sample(const Format& format) {
    return (format.family == Family::grey || format.family == Family::bayer) &&
           format.significant <= 16;
}

// The format that says whether samples are grey or a mosaic's.
const Format* meaning(const Buffer& source, const Packing* packing, uint32_t format) {
    const Format* said = find_format(format & 0xFF);
    const Format* own = find_format(source.format() & 0xFF);
    if (packing == nullptr) return own;
    if (format != 0) return goes_to(*packing, format) ? said : nullptr;
    return own;
}

}  // namespace

bool find_samples(const Buffer& source, uint32_t packing, uint32_t format, SampleSource* samples) {
    const Packing* packed = packing == 0 ? nullptr : find_packing(packing);
    if (packing != 0 && (packed == nullptr || packed->target != Target::words)) return false;
    const Format* like = meaning(source, packed, format);
    const bool is_mosaic = like != nullptr && like->family == Family::bayer;
    if (packed == nullptr) {
        if (like == nullptr || !is_single_sample(*like)) return false;
        if (is_packed(*like) && (packed = packing_like(*like)) == nullptr) return false;
    }
    samples->packing = packed;
    samples->first = packed == nullptr ? 0 : source.packing_offset() % packed->group;
    samples->bits = packed == nullptr ? like->significant : packed->bits;
    samples->step = is_mosaic ? 2 : 1;
    samples->phase = is_mosaic ? like->phase : Phase::none;
    return true;
}

uint16_t sample_at(const SampleSource& source, const Side& side, uint32_t x, uint32_t y) {
    const uint8_t* line = side.address + size_t{side.stride} * y;
    if (source.is_bytes()) return line[x];
    uint16_t word = 0;
    if (source.packing == nullptr) {
        __builtin_memcpy(&word, line + size_t{x} * sizeof word, sizeof word);
        return word;
    }
    const Packing& packing = *source.packing;
    const uint64_t pixel = uint64_t{source.first} + x;
    alignas(uint16_t) uint8_t out[sizeof word];
    scalar::unpack_rows.row[packing.code - 1]({line + pixel / packing.group * packing.bytes, out,
                                               static_cast<uint32_t>(pixel % packing.group), 1});
    __builtin_memcpy(&word, out, sizeof word);
    return word;
}

}  // namespace trv::raw
