// The routing table, made at compile time from routes.inc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"
#include "image/format/rule.h"

namespace trv {

enum class RouteKind : uint8_t { none, copy, direct, helper, bayer };

// What the destination is measured by: image/format/size_rule.h.
enum class Size : uint8_t { whole, packed, unsaid, third, half };

// What becomes of a pair of formats.
struct Route {
    Rule rule;
    Size size;
    uint8_t row;    // its conversion, for the routes that have line loops
    uint8_t group;  // its row of routes.inc

    constexpr bool operator==(const Route&) const = default;
};

// The helpers have size rules of their own and step their source in whole 16-bit words.
constexpr RouteKind route_kind(const Route& route) {
    if (route.rule == Rule::none) return RouteKind::none;
    if (route.rule == Rule::copy) return RouteKind::copy;
    if (route.rule == Rule::bayer) return RouteKind::bayer;
    return route.size == Size::whole || route.size == Size::packed ? RouteKind::direct
                                                                   : RouteKind::helper;
}

namespace routing {

struct Codes {
    template <typename... C>
    constexpr Codes(C... code) : list{code...}, count(sizeof...(C)) {}
    Code list[32];
    size_t count;
};

struct Group {
    Rule rule;
    Size size;
    Codes sources;
    Codes destinations;
    const char* lossy = nullptr;
};

namespace rows {
using enum Rule;
using enum Size;
using enum Code;
inline constexpr Group groups[] = {
#include "image/format/routes.inc"
};
}  // namespace rows
using rows::groups;
inline constexpr size_t group_count = sizeof groups / sizeof groups[0];
static_assert(group_count < 256);

// A list without repetitions.
template <typename T, size_t Most>
struct Distinct {
    T list[Most];
    size_t count;

    constexpr uint8_t place(const T& wanted) {
        for (size_t i = 0; i < count; ++i)
            if (list[i] == wanted) return static_cast<uint8_t>(i);
        list[count] = wanted;
        return static_cast<uint8_t>(count++);
    }
};

struct Found {
    uint8_t pair[code_end][code_end];  // place in `routes`; 0 is that of no route
    Distinct<Route, 256> routes;
    Distinct<Conversion, 256> conversions;
    unsigned pairs;
    bool repeated;
};

consteval Found find_all() {
    Found found{};
    found.routes.place({Rule::none, Size::whole, 0, 0});
    for (size_t g = 0; g < group_count; ++g) {
        const Group& group = groups[g];
        for (size_t s = 0; s < group.sources.count; ++s)
            for (size_t d = 0; d < group.destinations.count; ++d) {
                const Code from = group.sources.list[s], to = group.destinations.list[d];
                uint8_t& pair = found.pair[static_cast<size_t>(from)][static_cast<size_t>(to)];
                found.repeated = found.repeated || pair != 0;
                const Conversion made = make_conversion(group.rule, format_of(from), format_of(to));
                const bool has_row = group.rule != Rule::copy && group.rule != Rule::bayer;
                const uint8_t row = has_row ? found.conversions.place(made) : uint8_t{0};
                pair = found.routes.place({group.rule, group.size, row, static_cast<uint8_t>(g)});
                ++found.pairs;
            }
    }
    return found;
}

inline constexpr Found all = find_all();
static_assert(!all.repeated);
static_assert(all.routes.count < 256 && all.conversions.count < 256);

// The same without the room that is left over.
struct Table {
    uint8_t pair[code_end][code_end];
    Route routes[all.routes.count];
    Conversion conversions[all.conversions.count];
    static constexpr unsigned pairs = all.pairs;
};

consteval Table make_table() {
    Table table{};
    for (size_t from = 0; from < code_end; ++from)
        for (size_t to = 0; to < code_end; ++to) table.pair[from][to] = all.pair[from][to];
    for (size_t i = 0; i < all.routes.count; ++i) table.routes[i] = all.routes.list[i];
    for (size_t i = 0; i < all.conversions.count; ++i)
        table.conversions[i] = all.conversions.list[i];
    return table;
}

inline constexpr Table table = make_table();
inline constexpr size_t row_count = all.conversions.count;

}  // namespace routing

// How a source converts into a destination; only the low byte of each format code counts.
constexpr Route find_route(uint32_t source, uint32_t destination) {
    const uint8_t from = source & 0xFF, to = destination & 0xFF;
    const bool known = from < code_end && to < code_end;
    return routing::table.routes[known ? routing::table.pair[from][to] : 0];
}

constexpr Route find_route(const Format& from, const Format& to) {
    return find_route(static_cast<uint32_t>(from.code), static_cast<uint32_t>(to.code));
}

constexpr RouteKind route_kind(const Format& from, const Format& to) {
    return route_kind(find_route(from, to));
}

// What is wrong with the picture that a route makes, as the end of "this route ..."; null when
// nothing is.
constexpr const char* lossy(const Format& from, const Format& to) {
    const Route route = find_route(from, to);
    return route.rule == Rule::none ? nullptr : routing::groups[route.group].lossy;
}

}  // namespace trv
