// Pools of threads: every part made once, several callers at a time, signals, fork and the end.
#include "raw/pool/pool.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "trvil/buffer.hpp"
#include "trvil/raw.h"

namespace {

using trvil::Buffer;
using trvil::Format;

class Pool : public ::testing::Test {
  protected:
    TRW_Pool* create(uint32_t threads) {
        EXPECT_EQ(TRW_PoolCreate(&pool_, threads), TRV_STATUS_OK);
        return pool_;
    }
    uint32_t threads() const {
        uint32_t count = 0;
        EXPECT_EQ(TRW_PoolThreadsGet(pool_, &count), TRV_STATUS_OK);
        return count;
    }
    void TearDown() override {
        if (pool_ != nullptr) {
            EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_OK);
        }
        EXPECT_EQ(pool_, nullptr);
    }

    TRW_Pool* pool_ = nullptr;
};

// Counts how often each part was made, without atomics: each part has its own counter, each seat
// its own, and only the pool's order makes them visible to the caller.
struct Tally {
    std::vector<int> parts, seats;

    static void make(void* context, uint32_t part, uint32_t seat) {
        auto* tally = static_cast<Tally*>(context);
        ++tally->parts[part];
        ++tally->seats[seat];
    }
};

void work_once(TRW_Pool* pool, uint32_t parts, uint32_t seats) {
    Tally tally{std::vector<int>(parts), std::vector<int>(seats)};
    trv::raw::run(pool, {Tally::make, &tally, parts, seats});
    ASSERT_EQ(tally.parts, std::vector<int>(parts, 1));
    int all = 0;
    for (const int made : tally.seats) all += made;
    ASSERT_EQ(all, static_cast<int>(parts));
}

TEST_F(Pool, MakesEveryPartOnce) {
    for (const uint32_t count : {1u, 2u, 3u, 8u}) {
        create(count);
        EXPECT_EQ(threads(), count);
        for (const uint32_t parts : {0u, 1u, 2u, 7u, 100u})
            for (uint32_t seats = 1; seats <= count; ++seats)
                for (int again = 0; again < 50; ++again) work_once(pool_, parts, seats);
        EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_OK);
    }
    work_once(nullptr, 9, 3);
}

// Seats have memory of their own: threads that are awake from the work before find none left.
TEST_F(Pool, NoMoreThreadsHelpThanHaveSeats) {
    create(4);
    struct Seats {
        std::atomic<uint32_t> highest{0};
        static void make(void* context, uint32_t, uint32_t seat) {
            auto* seats = static_cast<Seats*>(context);
            for (uint32_t known = seats->highest; known < seat;)
                seats->highest.compare_exchange_weak(known, seat);
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    };
    for (int again = 0; again < 50; ++again)
        for (const uint32_t count : {4u, 2u}) {
            Seats seats;
            trv::raw::run(pool_, {Seats::make, &seats, 12, count});
            ASSERT_LT(seats.highest, count);
        }
}

TEST_F(Pool, ServesManyCallersAtOnce) {
    TRW_Pool* pool = create(3);
    std::vector<std::thread> callers;
    for (int i = 0; i < 6; ++i)
        callers.emplace_back([pool] {
            for (uint32_t again = 0; again < 500; ++again) work_once(pool, again % 17, 3);
        });
    for (std::thread& caller : callers) caller.join();
}

TEST_F(Pool, ZeroThreadsAreTheProcessorsOfThisThread) {
    create(0);
    cpu_set_t mine;
    ASSERT_EQ(sched_getaffinity(0, sizeof mine, &mine), 0);
    EXPECT_EQ(threads(), static_cast<uint32_t>(CPU_COUNT(&mine)));
    EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_OK);

    std::thread pinned([this] {
        cpu_set_t one = {};
        CPU_SET(static_cast<size_t>(sched_getcpu()), &one);
        ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
        create(0);
    });
    pinned.join();
    EXPECT_EQ(threads(), 1u);
}

TEST_F(Pool, RefusesWhatIsMissingAndTooManyThreads) {
    EXPECT_EQ(TRW_PoolCreate(nullptr, 2), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_PoolCreate(&pool_, 1025), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_PoolCreate(&pool_, UINT32_MAX), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_PoolDestroy(nullptr), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_PARAMETER);
    uint32_t count = 7;
    EXPECT_EQ(TRW_PoolThreadsGet(nullptr, &count), TRV_STATUS_PARAMETER);
    EXPECT_EQ(count, 7u);
    create(2);
    EXPECT_EQ(TRW_PoolThreadsGet(pool_, nullptr), TRV_STATUS_PARAMETER);
}

std::atomic<int> handled_elsewhere{0};
pthread_t handling_thread;

// A signal to the process finds no thread of the pool that would take it.
TEST_F(Pool, WorkersTakeNoSignals) {
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) {
        if (pthread_equal(pthread_self(), handling_thread) == 0) ++handled_elsewhere;
    };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    handling_thread = pthread_self();
    sigset_t usr1, mask, now;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &mask);
    create(4);
    // The mask of the thread that makes a pool stays.
    pthread_sigmask(SIG_BLOCK, nullptr, &now);
    EXPECT_EQ(sigismember(&now, SIGUSR1), 1);
    EXPECT_EQ(sigismember(&now, SIGUSR2), sigismember(&mask, SIGUSR2));
    for (int i = 0; i < 100; ++i) {
        kill(getpid(), SIGUSR1);
        work_once(pool_, 8, 4);
    }
    EXPECT_EQ(handled_elsewhere, 0);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    sigaction(SIGUSR1, &before, nullptr);
}

// A child has none of the threads; the one that it has does all the work.
TEST_F(Pool, ChildrenWorkAlone) {
    create(3);
    work_once(pool_, 8, 3);
    const pid_t child = fork();
    if (child == 0) {
        Tally tally{std::vector<int>(8), std::vector<int>(3)};
        trv::raw::run(pool_, {Tally::make, &tally, 8, 3});
        const bool alone = tally.parts == std::vector<int>(8, 1) && tally.seats[0] == 8;
        _exit(alone && TRW_PoolDestroy(&pool_) == TRV_STATUS_OK && pool_ == nullptr ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    work_once(pool_, 8, 3);
}

// The end waits for a call of another thread that is under way.
TEST_F(Pool, EndsAfterTheCallsThatHaveBegun) {
    for (int again = 0; again < 50; ++again) {
        create(3);
        struct Slow {
            std::atomic<bool> begun{false};
            std::atomic<int> made{0};
        } slow;
        std::thread caller([&] {
            trv::raw::run(pool_, {[](void* context, uint32_t, uint32_t) {
                                      auto* s = static_cast<Slow*>(context);
                                      s->begun = true;
                                      usleep(200);
                                      ++s->made;
                                  },
                                  &slow, 6, 3});
        });
        while (!slow.begun) sched_yield();
        TRW_Pool* ended = pool_;
        EXPECT_EQ(TRW_PoolDestroy(&ended), TRV_STATUS_OK);
        EXPECT_EQ(slow.made, 6);
        caller.join();
        pool_ = nullptr;
    }
}

// Each caller demosaics into one buffer of its own from a source that all share; the sanitizer of
// threads sees what bands do to each other's pad bytes.
TEST_F(Pool, ConvertsForManyCallersAtOnce) {
    constexpr uint32_t width = 701, height = 303;
    constexpr uint32_t packed_line = width * 3 / 2 + 1;
    std::vector<uint8_t> samples(packed_line * height);
    for (uint32_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<uint8_t>(i * 2654435761u >> 11);
    const Buffer packed =
        Buffer::wrap(std::span(samples), width, height, Format::BAY8_B, packed_line);
    TRW_Pool* pool = create(4);
    for (const Format format : {Format::BGRX32, Format::BGR24, Format::BAY12}) {
        const Buffer expected = Buffer::create(width, height, format);
        const size_t bytes = size_t{expected.stride()} * height;
        ASSERT_EQ(
            TRW_Convert(packed.handle(), TRW_PACKING_12p, expected.handle(), nullptr, nullptr), 0u);
        std::vector<std::thread> callers;
        for (int i = 0; i < 3; ++i)
            callers.emplace_back([&, pool] {
                const Buffer picture = Buffer::create(width, height, format);
                for (int again = 0; again < 5; ++again)
                    ASSERT_EQ(TRW_Convert(packed.handle(), TRW_PACKING_12p, picture.handle(),
                                          nullptr, pool),
                              0u);
                EXPECT_EQ(memcmp(picture.memory(), expected.memory(), bytes), 0);
            });
        for (std::thread& caller : callers) caller.join();
    }
}

}  // namespace
