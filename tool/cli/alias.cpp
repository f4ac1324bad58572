#include "tool/cli/alias.h"

#include <algorithm>
#include <charconv>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::tool {
namespace {

TRW_Reading sized_reading() {
    TRW_Reading reading{};
    reading.size = sizeof reading;
    return reading;
}

const std::vector<TRW_Reading>& all_readings() {
    static const std::vector<TRW_Reading> all = [] {
        std::vector<TRW_Reading> list;
        for (TRW_Reading reading = sized_reading();
             TRW_NameAt(static_cast<uint32_t>(list.size()), &reading) == TRV_STATUS_OK;)
            list.push_back(reading);
        return list;
    }();
    return all;
}

Pixels pixels_of(const TRW_Reading& reading) {
    return {find_whole_format(reading.format), reading.packing};
}

bool is_read(const TRW_Reading& reading) {
    return reading.format != 0;
}

bool are_same(const Pixels& one, const Pixels& other) {
    return one.format == other.format && one.packing == other.packing;
}

Phase phase_of(const TRW_Reading& reading) {
    return static_cast<Phase>((reading.phase - TBL_BAYER_PHASE_A) >> 8);
}

std::string prefixed(const TRW_Reading& reading) {
    return text(reading.system_name, ":", reading.name);
}

std::string meaning(const TRW_Reading& reading) {
    if (reading.why != nullptr) return "not read";
    return is_read(reading) ? description(pixels_of(reading)) : phase_name(phase_of(reading));
}

Failure ambiguous(const std::string& name) {
    std::vector<std::string> meanings;
    for (const TRW_Reading& reading : all_readings())
        if (lower(reading.name) == lower(name))
            meanings.push_back(text(prefixed(reading), " is ", meaning(reading)));
    return {Exit::usage, text("\"", name, "\" means different things to different systems"),
            list(meanings), "write it with its prefix, and capitals as they are there"};
}

void check_prefix(const std::string& name) {
    const size_t colon = name.find(':');
    if (colon == std::string::npos) return;
    const std::vector<std::string> known = systems();
    if (std::find(known.begin(), known.end(), lower(name.substr(0, colon))) == known.end())
        throw Failure(Exit::usage, text("unknown prefix in \"", name, "\""), "",
                      text("the prefixes are ", list(known)));
}

// "pfnc:0x010C002B"
bool find_number(const std::string& name, TRW_Reading* reading) {
    const size_t digits = name.find(":0x");
    if (digits == std::string::npos) return false;
    uint32_t code = 0;
    const char* end = name.data() + name.size();
    const auto result = std::from_chars(name.data() + digits + 3, end, code, 16);
    if (result.ec != std::errc() || result.ptr != end) return false;
    for (const TRW_Reading& known : all_readings())
        if (known.system_name == lower(name.substr(0, digits)))
            return TRW_FindCode(known.system, code, reading), true;
    return false;
}

std::optional<TRW_Reading> find_reading(const std::string& name) {
    TRW_Reading reading = sized_reading();
    if (!find_number(name, &reading)) TRW_FindName(name.c_str(), &reading);
    if (reading.name == nullptr) {
        check_prefix(name);
        return std::nullopt;
    }
    if (reading.system == 0) throw ambiguous(name);
    if (reading.why != nullptr)
        throw Failure(Exit::usage, text("no format here stores pixels as ", name, " does"),
                      reading.why, "`trvil formats --names` lists what is read");
    return reading;
}

bool is_own_name(const std::string& name) {
    for (const Format& format : formats)
        if (lower(format.name) == lower(name)) return true;
    return false;
}

}  // namespace

std::vector<std::string> systems() {
    std::vector<std::string> names;
    for (const TRW_Reading& reading : all_readings())
        if (std::find(names.begin(), names.end(), reading.system_name) == names.end())
            names.emplace_back(reading.system_name);
    return names;
}

std::optional<Pixels> find_alias(const std::string& name) {
    const auto reading = find_reading(name);
    return reading && is_read(*reading) ? std::optional(pixels_of(*reading)) : std::nullopt;
}

std::optional<Phase> find_phase_alias(const std::string& name) {
    const auto reading = find_reading(name);
    return reading && !is_read(*reading) ? std::optional(phase_of(*reading)) : std::nullopt;
}

std::vector<std::string> aliases(const Pixels& pixels, const std::string& system) {
    std::vector<std::string> result;
    for (const TRW_Reading& reading : all_readings()) {
        if (!is_read(reading) || reading.system_name != system ||
            !are_same(pixels_of(reading), pixels))
            continue;
        const bool ours =
            is_own_name(reading.name) && lower(reading.name) != lower(pixels.format->name);
        result.push_back(ours ? prefixed(reading) : reading.name);
    }
    return result;
}

std::vector<std::string> aliases(Phase phase) {
    std::vector<std::string> result;
    for (const TRW_Reading& reading : all_readings())
        if (!is_read(reading) && reading.why == nullptr && phase_of(reading) == phase)
            result.push_back(prefixed(reading));
    return result;
}

std::vector<Pixels> packed_pixels() {
    std::vector<Pixels> result;
    for (uint32_t packing = 1; packing < TRW_PACKING_END; ++packing)
        for (const Format& format : formats)
            for (const TRW_Reading& reading : all_readings())
                if (reading.packing == packing && reading.format == whole_code(format)) {
                    result.push_back({&format, packing});
                    break;
                }
    return result;
}

}  // namespace trv::tool
