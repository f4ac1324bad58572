// Names of formats, phases and methods as people type them.
#pragma once

#include <string>
#include <vector>

#include "image/format/format.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

namespace trv::tool {

// Used where the command line names none.
inline constexpr uint32_t default_method = TBL_BAYER_METHOD_AVE;

// How a dump stores pixels: in a format, or packed so that TRW_Unpack makes it of them.
struct Pixels {
    const Format* format;
    uint32_t packing = 0;            // TRW_PACKING_...; 0: none
    const Format* mosaic = nullptr;  // what a packing by its own name becomes if that is a mosaic
};

// Of a packing by its own name, which tells grey from mosaics by nothing: as a mosaic. Others are
// what they are.
Pixels as_mosaic(const Pixels& pixels);

// All packings by their own names.
std::vector<Pixels> packings();

// Of a packing and a line of so many pixels.
TRW_PackingInfo packing_info(uint32_t packing, uint32_t width);

// "12Packed".
std::string packing_name(uint32_t packing);

// "Mono12 or BAY12".
std::string becomes(const Pixels& pixels);

// "BAY12_A", or "BAY12_A from 12Packed".
std::string description(const Pixels& pixels);

// Each throws Failure with the nearest names when there is none of this name. Pixels may be packed,
// a format is one that pictures can have: nothing packs them.
Pixels pixels_named(const std::string& name);
const Format& format_named(const std::string& name);
Phase phase_named(const std::string& name);
uint32_t method_named(const std::string& name);

const char* phase_name(Phase phase);
const char* method_name(uint32_t method);
std::string names_of(const std::vector<const Format*>& formats);

// The formats of which `holds` is true. Four that differ only by the phase letter count once, as
// BAY12_A..D, and not at all beside the letterless one.
template <typename Predicate>
std::vector<std::string> names_where(Predicate holds);

constexpr uint32_t phase_parameter(Phase phase) {
    return TBL_BAYER_PHASE_A + (static_cast<uint32_t>(phase) << 8);
}

// The letterless format that stores the same: BAY12 for BAY12_A; null for BAY12P_A, which has none.
const Format* letterless(const Format& format);

// The format that differs only in having the fewest significant bits that hold `bits`, or null.
const Format* with_bits(const Format& format, uint32_t bits);

template <typename Predicate>
std::vector<std::string> names_where(Predicate holds) {
    std::vector<std::string> names;
    for (const Format& format : formats) {
        if (!holds(format) || letterless(format) != nullptr) continue;
        if (format.phase != Phase::none && format.phase != Phase::A) continue;
        names.emplace_back(format.name);
        if (format.phase == Phase::A) names.back() += "..D";
    }
    return names;
}

}  // namespace trv::tool
