// Byte maps: how the bytes of a destination come from the bytes of a source, known at compile time.
//
// A unit is a pixel, or the pixels that share a whole number of bytes. The vocabulary of each level
// turns a map into loads and byte shuffles that read nothing outside the units they convert.
#pragma once

namespace trv::TRV_LEVEL {
namespace {

constexpr int zero = -1;  // the destination byte is 0
constexpr int keep = -2;  // the destination byte is not written

// A unit of `Source` bytes becomes one of sizeof...(Bytes) bytes, each of them naming the source
// byte it takes, or zero or keep.
template <int Source, int... Bytes>
struct Map {
    static constexpr int source = Source;
    static constexpr int destination = sizeof...(Bytes);

    // Source byte of byte i of a run of units.
    static constexpr int at(int i) {
        const int bytes[] = {Bytes...};
        const int byte = bytes[i % destination];
        return byte < 0 ? byte : i / destination * source + byte;
    }
    static constexpr bool has_kept() { return ((Bytes == keep) || ...); }
};

// Where to load `window` bytes, up to four times, to have all source bytes of `count` destination
// bytes from `first` on. No load leaves the `room` bytes of the source.
struct Plan {
    int loads;
    int offset[4];
};

template <typename M>
constexpr Plan plan(int first, int count, int window, int room, bool words) {
    int low = room, high = -1;
    for (int i = first; i < first + count; ++i) {
        const int at = M::at(i);
        if (at >= 0 && at < low) low = at;
        if (at > high) high = at;
    }
    if (words) low -= low % 2;  // a word that is shifted is loaded whole
    // Loads as long as a cache line lie in one where that takes no more of them.
    const int line = low - low % window;
    if (window == 64 && (high - line) / window == (high - low) / window) low = line;
    Plan p{};
    for (int at = low; at <= high; at += window) {
        const int latest = room > window ? room - window : 0;
        p.offset[p.loads++] = at < latest ? at : latest;
    }
    return p;
}

// Place of destination byte i in load j of the plan, or -1 when another load has it, or none.
template <typename M>
constexpr int place(const Plan& p, int window, int i, int j) {
    const int at = M::at(i);
    for (int k = 0; k < p.loads; ++k)
        if (at >= p.offset[k] && at < p.offset[k] + window) return k == j ? at - p.offset[k] : -1;
    return -1;
}

}  // namespace
}  // namespace trv::TRV_LEVEL
