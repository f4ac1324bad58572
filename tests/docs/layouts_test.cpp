// The drawings of docs/layouts.md are true: what they say of a bit is what conversions do with it.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "docs/generate/bits.h"
#include "tests/buffers.h"
#include "trvil/til.h"

namespace {

using Bytes = std::array<uint8_t, 64>;
using test::format_named;
using trv::Format;

// One group of pixels with one bit set, converted.
Bytes convert(const Format& from, const Format& to, unsigned bit) {
    Bytes in{}, out{};
    in[bit / 8] = static_cast<uint8_t>(1u << bit % 8);
    const test::Buffer source = test::wrap(from, from.group, 1, in.data(), in.size());
    const test::Buffer destination = test::wrap(to, from.group, 1, out.data(), out.size());
    EXPECT_EQ(TIL_Convert(source.handle(), destination.handle()), TRV_STATUS_OK)
        << from.name << ' ' << to.name;
    return out;
}

// The bits of a group that are the value's bit `index` of `owner`.
Bytes expected(const Format& f, char owner, int index) {
    Bytes bytes{};
    for (unsigned bit = 0; bit < 8 * page::group_bytes(f); ++bit) {
        const page::Bit found = page::bit_of(f, bit);
        if (found.owner == owner && static_cast<int>(found.index) == index)
            bytes[bit / 8] |= static_cast<uint8_t>(1u << bit % 8);
    }
    return bytes;
}

TEST(Layouts, ColoursStandWhereTheDrawingsSay) {
    const Format& from = format_named("BGR24");
    for (const char* name : {"RGB15", "RGB16", "XBGR32", "BGRX32", "BGR48", "BGR15", "BGR16",
                             "XRGB32", "RGBX32", "RGB48", "RGB30", "BGR30", "BGR24", "RGB24"}) {
        const Format& to = format_named(name);
        for (unsigned bit = 0; bit < 24; ++bit) {
            const page::Bit set = page::bit_of(from, bit);
            const bool is_green = set.owner == 'g';
            const int lost = to.significant == 5 ? 3 : to.significant == 6 ? (is_green ? 2 : 3) : 0;
            EXPECT_EQ(convert(from, to, bit),
                      expected(to, set.owner, static_cast<int>(set.index) - lost))
                << name << " bit " << bit;
        }
    }
}

// Unpacking to words puts pixel n into word n.
TEST(Layouts, PackedPixelsStandWhereTheDrawingsSay) {
    const char* const pairs[][2] = {{"Mono10P", "Mono10"},   {"Mono12P", "Mono12"},
                                    {"Mono14P", "Mono14"},   {"BAY10P_A", "BAY10_A"},
                                    {"BAY12P_B", "BAY12_B"}, {"BAY14P_C", "BAY14_C"}};
    for (const auto& [packed, words] : pairs) {
        const Format& from = format_named(packed);
        for (unsigned bit = 0; bit < 8 * page::group_bytes(from); ++bit) {
            const page::Bit set = page::bit_of(from, bit);
            Bytes bytes{};
            bytes[2 * static_cast<size_t>(set.owner - 'a') + set.index / 8] =
                static_cast<uint8_t>(1u << set.index % 8);
            EXPECT_EQ(convert(from, format_named(words), bit), bytes) << packed << " bit " << bit;
        }
    }
}

// The top 8 of 12 bits, as grey, in all three bytes of the pixel.
TEST(Layouts, TheHighestBitFirstIsWhereTheDrawingSays) {
    const Format& from = format_named("Mono12MP");
    for (unsigned bit = 0; bit < 8 * page::group_bytes(from); ++bit) {
        const page::Bit set = page::bit_of(from, bit);
        Bytes bytes{};
        for (size_t i = 0; i < 3; ++i)
            bytes[3 * static_cast<size_t>(set.owner - 'a') + i] =
                static_cast<uint8_t>(set.index < 4 ? 0 : 1u << (set.index - 4));
        EXPECT_EQ(convert(from, format_named("BGR24"), bit), bytes) << "bit " << bit;
    }
}

}  // namespace
