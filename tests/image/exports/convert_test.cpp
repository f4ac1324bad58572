// TIL_Convert as seen by the buffer library: which questions, in which order, and what is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "image/format/decision.h"
#include "tests/image/exports/fake_buffers.h"
#include "tests/reference/routes.h"
#include "trvil/til.h"

namespace {

using test::destination_handle;
using test::fake;
using test::Query;
using test::source_handle;

class Entry : public ::testing::Test {
  protected:
    void SetUp() override {
        fake() = {};
        std::memset(source_, 0x11, sizeof source_);
        std::memset(destination_, 0xEE, sizeof destination_);
    }
    // An 8 x 4 source and a destination of the stated stride and height.
    uint32_t convert(uint32_t from, uint32_t to, uint32_t stride, uint32_t height = 4) {
        fake().set_picture(source_handle, from, source_, 8, 4, 64);
        fake().set_picture(destination_handle, to, destination_, 8, height, stride);
        return TIL_Convert(source_handle, destination_handle);
    }
    bool untouched() const {
        for (const uint8_t byte : destination_)
            if (byte != 0xEE) return false;
        return true;
    }

    alignas(8) uint8_t source_[8192];
    alignas(8) uint8_t destination_[8192];
};

TEST_F(Entry, AsksInAFixedOrderAndAgainInTheKernel) {
    convert(TBL_FORMAT(BAY8), TBL_FORMAT(BGR24), 64);
    const uint64_t s = source_handle, d = destination_handle;
    const std::vector<Query> expected = {{s, 11}, {d, 11}, {d, 7},  {s, 7},  {s, 3},  {d, 3},
                                         {s, 4},  {d, 4},  {s, 2},  {d, 2},  {s, 1},  {d, 1},
                                         {s, 9},  {s, 10}, {s, 18}, {s, 11}, {d, 11}, {s, 3},
                                         {s, 4},  {d, 4},  {d, 3},  {s, 2},  {s, 1}};
    EXPECT_EQ(fake().asked, expected);
}

TEST_F(Entry, StopsAtTheFirstThingMissing) {
    const Query required[] = {{source_handle, 11},     {destination_handle, 11},
                              {destination_handle, 7}, {source_handle, 7},
                              {source_handle, 3},      {destination_handle, 3}};
    for (size_t i = 0; i < 6; ++i) {
        fake() = {};
        fake().set_picture(source_handle, TBL_FORMAT(BAY8), source_, 8, 4, 64);
        fake().set_picture(destination_handle, TBL_FORMAT(BGR24), destination_, 8, 4, 64);
        fake().values.erase({required[i].handle, required[i].id});
        EXPECT_EQ(TIL_Convert(source_handle, destination_handle), 8u);
        EXPECT_EQ(fake().asked.size(), i + 1);
        EXPECT_EQ(fake().asked.back(), required[i]);
    }
    EXPECT_TRUE(untouched());
}

TEST_F(Entry, AnswersOfTheBufferLibraryDoNotMatterOnlyValuesDo) {
    fake().answer = 99;
    EXPECT_EQ(convert(TBL_FORMAT(Mono8), TBL_FORMAT(Mono8), 32), 0u);
    EXPECT_FALSE(untouched());
}

TEST_F(Entry, AcceptsTheKnownPairsAndNothingElse) {
    const auto accepted = reference::routes();
    unsigned pairs = 0;
    for (uint32_t from = 0; from < 256; ++from)
        for (uint32_t to = 0; to < 256; ++to) {
            const trv::Format* source = trv::find_format(static_cast<uint8_t>(from));
            const trv::Format* destination = trv::find_format(static_cast<uint8_t>(to));
            const bool known = source != nullptr && destination != nullptr &&
                               accepted.contains(source->name) &&
                               accepted.at(source->name).contains(destination->name);
            EXPECT_EQ(convert(0x100 + from, 0x100 + to, 64), known ? 0u : 10u) << from << " " << to;
            pairs += known;
        }
    EXPECT_EQ(pairs, 333u);
}

TEST_F(Entry, HelpersMeasureByTheirOwnLooseRules) {
    struct {
        uint32_t from, to, bytes;  // the least that passes for 32 pixels
    } const cases[] = {{TBL_FORMAT(RGB48), TBL_FORMAT(RGB24), 11},
                       {TBL_FORMAT(BGR48_10), TBL_FORMAT(RGB24), 11},
                       {TBL_FORMAT(RGBA64), TBL_FORMAT(RGBA32), 64},
                       {TBL_FORMAT(RGBA64_12), TBL_FORMAT(BGRX32), 64}};
    for (const auto& c : cases) {
        EXPECT_EQ(convert(c.from, c.to, c.bytes, 1), 0u) << std::hex << c.from;
        std::memset(destination_, 0xEE, sizeof destination_);
        EXPECT_EQ(convert(c.from, c.to, c.bytes - 1, 1), 8u) << std::hex << c.from;
        EXPECT_TRUE(untouched());
    }
    // Grey words to 4 bytes: refused, and called a success all the same.
    EXPECT_EQ(convert(TBL_FORMAT(Mono12), TBL_FORMAT(BGRX32), 127, 1), 0u);
    EXPECT_TRUE(untouched());
    EXPECT_EQ(convert(TBL_FORMAT(Mono12), TBL_FORMAT(BGRX32), 128, 1), 0u);
    EXPECT_FALSE(untouched());
}

TEST_F(Entry, WorkedExamplesOfDirectRoutes) {
    using Bytes = std::vector<uint8_t>;
    struct {
        uint32_t from, to;
        Bytes source, expected;
    } const cases[] = {
        {TBL_FORMAT(Mono10), TBL_FORMAT(Mono8), {0xFF, 0x03, 3, 0}, {255, 0}},
        {TBL_FORMAT(Mono8), TBL_FORMAT(Mono16), {255, 200}, {255, 0, 200, 0}},
        {TBL_FORMAT(BGR24), TBL_FORMAT(RGB16), {10, 20, 30}, {0xA1, 0x18}},
        {TBL_FORMAT(BGR24), TBL_FORMAT(BGR16), {10, 20, 30}, {0xA3, 0x08}},
        {TBL_FORMAT(BGR24), TBL_FORMAT(BGRX32), {1, 2, 3, 4, 5, 6}, {1, 2, 3, 0xEE, 4, 5, 6, 0xEE}},
        {TBL_FORMAT(BGR48), TBL_FORMAT(RGB16), {0xFF, 0xFF, 0xFF, 0xFF, 1, 0}, {0x1F, 0}},
        {TBL_FORMAT(BGR48), TBL_FORMAT(BGR16), {0, 8, 0, 0, 0, 0}, {1, 0}},
        {TBL_FORMAT(Mono16), TBL_FORMAT(BGRX32), {0xCD, 0xAB}, {0xAB, 0xAB, 0xAB, 0xAB}},
        {TBL_FORMAT(YUV422),
         TBL_FORMAT(BGR24),
         {128, 128, 128, 128},
         {128, 128, 128, 128, 128, 128}},
        {TBL_FORMAT(YUV422), TBL_FORMAT(RGB24), {255, 128, 0, 255}, {255, 165, 255, 178, 0, 0}},
    };
    for (const auto& c : cases) {
        std::memcpy(source_, c.source.data(), c.source.size());
        std::memset(destination_, 0xEE, sizeof destination_);
        EXPECT_EQ(convert(c.from, c.to, 64), 0u);
        EXPECT_EQ(Bytes(destination_, destination_ + c.expected.size()), c.expected)
            << std::hex << c.from << " to " << c.to;
    }
}

TEST_F(Entry, OnlyTheLowByteOfAFormatRoutes) {
    EXPECT_EQ(convert(0x116, 0x77777711, 64), 0u);
    EXPECT_FALSE(untouched());
    EXPECT_EQ(convert(0xC0022600, TBL_FORMAT(BGR24), 64), 10u);  // not zero, but no low byte
    EXPECT_EQ(convert(TBL_FORMAT(BGR24), 0xC00226FF, 64), 10u);
}

struct SizeCase {
    uint32_t from, to;
    uint64_t per_pixel, per_byte;  // refused when per_pixel * pixels > per_byte * bytes
    bool exact;                    // products do not wrap at 64 bits
};

bool is_refused(const SizeCase& c, const trv::Job& job) {
    __extension__ typedef unsigned __int128 Product;
    const auto reduce = [&](Product x) { return c.exact ? x : Product{static_cast<uint64_t>(x)}; };
    const Product pixels = Product{job.source.width} * job.source.height;
    const Product bytes = Product{job.destination.stride} * job.destination.height;
    return reduce(c.per_pixel * pixels) > reduce(c.per_byte * bytes);
}

// Geometries that no memory has, decided without one.
TEST(SizeRule, EveryRuleMultipliesBytesIn64Bits) {
    const SizeCase cases[] = {
        {TBL_FORMAT(BGR24), TBL_FORMAT(BGRX32), 4, 1, false},
        {TBL_FORMAT(Mono8), TBL_FORMAT(BGR48), 6, 1, false},
        {TBL_FORMAT(Mono12MP), TBL_FORMAT(BGR24), 3, 1, false},
        {TBL_FORMAT(BGRX32), TBL_FORMAT(BGRX32), 4, 1, false},
        {TBL_FORMAT(BAY12), TBL_FORMAT(RGB16), 2, 1, false},
        {TBL_FORMAT(Mono10P), TBL_FORMAT(Mono10), 10, 16, true},
        {TBL_FORMAT(BAY14P_C), TBL_FORMAT(BAY14_C), 14, 16, true},
        {TBL_FORMAT(Mono12P), TBL_FORMAT(RGBX32), 12, 32, true},
        {TBL_FORMAT(RGB48), TBL_FORMAT(RGB24), 1, 3, false},
        {TBL_FORMAT(BGR48_14), TBL_FORMAT(RGB24), 1, 3, false},
        {TBL_FORMAT(RGBA64_10), TBL_FORMAT(RGBA32), 8, 4, false},
        {TBL_FORMAT(RGBA64), TBL_FORMAT(BGRX32), 8, 4, false},
        {TBL_FORMAT(Mono14), TBL_FORMAT(XBGR32), 4, 1, false},
    };
    constexpr uint32_t sides[] = {0,          1,          3,          5,          16,
                                  0x10000000, 0x1FFFFFFF, 0x20000000, 0x40000000, 0x7FFFFFFF,
                                  0x80000000, 0x80000001, 0xFFFFFFFF};
    trv::Job job{};
    job.method = TBL_BAYER_METHOD_DUP;
    job.phase = TBL_BAYER_PHASE_A;
    for (const SizeCase& c : cases) {
        job.source.format = c.from;
        job.destination.format = c.to;
        for (const uint32_t width : sides)
            for (const uint32_t height : sides)
                for (const uint32_t stride : sides)
                    for (const uint32_t lines : sides) {
                        job.source.width = width;
                        job.source.height = height;
                        job.destination.stride = stride;
                        job.destination.height = lines;
                        const bool refused = trv::decide(job).refusal != trv::Refusal::none;
                        ASSERT_EQ(refused, is_refused(c, job))
                            << std::hex << c.from << " to " << c.to << ": " << width << " x "
                            << height << " into " << lines << " lines of " << stride;
                    }
    }
}

TEST_F(Entry, SettingsWithoutAKernelAreRefusedAfterTheSizeCheck) {
    struct {
        uint32_t to, method, phase, stride, status;
    } const cases[] = {
        {TBL_FORMAT(BGR24), 0x009, 0x10A, 64, 3},  {TBL_FORMAT(BGR24), 0x101, 0x10A, 64, 3},
        {TBL_FORMAT(BGR24), 0x409, 0x10A, 64, 3},  {TBL_FORMAT(BGR24), 0x109, 0x00A, 64, 3},
        {TBL_FORMAT(BGR24), 0x109, 0x50A, 64, 3},  {TBL_FORMAT(RGBX32), 0x209, 0x10A, 64, 3},
        {TBL_FORMAT(RGBX32), 0x309, 0x10A, 64, 3}, {TBL_FORMAT(BGR16), 0x209, 0x10A, 64, 3},
        {TBL_FORMAT(BGR16), 0x109, 0x20A, 64, 3},  {TBL_FORMAT(BGR24), 0x009, 0x10A, 23, 8},
    };
    for (const auto& c : cases) {
        fake().set_picture(source_handle, TBL_FORMAT(BAY8), source_, 8, 4, 64);
        fake().set_picture(destination_handle, c.to, destination_, 8, 4, c.stride);
        fake().set(source_handle, 9, c.method);
        fake().set(source_handle, 10, c.phase);
        EXPECT_EQ(TIL_Convert(source_handle, destination_handle), c.status)
            << std::hex << c.to << " " << c.method << " " << c.phase;
    }
    EXPECT_EQ(convert(TBL_FORMAT(BAY12), TBL_FORMAT(BGR16), 64), 10u);
    EXPECT_TRUE(untouched());
    EXPECT_EQ(convert(TBL_FORMAT(BAY8), TBL_FORMAT(BGR16), 64), 0u);
    EXPECT_FALSE(untouched());
}

TEST_F(Entry, AKernelThatDeclinesIsStillASuccess) {
    fake().presence_answers = 2;  // present for the entry, gone for the kernel
    EXPECT_EQ(convert(TBL_FORMAT(BAY8), TBL_FORMAT(BGR24), 64), 0u);
    EXPECT_TRUE(untouched());
}

TEST_F(Entry, GreyCopiesOfEqualStrideTakeTheBlockUnchecked) {
    // Too small for the source's width, and copied with the padding all the same.
    fake().set_picture(source_handle, TBL_FORMAT(Mono8), source_, 500, 4, 16);
    fake().set_picture(destination_handle, TBL_FORMAT(Mono8), destination_, 8, 4, 16);
    EXPECT_EQ(TIL_Convert(source_handle, destination_handle), 0u);
    for (size_t i = 0; i < 80; ++i) EXPECT_EQ(destination_[i], i < 64 ? 0x11 : 0xEE) << i;
}

TEST_F(Entry, AMono8CopyShearsWhereTheWidthsDiffer) {
    for (uint8_t i = 0; i < 64; ++i) source_[i] = i;
    fake().set_picture(source_handle, TBL_FORMAT(Mono8), source_, 6, 3, 16);
    fake().set_picture(destination_handle, TBL_FORMAT(Mono8), destination_, 10, 4, 12);
    EXPECT_EQ(TIL_Convert(source_handle, destination_handle), 0u);
    // Lines start 6 + (12 - 10) = 8 bytes apart instead of 12.
    for (size_t y = 0; y < 3; ++y)
        for (size_t x = 0; x < 8; ++x)
            EXPECT_EQ(destination_[8 * y + x], x < 6 ? 16 * y + x : 0xEE) << x << "," << y;
}

TEST_F(Entry, CopiesOfDifferentStridesLeaveThePaddingAlone) {
    for (const uint32_t format : {TBL_FORMAT(Mono16), TBL_FORMAT(BGRX32)}) {
        std::memset(destination_, 0xEE, sizeof destination_);
        const size_t line = format == TBL_FORMAT(Mono16) ? 16 : 32;
        EXPECT_EQ(convert(format, format, 41), 0u);
        for (size_t i = 0; i < 41 * 4; ++i)
            EXPECT_EQ(destination_[i], i % 41 < line ? 0x11 : 0xEE) << i;
    }
}

TEST(ExportedKernels, RefuseMissingHandlesAndEightBits) {
    uint8_t memory[256] = {};
    fake() = {};
    fake().set_picture(destination_handle, TBL_FORMAT(BGR24), memory, 4, 4, 16);
    EXPECT_EQ(TIL_BAY8_to_BGR24_dup_A(source_handle, destination_handle), 8u);
    EXPECT_EQ(fake().asked.size(), 1u);
    fake().set_picture(source_handle, TBL_FORMAT(BAY12), memory + 128, 4, 4, 8);
    EXPECT_EQ(TIL_BAYn_to_BGR24_dup_A(source_handle, destination_handle, 8), 8u);
    EXPECT_EQ(fake().asked.size(), 3u);
    EXPECT_EQ(TIL_BAYn_to_BGR24_dup_A(source_handle, destination_handle, 12), 0u);
    fake().values.erase({destination_handle, 11});
    EXPECT_EQ(TIL_BAYn_to_BGR24_dup_A(source_handle, destination_handle, 8), 8u);
    EXPECT_EQ(TIL_BAY8_to_BGR24_dup_A(source_handle, destination_handle), 8u);
}

}  // namespace
