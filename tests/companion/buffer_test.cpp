// The embedded buffer library: handles, memory, views, and queries beside other threads.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "trvil/tbl.h"

namespace {

uint32_t get32(uint64_t handle, uint32_t id) {
    uint32_t value = 0xEEEEEEEE;
    EXPECT_EQ(TBL_BufferParameterGet(handle, id, &value), 0u) << id;
    return value;
}

uint64_t get64(uint64_t handle, uint32_t id) {
    uint64_t value = 0;
    EXPECT_EQ(TBL_BufferParameterGet(handle, id, &value), 0u) << id;
    return value;
}

uint8_t* address(uint64_t handle) {
    return reinterpret_cast<uint8_t*>(get64(handle, TBL_PARAMETER_ADDRESS));
}

TEST(Buffer, CreatedOnesDescribeThemselves) {
    uint64_t handle = 0;
    ASSERT_EQ(TBS_BufferCreate(&handle, 33, 5, TBL_FORMAT(BAY12_C)), 0u);
    EXPECT_EQ(get32(handle, 1), 33u);
    EXPECT_EQ(get32(handle, 2), 5u);
    EXPECT_EQ(get32(handle, 4), 128u);  // 66 bytes, rounded up to lines of 64
    EXPECT_EQ(get32(handle, 7), 0xC0022632u);
    EXPECT_EQ(get32(handle, 9), TBL_BAYER_METHOD_AVE);
    EXPECT_EQ(get32(handle, 10), TBL_BAYER_PHASE_C);
    EXPECT_NE(get64(handle, 11), 0u);
    EXPECT_EQ(get32(handle, 18), 0u);
    uint8_t* memory = address(handle);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 64, 0u);
    for (size_t i = 0; i < 5 * 128 + 64; ++i) EXPECT_EQ(memory[i], 0) << i;
    std::memset(memory, 1, 5 * 128 + 64);  // the tail is ours too: the sanitizer watches
    EXPECT_EQ(TBS_BufferRelease(&handle), 0u);
    EXPECT_EQ(handle, 0u);
}

TEST(Buffer, BadQueriesWriteNothing) {
    uint64_t handle = 0;
    ASSERT_EQ(TBS_BufferCreate(&handle, 4, 4, TBL_FORMAT(Mono8)), 0u);
    uint64_t slot = 42;
    for (const uint32_t id : {0u, 5u, 6u, 8u, 12u, 17u, 19u, 0xFFFFFFFFu})
        EXPECT_NE(TBL_BufferParameterGet(handle, id, &slot), 0u) << id;
    EXPECT_NE(TBL_BufferParameterGet(handle, 1, nullptr), 0u);
    EXPECT_EQ(slot, 42u);
    TBS_BufferRelease(&handle);
}

TEST(Buffer, A32BitQueryWritesFourBytes) {
    uint64_t handle = 0;
    ASSERT_EQ(TBS_BufferCreate(&handle, 4, 4, TBL_FORMAT(Mono8)), 0u);
    for (const uint32_t id : {1u, 2u, 4u, 7u, 9u, 10u, 18u}) {
        uint32_t slots[2] = {0, 0xEEEEEEEE};
        EXPECT_EQ(TBL_BufferParameterGet(handle, id, slots), 0u);
        EXPECT_EQ(slots[1], 0xEEEEEEEE);
    }
    TBS_BufferRelease(&handle);
}

TEST(Buffer, WrapRefusesWhatCannotHoldThePicture) {
    uint8_t memory[256];
    struct {
        uint32_t width, height, format;
        void* at;
        uint64_t size;
        uint32_t stride, status;
    } const cases[] = {
        {8, 8, TBL_FORMAT(BGR24), memory, 192, 0, 0},
        {8, 8, TBL_FORMAT(BGR24), memory, 191, 0, 8},
        {8, 8, TBL_FORMAT(BGR24), memory, 200, 25, 0},
        {8, 8, TBL_FORMAT(BGR24), memory, 198, 25, 8},
        {8, 8, TBL_FORMAT(BGR24), memory, 256, 23, 8},
        {5, 2, TBL_FORMAT(Mono10P), memory, 14, 0, 0},
        {5, 2, TBL_FORMAT(Mono10P), memory, 13, 0, 8},
        {0, 8, TBL_FORMAT(BGR24), memory, 256, 0, 8},
        {8, 0, TBL_FORMAT(BGR24), memory, 256, 0, 8},
        {8, 8, TBL_FORMAT(BGR24), nullptr, 256, 0, 8},
        {8, 8, 0x11, memory, 256, 0, 10},
        {8, 8, 0xC00226FF, memory, 256, 0, 10},
        {0x80000000, 1, TBL_FORMAT(RGBA64), memory, ~uint64_t{0}, 0, 8},
    };
    for (const auto& c : cases) {
        uint64_t handle = 7;
        EXPECT_EQ(TBS_BufferWrap(&handle, c.width, c.height, c.format, c.at, c.size, c.stride,
                                 nullptr, nullptr),
                  c.status)
            << c.width << " " << c.size << " " << c.stride;
        EXPECT_EQ(handle == 7, c.status != 0);
        if (c.status == 0) TBS_BufferRelease(&handle);
    }
    uint64_t handle = 7;
    EXPECT_EQ(TBS_BufferCreate(&handle, 0x80000000, 1, TBL_FORMAT(RGBA64)), 8u);
    EXPECT_EQ(TBS_BufferCreate(&handle, 0, 1, TBL_FORMAT(Mono8)), 8u);
    EXPECT_EQ(TBS_BufferCreate(&handle, 1, 1, 0xC0022604), 10u);
    EXPECT_EQ(TBS_BufferCreate(&handle, 0xFFFFFF00, 0xFFFFFFFF, TBL_FORMAT(Mono8)), 14u);
    EXPECT_EQ(handle, 7u);
}

TEST(Buffer, ViewsKeepPhaseAndPackingRight) {
    uint64_t handle = 0;
    ASSERT_EQ(TBS_BufferCreate(&handle, 16, 8, TBL_FORMAT(BAY10P_B)), 0u);
    const uint32_t expected[2][2] = {{TBL_BAYER_PHASE_B, TBL_BAYER_PHASE_A},
                                     {TBL_BAYER_PHASE_D, TBL_BAYER_PHASE_C}};
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 8; ++x) {
            uint64_t view = 0;
            ASSERT_EQ(TBS_BufferView(&view, handle, x, y, 8, 4), 0u);
            EXPECT_EQ(get32(view, 10), expected[y][x % 2]);
            EXPECT_EQ(get32(view, 18), x % 4);
            EXPECT_EQ(address(view), address(handle) + y * get32(handle, 4) + x / 4 * 5);
            uint64_t inner = 0;  // a view of a view starts inside a group
            ASSERT_EQ(TBS_BufferView(&inner, view, 3, 0, 4, 4), 0u);
            EXPECT_EQ(get32(inner, 18), (x + 3) % 4);
            EXPECT_EQ(address(inner), address(handle) + y * get32(handle, 4) + (x + 3) / 4 * 5);
            TBS_BufferRelease(&inner);
            TBS_BufferRelease(&view);
        }
    uint64_t view = 7;
    EXPECT_EQ(TBS_BufferView(&view, handle, 9, 0, 8, 4), 8u);
    EXPECT_EQ(TBS_BufferView(&view, handle, 0xFFFFFFFF, 0, 8, 4), 8u);
    EXPECT_EQ(TBS_BufferView(&view, handle, 0, 0, 0, 4), 8u);
    TBS_BufferRelease(&handle);
    ASSERT_EQ(TBS_BufferCreate(&handle, 16, 8, TBL_FORMAT(YUV422)), 0u);
    EXPECT_EQ(TBS_BufferView(&view, handle, 1, 0, 8, 4), 8u);
    EXPECT_EQ(view, 7u);
    TBS_BufferRelease(&handle);
}

TEST(Buffer, OnlyDefinedSettingsAreTaken) {
    uint64_t handle = 0;
    ASSERT_EQ(TBS_BufferCreate(&handle, 4, 4, TBL_FORMAT(BAY8)), 0u);
    EXPECT_EQ(TBS_BufferParameterSet(handle, 9, TBL_BAYER_METHOD_MED), 0u);
    EXPECT_EQ(TBS_BufferParameterSet(handle, 10, TBL_BAYER_PHASE_D), 0u);
    for (const uint64_t bad : {0x009u, 0x409u, 0x10Au, 0x1109u})
        EXPECT_EQ(TBS_BufferParameterSet(handle, 9, bad), 8u) << bad;
    for (const uint64_t bad : {0x00Au, 0x50Au, 0x109u})
        EXPECT_EQ(TBS_BufferParameterSet(handle, 10, bad), 8u) << bad;
    EXPECT_EQ(TBS_BufferParameterSet(handle, 9, uint64_t{1} << 40 | 0x109), 8u);
    EXPECT_EQ(TBS_BufferParameterSet(handle, 1, 8), 8u);
    EXPECT_EQ(get32(handle, 9), TBL_BAYER_METHOD_MED);
    EXPECT_EQ(get32(handle, 10), TBL_BAYER_PHASE_D);
    TBS_BufferRelease(&handle);
}

TEST(Buffer, QueriesBesideMakingAndEndingNeverSeeAnotherBuffersValues) {
    std::atomic<uint64_t> current{0};
    std::atomic<bool> stop{false};
    std::atomic<unsigned> wrong{0}, answered{0};
    const auto ask = [&] {
        while (!stop) {
            const uint64_t handle = current;
            uint32_t width = 0, height = 0;
            if (TBL_BufferParameterGet(handle, 1, &width) != 0) continue;
            if (TBL_BufferParameterGet(handle, 2, &height) != 0) continue;
            ++answered;
            if (width != height) ++wrong;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back(ask);
    for (uint32_t i = 0; i < 20000 || (answered < 100 && i < 20000000); ++i) {
        uint64_t handle = 0;
        uint8_t byte[4096];
        ASSERT_EQ(TBS_BufferWrap(&handle, i % 60 + 1, i % 60 + 1, TBL_FORMAT(Mono8), byte, 4096, 0,
                                 nullptr, nullptr),
                  0u);
        current = handle;
        TBS_BufferRelease(&handle);
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_GE(answered, 100u);
}

TEST(Buffer, ManyLiveAtOnceAndTheirSlotsComeBack) {
    std::vector<uint64_t> handles;
    uint8_t byte = 0;
    uint64_t handle = 0;
    while (TBS_BufferWrap(&handle, 1, 1, TBL_FORMAT(Mono8), &byte, 1, 0, nullptr, nullptr) == 0)
        handles.push_back(handle);
    EXPECT_EQ(handles.size(), 65536u);
    for (uint64_t& one : handles) EXPECT_EQ(TBS_BufferRelease(&one), 0u);
    EXPECT_EQ(TBS_BufferWrap(&handle, 1, 1, TBL_FORMAT(Mono8), &byte, 1, 0, nullptr, nullptr), 0u);
    TBS_BufferRelease(&handle);
}

}  // namespace
