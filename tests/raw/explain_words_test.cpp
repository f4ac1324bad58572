// What TRW_Explain says.
#include <gtest/gtest.h>

#include <set>

#include "tests/raw/explaining.h"
#include "trvil/til.h"

namespace {

using namespace test;

// Words about two pictures of 4 lines.
struct Remark {
    uint32_t from, width, stride, to, to_width, to_stride;
    const char* words;
};

class ExplainWords : public Explaining {
  protected:
    bool says(const Remark& c) {
        set_pair(c.from, {c.width, 4, c.stride}, c.to, {c.to_width, 4, c.to_stride});
        fake().set(source_handle, 9, TBL_BAYER_METHOD_AVE);
        const Explained explained = explain();
        EXPECT_EQ(explained.status, 0u) << explained.text;
        return explained.says(c.words);
    }
};

TEST_F(ExplainWords, NamesTheFirstThingMissing) {
    const struct {
        uint64_t handle;
        uint32_t id;
        const char* words;
    } required[] = {{source_handle, 11, "the source's handle 0x5EED names no buffer"},
                    {destination_handle, 11, "the destination's handle 0xDE57 names no buffer"},
                    {destination_handle, 7, "the destination has no pixel format"},
                    {source_handle, 7, "the source has no pixel format"},
                    {source_handle, 3, "the source has no memory"},
                    {destination_handle, 3, "the destination has no memory"}};
    for (size_t first = 0; first < 6; ++first) {
        set_pair(TBL_FORMAT(BAY8), {8, 4, 8}, TBL_FORMAT(BGR24), {8, 4, 24});
        for (size_t i = first; i < 6; ++i)
            fake().values.erase({required[i].handle, required[i].id});
        const Explained explained = explain();
        EXPECT_EQ(explained.status, 8u);
        EXPECT_TRUE(explained.says(required[first].words)) << explained.text;
        EXPECT_EQ(TIL_Convert(source_handle, destination_handle), 8u);
    }
    EXPECT_EQ(TRW_Explain(0, 0, 0, nullptr, 0), 8u);
}

TEST_F(ExplainWords, WarnsOfWhatTheStatusHides) {
    const Remark cases[] = {
        {TBL_FORMAT(BAY8), 7, 8, TBL_FORMAT(BGR24), 7, 24, "the width is odd, so ave"},
        {TBL_FORMAT(BAY8), 1, 8, TBL_FORMAT(BGR24), 1, 24, "refusal is not passed on"},
        {TBL_FORMAT(BAY12), 8, 17, TBL_FORMAT(BGR24), 8, 24, "the odd stride of the source"},
        {TBL_FORMAT(Mono10P), 8, 10, TBL_FORMAT(Mono10), 8, 5, "31 bytes are written"},
        {TBL_FORMAT(Mono10P), 6, 10, TBL_FORMAT(Mono10), 6, 12, "52 bytes are written"},
        {TBL_FORMAT(Mono10P), 6, 10, TBL_FORMAT(Mono10), 6, 12, "at least 16 bytes and 4 lines"},
        {TBL_FORMAT(BAY8), 8, 8, TBL_FORMAT(RGB16), 8, 17, "the odd stride of the destination"},
        {TBL_FORMAT(Mono8), 8, 8, TBL_FORMAT(Mono8), 6, 9, "lines are written 11 bytes apart"},
        {TBL_FORMAT(Mono8), 2, 2, TBL_FORMAT(Mono8), 12, 9, "in front of its memory"},
        {TBL_FORMAT(Mono8), 8, 8, TBL_FORMAT(Mono12), 8, 16, "8 bits stays 255"},
        {TBL_FORMAT(BGR48), 8, 48, TBL_FORMAT(RGB16), 8, 16, "one channel and a flag"},
        {TBL_FORMAT(YUV422), 7, 14, TBL_FORMAT(BGR24), 7, 21, "takes its V"},
        {0x116, 8, 8, TBL_FORMAT(BGR24), 8, 24, "0x00000116 is taken for BAY8"},
    };
    for (const auto& c : cases) EXPECT_TRUE(says(c)) << c.words;
    set_pair(TBL_FORMAT(Mono8), {8, 4, 8}, TBL_FORMAT(BGR24), {8, 4, 24});
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 31));
    EXPECT_TRUE(explain().says("share memory"));
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 32));
    EXPECT_FALSE(explain().says("share memory"));
}

TEST_F(ExplainWords, KnowsWhatWorksInPlace) {
    const auto warns = [&](uint32_t from, const Shape& s, uint32_t to, const Shape& d) {
        set_pair(from, s, to, d);
        fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle));
        return explain().says("share memory");
    };
    EXPECT_FALSE(warns(TBL_FORMAT(BGR24), {8, 4, 24}, TBL_FORMAT(RGB24), {8, 4, 24}));
    EXPECT_FALSE(warns(TBL_FORMAT(BGR24), {8, 4, 24}, TBL_FORMAT(RGB16), {8, 4, 24}));
    EXPECT_TRUE(warns(TBL_FORMAT(BGR24), {8, 4, 24}, TBL_FORMAT(RGB24), {8, 4, 25}));
    EXPECT_TRUE(warns(TBL_FORMAT(BGR24), {8, 4, 32}, TBL_FORMAT(BGRX32), {8, 4, 32}));
    EXPECT_TRUE(warns(TBL_FORMAT(BAY12), {8, 4, 16}, TBL_FORMAT(RGB16), {8, 4, 16}));
}

TEST_F(ExplainWords, WarnsOfNothingElse) {
    const Remark cases[] = {
        {TBL_FORMAT(BAY8), 8, 9, TBL_FORMAT(BGR24), 8, 25, "odd stride"},
        {TBL_FORMAT(BAY8), 8, 9, TBL_FORMAT(RGB16), 8, 16, "odd stride"},
        {TBL_FORMAT(BAY12), 8, 16, TBL_FORMAT(BGRX32), 8, 33, "odd stride"},
        {TBL_FORMAT(Mono8), 8, 9, TBL_FORMAT(Mono16), 8, 17, "odd stride"},
        {TBL_FORMAT(BGR48), 8, 48, TBL_FORMAT(BGR30), 8, 32, "one channel"},
        {TBL_FORMAT(Mono12P), 8, 12, TBL_FORMAT(Mono12), 8, 16, "low 8 bits"},
    };
    for (const auto& c : cases) EXPECT_FALSE(says(c)) << c.words;
}

TEST_F(ExplainWords, SaysWhyNothingIsWritten) {
    const auto says = [&](uint32_t from, const Shape& s, const char* words) {
        set_pair(from, s, TBL_FORMAT(BGR24), {8, 4, 24});
        return explain().says(words);
    };
    EXPECT_TRUE(says(TBL_FORMAT(BAY8), {1, 4, 8}, "at least 2 x 2"));
    EXPECT_TRUE(says(TBL_FORMAT(BAY8), {0, 4, 8}, "no pixels"));
    EXPECT_TRUE(says(TBL_FORMAT(Mono8), {8, 0, 8}, "no pixels"));
}

TEST_F(ExplainWords, NamesTheRoutesThatMakeNoPicture) {
    const auto says = [&](uint32_t from, uint32_t to) {
        set_pair(0xC0022600 + from, {8, 4, 64}, 0xC0022600 + to, {8, 4, 64});
        return explain().says("so the result is no picture");
    };
    std::set<std::pair<uint32_t, uint32_t>> named;
    for (uint32_t from = 1; from < TBL_CODE_END; ++from)
        for (uint32_t to = 1; to < TBL_CODE_END; ++to)
            if (says(from, to)) named.insert({from, to});
    std::set<std::pair<uint32_t, uint32_t>> expected = {{TBL_CODE_RGB30, TBL_CODE_RGB48}};
    for (const uint32_t to : {TBL_CODE_XBGR32, TBL_CODE_BGRX32, TBL_CODE_XRGB32, TBL_CODE_RGBX32})
        expected.insert({TBL_CODE_Mono12P, to});
    for (const uint32_t to : {TBL_CODE_RGB15, TBL_CODE_BGR15, TBL_CODE_RGB16, TBL_CODE_BGR16})
        for (const uint32_t from : {TBL_CODE_BGR48, TBL_CODE_BGR48_12}) expected.insert({from, to});
    EXPECT_EQ(named, expected);
}

TEST_F(ExplainWords, TellsOfBlocksWherePaddingIsCopied) {
    const struct {
        uint32_t format, source_stride, stride, height;
        bool block;
    } cases[] = {{TBL_FORMAT(Mono8), 9, 9, 4, true},    {TBL_FORMAT(Mono8), 8, 8, 4, false},
                 {TBL_FORMAT(Mono8), 9, 9, 5, false},   {TBL_FORMAT(Mono8), 9, 10, 4, false},
                 {TBL_FORMAT(Mono16), 17, 17, 4, true}, {TBL_FORMAT(Mono16), 16, 16, 4, false},
                 {TBL_FORMAT(BGRX32), 33, 33, 5, true}, {TBL_FORMAT(BGRX32), 32, 32, 4, false},
                 {TBL_FORMAT(BGRX32), 33, 34, 4, false}};
    for (const auto& c : cases) {
        set_pair(c.format, {8, 4, c.source_stride}, c.format, {8, c.height, c.stride});
        EXPECT_EQ(explain().says("as one block"), c.block) << explain().text;
    }
}

// TRW_Unpack is asked beside it.
TEST_F(ExplainWords, TellsWhatUnpackingDoes) {
    const struct {
        uint32_t packing, stride, place, to, to_stride;
        const char* words;
    } cases[] = {
        {TRW_PACKING_12Packed, 15, 1, TBL_FORMAT(BAY12_B), 16, "at place 1 of a group of 2"},
        {TRW_PACKING_RAW10, 10, 0, TBL_FORMAT(BGR24), 24, "Mono10, or BAY10 or BAY10_A to _D"},
        {TRW_PACKING_UYVY, 18, 1, TBL_FORMAT(YUV422), 16, "inside a group of UYVY"},
        {TRW_PACKING_UYVY, 16, 0, TBL_FORMAT(Mono16), 16, "UYVY does not become"},
        {TRW_PACKING_END, 16, 0, TBL_FORMAT(Mono16), 16, "0x1C is no packing"},
        {TRW_PACKING_RAW10, 9, 0, TBL_FORMAT(Mono10), 16, "RAW10 take 10 bytes"},
        {TRW_PACKING_RAW10, 10, 0, TBL_FORMAT(Mono10), 15, "Mono10 are 16 bytes"},
        {TRW_PACKING_RAW10, 10, 0, 0, 16, "the destination has no pixel format"},
        {TRW_PACKING_RAW10, 10, 0, 0xFF, 16, "0x000000FF is no pixel format"},
    };
    for (const auto& c : cases) {
        set_pair(TBL_FORMAT(Mono8), {8, 4, c.stride}, c.to, {8, 4, c.to_stride});
        fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, c.place);
        const Explained explained = explain(c.packing);
        EXPECT_TRUE(explained.says(c.words)) << explained.text;
        EXPECT_EQ(explained.status, TRW_Unpack(source_handle, c.packing, destination_handle));
        EXPECT_EQ(explained.status != 0, explained.says("\nwhy: ") && explained.says("\nnext: "));
    }
    const struct {
        uint64_t handle;
        uint32_t parameter;
        const char* words;
    } zeros[] = {{source_handle, TBL_PARAMETER_PRESENT, "source"},
                 {source_handle, TBL_PARAMETER_ADDRESS, "source"},
                 {source_handle, TBL_PARAMETER_WIDTH, "parameter 1 reads zero"},
                 {source_handle, TBL_PARAMETER_HEIGHT, "parameter 2 reads zero"},
                 {destination_handle, TBL_PARAMETER_PRESENT, "destination"},
                 {destination_handle, TBL_PARAMETER_ADDRESS, "destination"},
                 {destination_handle, TBL_PARAMETER_HEIGHT, "4 lines and the destination 0"}};
    for (const auto& zero : zeros) {
        set_pair(TBL_FORMAT(Mono8), {8, 4, 10}, TBL_FORMAT(Mono10), {8, 4, 16});
        fake().set(zero.handle, zero.parameter, 0);
        const Explained explained = explain(TRW_PACKING_RAW10);
        EXPECT_TRUE(explained.says(zero.words)) << explained.text;
        EXPECT_EQ(explained.status,
                  TRW_Unpack(source_handle, TRW_PACKING_RAW10, destination_handle));
    }
    set_pair(TBL_FORMAT(Mono8), {8, 4, 10}, TBL_FORMAT(Mono10), {8, 4, 16});
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 39));
    EXPECT_TRUE(explain(TRW_PACKING_RAW10).says("share memory"));
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 40));
    EXPECT_EQ(explain(TRW_PACKING_RAW10).text, "status 0: RAW10 becomes Mono10, 8 x 4 pixels");
}

TEST_F(ExplainWords, CutsTextToItsRoom) {
    set_pair(TBL_FORMAT(BGR24), {8, 4, 24}, TBL_FORMAT(RGB24), {8, 4, 24});
    const std::string whole_text = explain().text;
    for (size_t size = 1; size < whole_text.size() + 3; ++size) {
        std::vector<char> text(size + 8, '#');
        EXPECT_EQ(TRW_Explain(source_handle, 0, destination_handle, text.data(), size), 0u);
        EXPECT_EQ(std::string(text.data()), whole_text.substr(0, size - 1));
        EXPECT_EQ(std::string(text.data() + size, 8), "########");
    }
    char untouched = '#';
    EXPECT_EQ(TRW_Explain(source_handle, 0, destination_handle, &untouched, 0), 0u);
    EXPECT_EQ(TRW_Explain(source_handle, 0, destination_handle, nullptr, 9), 0u);
    EXPECT_EQ(untouched, '#');
}

}  // namespace
