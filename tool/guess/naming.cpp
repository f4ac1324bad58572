#include "tool/guess/naming.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "tool/cli/catalogue.h"
#include "tool/cli/text.h"

namespace trv::tool::guess {
namespace {

constexpr Phase phases[] = {Phase::A, Phase::B, Phase::C, Phase::D};

// Of equal evidence, the byte order that Windows and most grabbers use comes first.
constexpr double rarer = 0.99;

Reading plain(Code code) {
    return {&format_of(code), 0, Phase::none, false, 1, ""};
}

std::vector<Reading> in_order(const std::vector<Code>& codes, const std::string& remark) {
    std::vector<Reading> result;
    double weight = 1;
    for (const Code code : codes) {
        result.push_back({&format_of(code), 0, Phase::none, false, weight, remark});
        weight *= rarer;
    }
    return result;
}

// The shallowest of the deep formats that holds so many bits.
Code deep(const std::vector<Code>& rising, uint32_t bits) {
    for (const Code code : rising)
        if (format_of(code).significant >= bits) return code;
    return rising.back();
}

// Grey, or a mosaic of any phase.
Code words_of(bool mosaic, uint32_t bits) {
    using enum Code;
    return mosaic ? deep({BAY10, BAY12, BAY14, BAY16}, bits)
                  : deep({Mono10, Mono12, Mono14, Mono16}, bits);
}

bool has_place(const raw::Packing& row, const raw::Packing& other, unsigned k, unsigned bit) {
    const raw::Place one = raw::place(row, k, bit), two = raw::place(other, k, bit);
    return one.byte == two.byte && one.bit == two.bit;
}

bool are_same(const raw::Packing& row, const raw::Packing& other) {
    if (row.bits != other.bits || row.group != other.group || row.bytes != other.bytes ||
        row.target != other.target)
        return false;
    for (unsigned k = 0; k < row.samples; ++k)
        for (unsigned bit = 0; bit < row.bits; ++bit)
            if (!has_place(row, other, k, bit)) return false;
    return true;
}

// Words of the raw library with so many bits, at the top or at the bottom; 0 where a format has
// them.
uint32_t word_packing(Order order, uint32_t bits, bool top) {
    for (const raw::Packing& row : raw::packings)
        if (row.group == 1 && row.order == order && row.bits == bits &&
            (raw::place(row, 0, bits - 1u).bit == 7) == top)
            return row.code;
    return 0;
}

// Samples that reach the highest bit of a word and leave the lowest ones clear.
bool are_at_the_top(const Depth& depth) {
    return depth.silent >= 2 && depth.top >= 15;
}

std::vector<Reading> of_words(const Packing& packing, const Depth& depth, bool mosaic) {
    std::vector<Reading> result;
    const auto add = [&](uint32_t bits, bool top, double weight) {
        const Format& format = format_of(words_of(mosaic, bits));
        const uint32_t code =
            word_packing(packing.row.order, format.significant, top || format.significant == 16);
        result.push_back({&format, code, Phase::none, false, weight, ""});
    };
    if (are_at_the_top(depth)) add(16 - depth.silent, true, 1);
    add(depth.top, false, result.empty() ? 1 : rarer);
    return result;
}

struct OwnFormats {
    const char* packing;
    Code grey, mosaic;  // the mosaic of phase A, others follow it; Mono8 for none
};
// Formats that have the bits of a packing without being unpacked.
constexpr OwnFormats own_formats[] = {{"10p", Code::Mono10P, Code::BAY10P_A},
                                      {"12p", Code::Mono12P, Code::BAY12P_A},
                                      {"14p", Code::Mono14P, Code::BAY14P_A},
                                      {"12pmsb", Code::Mono12MP, Code::Mono8}};

const OwnFormats* own_formats_of(const Packing& packing) {
    for (const OwnFormats& own : own_formats)
        if (std::string_view(own.packing) == packing.row.name) return &own;
    return nullptr;
}

// Samples as they are; a format of its own goes before a packing.
std::vector<Reading> samples(const Packing& packing, const Depth& depth, bool mosaic) {
    if (packing.row.bits == 8) return {plain(mosaic ? Code::BAY8 : Code::Mono8)};
    if (packing.is_words()) return of_words(packing, depth, mosaic);
    const OwnFormats* own = own_formats_of(packing);
    if (own != nullptr && !mosaic) return {plain(own->grey)};
    if (own != nullptr && own->mosaic != Code::Mono8) return {plain(own->mosaic)};
    Reading reading = plain(words_of(mosaic, packing.row.bits));
    reading.packing = packing.row.code;
    return {reading};
}

std::vector<Reading> mosaics(const Packing& packing, const Depth& depth) {
    std::vector<Reading> result;
    for (Reading reading : samples(packing, depth, true))
        for (const Phase phase : phases) {
            // A packed format has a code for each phase.
            const auto code = static_cast<uint8_t>(reading.format->code);
            result.push_back(reading);
            if (reading.format->phase != Phase::none)
                result.back().format =
                    &format_of(static_cast<Code>(code + static_cast<uint8_t>(phase)));
            result.back().phase = phase;
        }
    return result;
}

// Which of two bytes of chrominance is U cannot be told.
std::vector<Reading> yuvs(bool chroma_first) {
    const std::string remark = "which chrominance is U only the eye can tell";
    using Codes = std::array<uint32_t, 2>;
    const Codes codes =
        chroma_first ? Codes{TRW_PACKING_UYVY, TRW_PACKING_VYUY} : Codes{0, TRW_PACKING_YVYU};
    std::vector<Reading> result = in_order({Code::YUV422, Code::YUV422}, remark);
    for (size_t i = 0; i < result.size(); ++i) result[i].packing = codes[i];
    return result;
}

std::vector<Reading> triples(const Packing& packing, uint32_t bits) {
    using enum Code;
    const std::string remark = "three samples a pixel; which is red only the eye can tell";
    if (packing.row.bits == 8) return in_order({BGR24, RGB24}, remark);
    return in_order({deep({BGR48_10, BGR48_12, BGR48_14, BGR48}, bits),
                     deep({RGB48_10, RGB48_12, RGB48_14, RGB48}, bits)},
                    remark);
}

// The place in a pixel of four bytes whose values vary least.
size_t quietest(const Dump& dump, const Hypothesis& h, uint64_t skip) {
    uint64_t changes[4] = {};
    const uint64_t end = std::min<uint64_t>(dump.known, skip + (h.pitch * 64));
    for (uint64_t i = skip; i + 4 < end; ++i)
        changes[(i - skip) % 4] += dump.bytes[i] != dump.bytes[i + 4] ? 1u : 0u;
    return static_cast<size_t>(std::min_element(changes, changes + 4) - changes);
}

std::vector<Reading> quads(const Dump& dump, const Hypothesis& h, uint32_t bits, uint64_t skip) {
    using enum Code;
    if (h.packing->is_words())
        return {plain(deep({RGBA64_10, RGBA64_12, RGBA64_14, RGBA64}, bits))};
    const std::string remark = "four bytes a pixel; which is red only the eye can tell";
    if (quietest(dump, h, skip) == 0) return in_order({XBGR32, XRGB32}, remark);
    return in_order({BGRX32, RGBX32}, remark);
}

// What reads colours of words reads them with the low byte first only.
std::vector<Reading> swapped(const Packing& packing, std::vector<Reading> readings) {
    if (!packing.is_words() || packing.row.order == Order::lsb) return readings;
    for (Reading& reading : readings) {
        reading.swapped = true;
        if (!reading.remark.empty()) reading.remark += "; ";
        reading.remark += "the bytes of each word are swapped";
    }
    return readings;
}

}  // namespace

std::vector<std::string> names_of(const raw::Packing& row) {
    std::vector<std::string> names;
    for (const raw::Packing& other : raw::packings)
        if (are_same(row, other)) names.emplace_back(other.name);
    return names;
}

std::vector<Reading> readings(const Hypothesis& h, const Depth& depth, const Dump& dump,
                              uint64_t skip) {
    const Packing& packing = *h.packing;
    switch (h.pattern) {
        case Pattern::grey:
            return samples(packing, depth, false);
        case Pattern::mosaic:
            return mosaics(packing, depth);
        case Pattern::triple:
            return swapped(packing, triples(packing, depth.top));
        case Pattern::quad:
            return swapped(packing, quads(dump, h, depth.top, skip));
        default:
            return yuvs(h.pattern == Pattern::chroma_first);
    }
}

}  // namespace trv::tool::guess
