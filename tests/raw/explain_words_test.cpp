// What TRW_Explain says.
#include <gtest/gtest.h>

#include <set>

#include "tests/raw/explaining.h"
#include "trvil/til.h"

namespace {

using namespace test;

using ExplainWords = Explaining;

// Words about a pair of pictures.
struct Remark {
    uint32_t from;
    Shape s;
    uint32_t to;
    Shape d;
    const char* words;
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

// The wording is free; that these three lines stand in this order with these figures is not.
TEST_F(ExplainWords, SaysWhatIsWrongWhyAndWhatToDo) {
    set_pair(TBL_FORMAT(BAY12), {640, 480, 1280}, TBL_FORMAT(BGR24), {640, 480, 1280});
    fake().set(source_handle, 9, TBL_BAYER_METHOD_AVE);
    fake().set(source_handle, 10, TBL_BAYER_PHASE_A);
    EXPECT_EQ(explain().text,
              "status 8: the destination is too small\n"
              "why: 640 x 480 pixels of BGR24 need 921600 bytes, and 480 lines of 1280 bytes are "
              "614400\n"
              "next: give the destination a stride of at least 1920 bytes and 480 lines");
}

TEST_F(ExplainWords, WarnsOfWhatTheStatusHides) {
    const Remark cases[] = {
        {TBL_FORMAT(BAY8), {7, 4, 8}, TBL_FORMAT(BGR24), {7, 4, 24}, "the width is odd, so ave"},
        {TBL_FORMAT(BAY8), {1, 4, 8}, TBL_FORMAT(BGR24), {1, 4, 24}, "refusal is not passed on"},
        {TBL_FORMAT(BAY12),
         {8, 4, 17},
         TBL_FORMAT(BGR24),
         {8, 4, 24},
         "the odd stride of the source"},
        {TBL_FORMAT(Mono10P), {8, 4, 10}, TBL_FORMAT(Mono10), {8, 4, 5}, "31 bytes are written"},
        {TBL_FORMAT(Mono10P), {6, 4, 10}, TBL_FORMAT(Mono10), {6, 4, 12}, "52 bytes are written"},
        {TBL_FORMAT(Mono10P),
         {6, 4, 10},
         TBL_FORMAT(Mono10),
         {6, 4, 12},
         "a stride of at least 16 bytes and 4 lines"},
        {TBL_FORMAT(BAY8),
         {8, 4, 8},
         TBL_FORMAT(RGB16),
         {8, 4, 17},
         "the odd stride of the destination"},
        {TBL_FORMAT(Mono8),
         {8, 4, 8},
         TBL_FORMAT(Mono8),
         {6, 4, 9},
         "lines are written 11 bytes apart"},
        {TBL_FORMAT(Mono8), {2, 4, 2}, TBL_FORMAT(Mono8), {12, 4, 9}, "in front of its memory"},
        {TBL_FORMAT(Mono8), {8, 4, 8}, TBL_FORMAT(Mono12), {8, 4, 16}, "8 bits stays 255"},
        {TBL_FORMAT(BGR48), {8, 4, 48}, TBL_FORMAT(RGB16), {8, 4, 16}, "one channel and a flag"},
        {TBL_FORMAT(YUV422), {7, 4, 14}, TBL_FORMAT(BGR24), {7, 4, 21}, "takes its V"},
        {0x116, {8, 4, 8}, TBL_FORMAT(BGR24), {8, 4, 24}, "0x00000116 is taken for BAY8"},
    };
    for (const auto& c : cases) {
        set_pair(c.from, c.s, c.to, c.d);
        fake().set(source_handle, 9, TBL_BAYER_METHOD_AVE);
        const Explained explained = explain();
        EXPECT_EQ(explained.status, 0u);
        EXPECT_TRUE(explained.says(c.words)) << explained.text;
    }
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

TEST_F(ExplainWords, NamesACodeThatIsNoFormat) {
    set_pair(0x105'00FE, {8, 4, 8}, TBL_FORMAT(BGR24), {8, 4, 24});
    EXPECT_EQ(explain().text,
              "status 10: the source's format 0x010500FE is no pixel format\n"
              "why: only its low byte counts, and 0xFE is none of the 74 codes\n"
              "next: give the buffer the code of a format by its name, such as TBL_FORMAT(BGR24)");
    set_pair(TBL_FORMAT(BAY8), {8, 4, 8}, 0xFF, {8, 4, 24});
    EXPECT_TRUE(explain().says("the destination's format 0x000000FF is no pixel format"));
}

TEST_F(ExplainWords, WarnsOfNothingElse) {
    const Remark cases[] = {
        {TBL_FORMAT(BAY8), {8, 4, 9}, TBL_FORMAT(BGR24), {8, 4, 25}, "odd stride"},
        {TBL_FORMAT(BAY8), {8, 4, 9}, TBL_FORMAT(RGB16), {8, 4, 16}, "odd stride"},
        {TBL_FORMAT(BAY12), {8, 4, 16}, TBL_FORMAT(BGRX32), {8, 4, 33}, "odd stride"},
        {TBL_FORMAT(Mono8), {8, 4, 9}, TBL_FORMAT(Mono16), {8, 4, 17}, "odd stride"},
        {TBL_FORMAT(BGR48), {8, 4, 48}, TBL_FORMAT(BGR30), {8, 4, 32}, "one channel"},
        {TBL_FORMAT(Mono12P), {8, 4, 12}, TBL_FORMAT(Mono12), {8, 4, 16}, "low 8 bits"},
    };
    for (const auto& c : cases) {
        set_pair(c.from, c.s, c.to, c.d);
        fake().set(source_handle, 9, TBL_BAYER_METHOD_AVE);
        fake().set(source_handle, 10, TBL_BAYER_PHASE_A);
        const Explained explained = explain();
        EXPECT_EQ(explained.status, 0u) << explained.text;
        EXPECT_FALSE(explained.says(c.words)) << explained.text;
    }
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
        Shape s;
        uint32_t packing, to;
        Shape d;
        uint32_t place;
        const char* words;
    } cases[] = {
        {{8, 4, 15},
         TRW_PACKING_12Packed,
         TBL_FORMAT(BAY12_B),
         {8, 5, 16},
         1,
         "status 0: 12Packed becomes BAY12_B, 8 x 4 pixels\n"
         "note: lines begin at place 1 of a group of 2 pixels, as the packing offset says\n"
         "note: the source's 4 lines are written; the destination has 5"},
        {{8, 4, 10},
         TRW_PACKING_RAW10,
         TBL_FORMAT(BGR24),
         {8, 4, 24},
         0,
         "status 10: RAW10 does not become BGR24\n"
         "why: its samples have 10 bits and go into words of 16\n"
         "next: give the destination the format Mono10, or BAY10 or BAY10_A to _D, and convert "
         "from there"},
        {{8, 4, 18}, TRW_PACKING_UYVY, TBL_FORMAT(YUV422), {8, 4, 16}, 1, "inside a group of UYVY"},
        {{8, 4, 16}, TRW_PACKING_UYVY, TBL_FORMAT(Mono16), {8, 4, 16}, 0, "UYVY does not become"},
        {{8, 4, 16},
         TRW_PACKING_END,
         TBL_FORMAT(Mono16),
         {8, 4, 16},
         0,
         "status 10: 0x1C is no pa"},
        {{8, 4, 9}, TRW_PACKING_RAW10, TBL_FORMAT(Mono10), {8, 4, 16}, 0, "RAW10 take 10 bytes"},
        {{8, 4, 10}, TRW_PACKING_RAW10, TBL_FORMAT(Mono10), {8, 4, 15}, 0, "Mono10 are 16 bytes"},
        {{8, 4, 10}, TRW_PACKING_RAW10, TBL_FORMAT(Mono10), {8, 3, 16}, 0, "and the destination 3"},
        {{0, 4, 10},
         TRW_PACKING_RAW10,
         TBL_FORMAT(Mono10),
         {8, 4, 16},
         0,
         "has no pixels\nwhy: its "
         "parameter 1 reads zero"},
        {{8, 0, 10},
         TRW_PACKING_RAW10,
         TBL_FORMAT(Mono10),
         {8, 4, 16},
         0,
         "parameter 2 reads zero"},
        {{8, 4, 10}, TRW_PACKING_RAW10, 0, {8, 4, 16}, 0, "the destination has no pixel format"},
        {{8, 4, 10}, TRW_PACKING_RAW10, 0xFF, {8, 4, 16}, 0, "0x000000FF is no pixel format"},
    };
    for (const auto& c : cases) {
        set_pair(TBL_FORMAT(Mono8), c.s, c.to, c.d);
        fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, c.place);
        const Explained explained = explain(c.packing);
        EXPECT_TRUE(explained.says(c.words)) << explained.text;
        EXPECT_EQ(explained.status, TRW_Unpack(source_handle, c.packing, destination_handle))
            << explained.text;
        EXPECT_EQ(explained.status != 0, explained.says("\nwhy: ") && explained.says("\nnext: "));
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
