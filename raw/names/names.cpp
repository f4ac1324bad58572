#include "raw/names/names.h"

#include <string.h>

namespace trv::raw {
namespace {

constexpr size_t length_of(const char* text) {
    size_t length = 0;
    while (text[length] != 0) ++length;
    return length;
}

// "Y16-BE" is what V4L2 makes of "Y16 " and its highest bit.
constexpr uint32_t fourcc(const char* name) {
    const size_t length = length_of(name);
    const bool big_endian = length == 6 && name[3] == '-';
    uint32_t code = big_endian ? UINT32_C(1) << 31 : 0;
    for (size_t i = 0; i < 4; ++i) {
        const bool given = i < length && name[i] != '-';
        code |= static_cast<uint32_t>(given ? name[i] : ' ') << 8 * i;
    }
    return code;
}

constexpr uint32_t code_of(System system, const char* name, uint32_t code) {
    return system == System::v4l2 ? fourcc(name) : code;
}

// Packings by name, so that rows can have them; 0 is no packing.
constexpr uint8_t packing_named(const char* name) {
    for (const Packing& packing : packings) {
        size_t i = 0;
        while (packing.name[i] != 0 && packing.name[i] == name[i]) ++i;
        if (packing.name[i] == name[i]) return packing.code;
    }
    return 0;
}

constexpr bool is_named(const char* packing) {
    return packing_named(packing) != 0 || (length_of(packing) == 4 && packing[0] == 'n');
}

constexpr Name plain(System system, const char* name, uint32_t code, Code format,
                     const char* packing) {
    return {system,
            name,
            code_of(system, name, code),
            static_cast<uint8_t>(format),
            packing_named(packing),
            Phase::none,
            nullptr};
}

constexpr Name mosaic(System system, const char* name, uint32_t code, Code first,
                      const char* packing, Phase phase) {
    const auto format =
        static_cast<uint8_t>(static_cast<uint8_t>(first) + static_cast<uint8_t>(phase));
    return {system, name,   code_of(system, name, code), format, packing_named(packing),
            phase,  nullptr};
}

constexpr Name phase_name(System system, const char* name, Phase phase) {
    return {system, name, 0, 0, 0, phase, nullptr};
}

constexpr Name unread(System system, const char* name, uint32_t code, const char* why) {
    return {system, name, code_of(system, name, code), 0, 0, Phase::none, why};
}

#define TRV_NAME(system, name, code, format, packing) static_assert(is_named(#packing));
#define TRV_MOSAIC(system, a, code_a, b, code_b, c, code_c, d, code_d, format, packing) \
    static_assert(is_named(#packing));
#include "raw/names/names.inc"

}  // namespace

constexpr Name names[] = {
#define TRV_NAME(system, name, code, format, packing) \
    plain(System::system, name, code, Code::format, #packing),
#define TRV_MOSAIC(system, a, code_a, b, code_b, c, code_c, d, code_d, format, packing) \
    mosaic(System::system, a, code_a, Code::format##_A, #packing, Phase::A),            \
        mosaic(System::system, b, code_b, Code::format##_A, #packing, Phase::B),        \
        mosaic(System::system, c, code_c, Code::format##_A, #packing, Phase::C),        \
        mosaic(System::system, d, code_d, Code::format##_A, #packing, Phase::D),
#define TRV_PHASES(system, a, b, c, d)                                                \
    phase_name(System::system, a, Phase::A), phase_name(System::system, b, Phase::B), \
        phase_name(System::system, c, Phase::C), phase_name(System::system, d, Phase::D),
#define TRV_UNREAD(system, name, code, why) unread(System::system, name, code, why),
#include "raw/names/names.inc"
};
constexpr size_t name_count = sizeof names / sizeof names[0];

namespace {

// Letters of ASCII, whatever the locale is.
constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_same(const char* one, const char* other, size_t length) {
    for (size_t i = 0; i < length; ++i)
        if (lower(one[i]) != lower(other[i])) return false;
    return true;
}

struct Wanted {
    System system;  // none: any
    const char* name;
};

Wanted split(const char* text) {
    const char* colon = strchr(text, ':');
    if (colon == nullptr) return {System::none, text};
    const auto length = static_cast<size_t>(colon - text);
    for (size_t i = 1; i < static_cast<size_t>(System::end); ++i)
        if (strlen(systems[i].name) == length && is_same(systems[i].name, text, length))
            return {static_cast<System>(i), colon + 1};
    return {System::end, text};  // which no name has
}

template <typename Equal>
Finding find(const Wanted& wanted, Equal equal) {
    Finding found{};
    for (const Name& name : names) {
        if (wanted.system != System::none && wanted.system != name.system) continue;
        if (!equal(wanted.name, name.name)) continue;
        if (found.name == nullptr) found.name = &name;
        found.disagreed = found.disagreed || !means_the_same(*found.name, name);
    }
    return found;
}

}  // namespace

Finding find_name(const char* text) {
    const Wanted wanted = split(text);
    const Finding found =
        find(wanted, [](const char* one, const char* other) { return strcmp(one, other) == 0; });
    if (found.name != nullptr) return found;
    return find(wanted, [](const char* one, const char* other) {
        return strlen(one) == strlen(other) && is_same(one, other, strlen(one));
    });
}

const Name* find_code(System system, uint32_t code) {
    if (code == 0) return nullptr;
    for (const Name& name : names)
        if (name.system == system && name.code == code) return &name;
    return nullptr;
}

const Name* name_of(System system, uint8_t format, uint8_t packing, Phase phase) {
    const Format* wanted = find_format(format);
    if (wanted == nullptr) return nullptr;
    const bool mosaic = wanted->family == Family::bayer;
    const Phase said = wanted->phase != Phase::none ? wanted->phase : phase;
    for (const Name& name : names) {
        if (name.system != system || name.format == 0 || name.packing != packing) continue;
        const Format& own = *find_format(name.format);
        const bool like = own.code == wanted->code ||
                          (mosaic && own.family == Family::bayer && own.stored == wanted->stored &&
                           own.significant == wanted->significant);
        if (like && (!mosaic || name.phase == said)) return &name;
    }
    return nullptr;
}

}  // namespace trv::raw
