// TIL_FieldToFrame as seen by the buffer library, and its deliberate behaviours by numbers.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/image/exports/fake_buffers.h"
#include "trvil/til.h"

namespace {

using test::destination_handle;
using test::fake;
using test::Query;
using test::source_handle;

class FieldEntry : public ::testing::Test {
  protected:
    void SetUp() override {
        fake() = {};
        std::memset(source_, 200, sizeof source_);
        std::memset(frame_, 0xEE, sizeof frame_);
    }
    void set(uint32_t format, uint32_t width, uint32_t height, uint32_t stride,
             uint32_t frame_stride) {
        fake().set_picture(source_handle, format, source_, width, height, stride);
        fake().set_picture(destination_handle, format, frame_, width, 2 * height, frame_stride);
    }
    uint32_t run(uint32_t method, uint32_t flag = 0) {
        return TIL_FieldToFrame(source_handle, destination_handle, method, flag);
    }
    bool untouched() const {
        for (const uint8_t byte : frame_)
            if (byte != 0xEE) return false;
        return true;
    }

    uint8_t source_[1024], frame_[2048];
};

TEST_F(FieldEntry, AsksInAFixedOrder) {
    set(TBL_FORMAT(Mono8), 8, 2, 8, 8);
    const uint64_t s = source_handle, d = destination_handle;
    EXPECT_EQ(run(TIL_FIELD_LINE_AVE), 0u);
    const std::vector<Query> lines = {{s, 11}, {d, 11}, {s, 11}, {d, 11}, {s, 3}, {d, 3},
                                      {s, 4},  {d, 4},  {s, 2},  {d, 2},  {s, 1}, {d, 1}};
    EXPECT_EQ(fake().asked, lines);
    fake().asked.clear();
    EXPECT_EQ(TIL_FieldToFrame_Bilinear(s, d, 1), 0u);
    const std::vector<Query> samples = {{s, 11}, {d, 11}, {s, 3}, {d, 3}, {s, 7}, {s, 4},
                                        {d, 4},  {s, 2},  {d, 2}, {s, 1}, {d, 1}};
    EXPECT_EQ(fake().asked, samples);
}

TEST_F(FieldEntry, RefusesInTheStatedOrderAndWritesNothing) {
    set(TBL_FORMAT(Mono8), 8, 2, 8, 8);
    EXPECT_EQ(run(4), 10u);
    EXPECT_EQ(run(0xFFFFFFFF), 10u);
    set(TBL_FORMAT(Mono8), 8, 2, 8, 7);
    for (uint32_t method = 0; method < 4; ++method) EXPECT_EQ(run(method), 8u) << method;
    set(TBL_FORMAT(Mono16), 8, 2, 16, 8);
    for (uint32_t method = 2; method < 4; ++method) {
        EXPECT_EQ(run(method), 10u);
        fake().set(destination_handle, 4, 7);
        EXPECT_EQ(run(method), 8u) << "size comes before format";
        fake().set(source_handle, 7, 0);
        EXPECT_EQ(run(method), 8u);
        set(TBL_FORMAT(Mono16), 8, 2, 16, 8);
    }
    // Whole codes count here, not their low byte.
    set(0x11, 8, 2, 24, 24);
    EXPECT_EQ(run(TIL_FIELD_MEDIAN), 10u);
    EXPECT_TRUE(untouched());
    for (const Query& missing : {Query{source_handle, 11},
                                 {destination_handle, 11},
                                 {source_handle, 3},
                                 {destination_handle, 3}}) {
        set(TBL_FORMAT(Mono8), 8, 2, 8, 8);
        fake().values.erase({missing.handle, missing.id});
        EXPECT_EQ(run(TIL_FIELD_LINE_DUP), 8u);
        EXPECT_EQ(run(9), missing.id == 11 ? 8u : 10u);
    }
    EXPECT_TRUE(untouched());
}

TEST_F(FieldEntry, MethodsDoNotLookAtTheDestinationsHandle) {
    set(TBL_FORMAT(Mono8), 8, 2, 8, 8);
    fake().values.erase({destination_handle, 11});
    EXPECT_EQ(TIL_FieldToFrame_LineDup(source_handle, destination_handle, 0), 0u);
    EXPECT_FALSE(untouched());
    fake().values.erase({source_handle, 11});
    EXPECT_EQ(TIL_FieldToFrame_LineDup(source_handle, destination_handle, 0), 8u);
}

TEST_F(FieldEntry, WritesAtTheStrideOfTheSource) {
    set(TBL_FORMAT(Mono16), 4, 2, 8, 100);
    source_[8] = 0xFF, source_[9] = 0x00, source_[0] = 0x00, source_[1] = 0x01;
    EXPECT_EQ(run(TIL_FIELD_LINE_AVE, 5), 0u);
    // Bytes are averaged one by one: 0x0100 and 0x00FF make 0x007F.
    EXPECT_EQ(frame_[8], 0x7F);
    EXPECT_EQ(frame_[9], 0x00);
    EXPECT_EQ(frame_[31], 200);
    EXPECT_EQ(frame_[32], 0xEE);
}

TEST_F(FieldEntry, BilinearDarkensAndLeavesTheEdges) {
    set(TBL_FORMAT(Mono8), 4, 2, 4, 4);
    std::memset(source_, 255, 8);
    EXPECT_EQ(run(TIL_FIELD_BILINEAR, 1), 0u);
    EXPECT_EQ(std::vector<uint8_t>(frame_ + 4, frame_ + 8),
              (std::vector<uint8_t>{255, 254, 254, 255}));
    std::memset(source_, 0, 4);
    EXPECT_EQ(run(TIL_FIELD_BILINEAR, 1), 0u);
    EXPECT_EQ(std::vector<uint8_t>(frame_ + 4, frame_ + 8),
              (std::vector<uint8_t>{127, 127, 127, 127}));
    std::memset(source_, 200, 8);
    EXPECT_EQ(run(TIL_FIELD_MEDIAN, 1), 0u);
    EXPECT_EQ(std::vector<uint8_t>(frame_ + 4, frame_ + 8),
              (std::vector<uint8_t>{200, 200, 200, 200}));
}

TEST_F(FieldEntry, TheMedianOfFourBytePixelsDrifts) {
    set(TBL_FORMAT(RGBX32), 16, 3, 64, 64);
    for (size_t i = 0; i < 3 * 64; ++i) source_[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(run(TIL_FIELD_MEDIAN, 1), 0u);
    EXPECT_EQ(frame_[63], 63);
    // A line of 52 bytes, then the field's "line 1" as read from byte 52, right after it.
    EXPECT_EQ(frame_[64 + 52], 52);
    EXPECT_EQ(frame_[64 + 52 + 63], 52 + 63);
    // Then the second such line, then "line 2" from byte 104, twice.
    EXPECT_EQ(frame_[64 + 52 + 64 + 52], 104);
    EXPECT_EQ(frame_[64 + 52 + 64 + 52 + 64], 104);
    EXPECT_EQ(frame_[64 + 52 + 64 + 52 + 128], 0xEE);
}

}  // namespace
