// What other systems call pixels, made from names.inc: formats, the packings that they come in, and
// phases.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"
#include "raw/packing.h"

namespace trv::raw {

enum class System : uint8_t {
    none,
#define TRV_SYSTEM(name, note) name,
#include "raw/names/names.inc"
    end
};

struct SystemRow {
    const char* name;
    const char* note;
};

inline constexpr SystemRow systems[] = {
    {"", ""},
#define TRV_SYSTEM(name, note) {#name, note},
#include "raw/names/names.inc"
};

struct Name {
    System system;
    const char* name;
    uint32_t code;       // its number in the system; 0 where it has none
    uint8_t format;      // Code; 0 where the name says the phase alone, or is not read
    uint8_t packing;     // 0 when the image library reads it
    Phase phase;         // of a mosaic
    const char* unread;  // why nothing here reads it; null when something does
};

constexpr bool means_the_same(const Name& one, const Name& other) {
    return one.format == other.format && one.packing == other.packing && one.phase == other.phase &&
           (one.unread == nullptr) == (other.unread == nullptr);
}

extern const Name names[];
extern const size_t name_count;

// What is found for a text: a row, or nothing, or several that disagree.
struct Finding {
    const Name* name;  // null when nothing is called so
    bool disagreed;
};

// A text may begin with a system and a colon. Capitals count where they tell names apart.
Finding find_name(const char* text);

const Name* find_code(System system, uint32_t code);

// The name of pixels in a system. An unlettered mosaic has that of its phase.
const Name* name_of(System system, uint8_t format, uint8_t packing, Phase phase);

}  // namespace trv::raw
