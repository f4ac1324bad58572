// The routing table, made at compile time from routes.inc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"

namespace trv {

enum class Way : uint8_t { none, copy, direct, helper, bayer };

namespace routing {

struct Codes {
    template <typename... C>
    constexpr Codes(C... code) : list{code...}, count(sizeof...(C)) {}
    Code list[24];
    size_t count;
};

struct Group {
    Way way;
    Codes sources;
    Codes destinations;
};

consteval auto groups() {
    using enum Way;
    using enum Code;
    struct Groups {
        Group list[31];
    };
    return Groups{{
#include "image/format/routes.inc"
    }};
}

struct Table {
    Way way[code_end][code_end];
    unsigned pairs;
    bool repeated;
};

consteval Table make_table() {
    Table table{};
    for (const Group& group : groups().list)
        for (size_t s = 0; s < group.sources.count; ++s)
            for (size_t d = 0; d < group.destinations.count; ++d) {
                Way& way = table.way[static_cast<size_t>(group.sources.list[s])]
                                    [static_cast<size_t>(group.destinations.list[d])];
                table.repeated = table.repeated || way != Way::none;
                way = group.way;
                ++table.pairs;
            }
    return table;
}

inline constexpr Table table = make_table();
static_assert(table.pairs == 333 && !table.repeated);

}  // namespace routing

// How a source converts into a destination; only the low byte of each format code counts.
constexpr Way find_way(uint32_t source, uint32_t destination) {
    const uint8_t from = source & 0xFF, to = destination & 0xFF;
    return from < code_end && to < code_end ? routing::table.way[from][to] : Way::none;
}

}  // namespace trv
