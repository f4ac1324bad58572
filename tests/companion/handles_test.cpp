// What a handle is worth once its buffer is gone, and how slots are used again.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <unordered_set>
#include <vector>

#include "companion/slots.h"
#include "companion/tag.h"
#include "trvil/tbl.h"

namespace {

using trv::companion::Key;
using trv::companion::last_life;
using trv::companion::slot_at;
using trv::companion::slot_index;
using trv::companion::tag_of;

uint8_t memory[64];

uint64_t wrap(uint32_t side = 8) {
    uint64_t handle = 0;
    EXPECT_EQ(
        TBS_BufferWrap(&handle, side, side, TBL_FORMAT(BAY8), memory, 64, 0, nullptr, nullptr), 0u);
    return handle;
}

void expect_refused(uint64_t handle) {
    for (const uint32_t id : {1u, 2u, 3u, 4u, 7u, 9u, 10u, 11u, 18u}) {
        uint64_t value = 42;
        ASSERT_EQ(TBL_BufferParameterGet(handle, id, &value), 8u);
        ASSERT_EQ(value, 42u);
    }
    uint64_t view = 42, copy = handle;
    ASSERT_EQ(TBS_BufferView(&view, handle, 0, 0, 1, 1), 8u);
    ASSERT_EQ(TBS_BufferParameterSet(handle, 9, TBL_BAYER_METHOD_MED), 8u);
    ASSERT_EQ(TBS_BufferRetain(handle), 8u);
    ASSERT_EQ(TBS_BufferRelease(&copy), 8u);
    ASSERT_TRUE(view == 42 && copy == handle);
}

uint32_t method_of(uint64_t handle) {
    uint32_t method = 0;
    EXPECT_EQ(TBL_BufferParameterGet(handle, 9, &method), 0u);
    return method;
}

TEST(Handles, ReleasedOnesAreRefusedWhileOthersUseTheirSlot) {
    std::vector<uint64_t> released;
    const uint32_t slot = slot_index(wrap());  // the next ones share another slot
    for (int i = 0; i < 300; ++i) {
        uint64_t handle = wrap();
        ASSERT_NE(slot_index(handle), slot);
        ASSERT_EQ(released.empty() ? slot_index(handle) : slot_index(released[0]),
                  slot_index(handle));
        for (const uint64_t old : released) expect_refused(old);
        ASSERT_EQ(method_of(handle), TBL_BAYER_METHOD_AVE);
        released.push_back(handle);
        ASSERT_EQ(TBS_BufferRelease(&handle), 0u);
        expect_refused(released.back());
    }
}

TEST(Handles, AViewKeepsTheMemoryAndNotTheHandle) {
    int gone = 0;
    uint64_t handle = 0, view = 0, inner = 0;
    const auto count = [](void* context, void* gone_memory) {
        *static_cast<int*>(context) += gone_memory == memory;
    };
    ASSERT_EQ(TBS_BufferWrap(&handle, 8, 8, TBL_FORMAT(Mono8), memory, 64, 0, count, &gone), 0u);
    ASSERT_EQ(TBS_BufferView(&view, handle, 0, 0, 4, 4), 0u);
    ASSERT_EQ(TBS_BufferView(&inner, view, 0, 0, 2, 2), 0u);
    const uint64_t old_handle = handle, old_view = view;
    EXPECT_EQ(TBS_BufferRelease(&handle), 0u);
    expect_refused(old_handle);  // so releasing it twice takes nothing from the view
    EXPECT_EQ(TBS_BufferRelease(&view), 0u);
    expect_refused(old_view);
    uint64_t others[] = {wrap(1), wrap(1), wrap(1)};
    uint32_t width = 0;
    EXPECT_EQ(TBL_BufferParameterGet(inner, 1, &width), 0u);
    EXPECT_TRUE(width == 2 && gone == 0);
    EXPECT_EQ(TBS_BufferRelease(&inner), 0u);
    EXPECT_EQ(gone, 1);
    for (uint64_t& other : others) EXPECT_EQ(TBS_BufferRelease(&other), 0u);
}

TEST(Handles, ASlotIsNotTakenAgainAfterItsLastBuffer) {
    uint64_t handle = wrap();
    const uint32_t worn = slot_index(handle);
    slot_at(worn)->lives = last_life - 2;
    ASSERT_EQ(TBS_BufferRelease(&handle), 0u);
    std::vector<uint64_t> old;
    for (int i = 0; i < 2; ++i) {
        handle = wrap();
        ASSERT_EQ(slot_index(handle), worn);
        old.push_back(handle);
        ASSERT_EQ(TBS_BufferRelease(&handle), 0u);
    }
    std::vector<uint64_t> rest;
    while (TBS_BufferWrap(&handle, 1, 1, TBL_FORMAT(Mono8), memory, 1, 0, nullptr, nullptr) == 0) {
        ASSERT_NE(slot_index(handle), worn);
        rest.push_back(handle);
    }
    for (const uint64_t one : old) expect_refused(one);
    for (uint64_t& one : rest) ASSERT_EQ(TBS_BufferRelease(&one), 0u);
}

TEST(Handles, NoSlotAnswersANumberThatIsNoHandle) {
    uint64_t handle = wrap();
    for (uint64_t slot = 0; slot < 65536; ++slot)
        for (const uint64_t bad : {slot, slot | uint64_t{1} << 32, slot | ~uint64_t{0xFFFF}}) {
            uint64_t value = 42;
            ASSERT_EQ(TBL_BufferParameterGet(bad, 11, &value), 8u) << bad;
            ASSERT_EQ(value, 42u);
        }
    for (int bit = 0; bit < 64; ++bit) expect_refused(handle ^ uint64_t{1} << bit);
    ASSERT_EQ(TBS_BufferRelease(&handle), 0u);
}

// Also beside the ends of the numbers, and where a tag would be 0.
TEST(Tags, DifferForEveryBufferOfASlotAndDependOnKeyAndSlot) {
    const Key key{{0x0123456789ABCDEF, 0xFEDCBA9876543210}};
    std::unordered_set<uint64_t> seen;
    for (uint64_t i = 1; i <= 200000; ++i)
        for (const uint64_t life : {i, last_life + 1 - i, i << 24 | 1}) {
            const uint64_t tag = tag_of(key, 5, life);
            ASSERT_TRUE(tag != 0 && tag <= last_life);
            seen.insert(tag);
        }
    EXPECT_EQ(seen.size(), 600000u);
    int bits = 0;
    for (uint64_t life = 1; life <= 1000; ++life) {
        const uint64_t tag = tag_of(key, 5, life);
        bits += __builtin_popcountll(tag ^ tag_of(key, 5, life + 1));
        bits += __builtin_popcountll(tag ^ tag_of(key, 4, life));
        bits += __builtin_popcountll(tag ^ tag_of({{key.words[0], key.words[1] ^ 1}}, 5, life));
        bits += __builtin_popcountll(tag ^ tag_of({{key.words[0] ^ 1, key.words[1]}}, 5, life));
    }
    EXPECT_NEAR(bits / 4000.0, 24, 0.5);  // of 48: half of them, as at random
}

TEST(Tags, AreOfAnotherKeyInEveryProcess) {
    uint64_t handle = wrap();
    const uint32_t index = slot_index(handle);
    EXPECT_NE(handle >> 16, tag_of(Key{}, index, slot_at(index)->lives));
    EXPECT_EQ(TBS_BufferRelease(&handle), 0u);
    const Key one = trv::companion::draw_key(), other = trv::companion::draw_key();
    EXPECT_TRUE(one.words[0] != other.words[0] && one.words[1] != other.words[1]);
}

// The child uses what it inherited and makes its own, though another thread held the lock.
TEST(Handles, LiveOnInAChild) {
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop) {
            uint64_t handle = wrap();
            TBS_BufferRelease(&handle);
        }
    });
    uint64_t handle = wrap(7);
    for (int i = 0; i < 200 && !HasFailure(); ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);  // a lock that is never given back ends it too
            uint32_t width = 0;
            const bool read = TBL_BufferParameterGet(handle, 1, &width) == 0 && width == 7;
            uint64_t own = wrap();
            _exit(read && own != 0 && TBS_BufferRelease(&own) == 0 &&
                          TBS_BufferRelease(&handle) == 0
                      ? 0
                      : 1);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    stop = true;
    busy.join();
    EXPECT_EQ(TBS_BufferRelease(&handle), 0u);
}

}  // namespace
