#include "tool/guess/naming.h"

#include <algorithm>

#include "tool/cli/catalogue.h"
#include "tool/cli/text.h"

namespace trv::tool::guess {
namespace {

constexpr Phase phases[] = {Phase::A, Phase::B, Phase::C, Phase::D};

// Of equal evidence, the byte order that Windows and most grabbers use comes first.
constexpr double rarer = 0.99;

Reading plain(Code code) {
    return {&format_of(code), Phase::none, false, 1, ""};
}

std::vector<Reading> in_order(const std::vector<Code>& codes, const std::string& remark) {
    std::vector<Reading> result;
    double weight = 1;
    for (const Code code : codes) {
        result.push_back({&format_of(code), Phase::none, false, weight, remark});
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

std::vector<Reading> greys(const Packing& packing, uint32_t bits) {
    using enum Code;
    switch (packing.bits) {
        case 8:
            return {plain(Mono8)};
        case 10:
            return {plain(Mono10P)};
        case 12:
            return {plain(packing.high_first ? Mono12MP : Mono12P)};
        case 14:
            return {plain(Mono14P)};
        default:
            return {plain(deep({Mono10, Mono12, Mono14, Mono16}, bits))};
    }
}

// The code of a mosaic; a packed one has a code per phase.
Code mosaic_code(const Packing& packing, uint32_t bits, Phase phase) {
    using enum Code;
    const auto lettered = [phase](Code first) {
        return static_cast<Code>(static_cast<uint8_t>(first) + static_cast<uint8_t>(phase));
    };
    switch (packing.bits) {
        case 8:
            return BAY8;
        case 10:
            return lettered(BAY10P_A);
        case 12:
            return lettered(BAY12P_A);
        case 14:
            return lettered(BAY14P_A);
        default:
            return deep({BAY10, BAY12, BAY14, BAY16}, bits);
    }
}

std::vector<Reading> mosaics(const Packing& packing, uint32_t bits) {
    if (packing.bits == 12 && packing.high_first)
        return {{&format_of(Code::Mono12MP), Phase::none, false, 0.9,
                 "it is a mosaic, but there is no format for mosaics packed like this; read as "
                 "grey"}};
    std::vector<Reading> result;
    for (const Phase phase : phases)
        result.push_back({&format_of(mosaic_code(packing, bits, phase)), phase, false, 1, ""});
    return result;
}

std::vector<Reading> triples(const Packing& packing, uint32_t bits) {
    using enum Code;
    const std::string remark = "three samples a pixel; which is red only the eye can tell";
    if (packing.bits == 8) return in_order({BGR24, RGB24}, remark);
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
    if (h.packing->bits == 16)
        return {plain(deep({RGBA64_10, RGBA64_12, RGBA64_14, RGBA64}, bits))};
    const std::string remark = "four bytes a pixel; which is red only the eye can tell";
    if (quietest(dump, h, skip) == 0) return in_order({XBGR32, XRGB32}, remark);
    return in_order({BGRX32, RGBX32}, remark);
}

std::vector<Reading> of_pattern(const Dump& dump, const Hypothesis& h, uint32_t bits,
                                uint64_t skip) {
    switch (h.pattern) {
        case Pattern::grey:
            return greys(*h.packing, bits);
        case Pattern::mosaic:
            return mosaics(*h.packing, bits);
        case Pattern::triple:
            return triples(*h.packing, bits);
        case Pattern::quad:
            return quads(dump, h, bits, skip);
        default:
            return {plain(Code::YUV422)};
    }
}

}  // namespace

std::vector<Reading> readings(const Hypothesis& h, uint32_t used_bits, const Dump& dump,
                              uint64_t skip) {
    std::vector<Reading> result = of_pattern(dump, h, used_bits, skip);
    const bool words = h.packing->bits == 16 && h.packing->high_first;
    if (!words && h.pattern != Pattern::chroma_first) return result;
    for (Reading& reading : result) {
        reading.swapped = true;
        if (!reading.remark.empty()) reading.remark += "; ";
        reading.remark += words ? "the bytes of each word are swapped"
                                : "chrominance comes first, so the bytes of each pair are swapped";
    }
    return result;
}

}  // namespace trv::tool::guess
