// The comparison that stands before every timing is trusted after it has failed.
#include "bench/peers/check.h"

#include <gtest/gtest.h>

#include <cstring>

#include "image/dispatch/level.h"

namespace {

using namespace peers;

const Task mosaic{"", Code::BAY8, Code::BGR24, Method::ave};

Candidate changed(const Task& task, const Tolerance& tolerance,
                  const std::function<void(uint8_t* picture, Size size)>& change) {
    const Candidate own = ours(task, trv::current_level(), "own");
    return {"changed", tolerance, [=](Size size) -> peers::Run {
                const Run run = own.prepare(size);
                return [=](const Job& job) {
                    run(job);
                    change(job.to, size);
                };
            }};
}

std::string found(const Tolerance& tolerance, const std::function<void(uint8_t*, Size)>& change) {
    return check(mosaic, ours(mosaic, trv::current_level(), "own"),
                 changed(mosaic, tolerance, change));
}

TEST(Comparison, WhoDoesNothingIsFound) {
    const Candidate idle{"idle", {}, [](Size) -> peers::Run { return [](const Job&) {}; }};
    for (const Task& task : all_tasks()) {
        const Candidate own = ours(task, trv::current_level(), "own");
        EXPECT_EQ(check(task, own, own), "") << task.name();
        EXPECT_NE(check(task, own, idle), "") << task.name();
        Candidate loose = idle;
        loose.tolerance = {"loose", 3, 2};
        EXPECT_NE(check(task, own, loose), "") << task.name();
    }
}

TEST(Comparison, OneWrongByteIsFoundWhereNoneMayBe) {
    const auto last = [](uint8_t* picture, Size size) {
        ++picture[3 * size.width * size.height - 1];
    };
    EXPECT_NE(found({}, last), "");
    EXPECT_EQ(found({"border", 0, 1}, last), "");
    EXPECT_EQ(found({"rounding", 1}, last), "");
}

TEST(Comparison, ExchangedColoursAndLinesAreFoundWithinAllTolerances) {
    const auto exchange = [](uint8_t* picture, Size size) {
        for (size_t i = 0; i < size_t{size.width} * size.height; ++i)
            std::swap(picture[3 * i], picture[3 * i + 2]);
    };
    const auto move = [](uint8_t* picture, Size size) {
        std::memmove(picture, picture + 12 * size.width, 3 * size.width * (size.height - 4));
    };
    EXPECT_NE(found({"limited range", 20, 2}, exchange), "");
    EXPECT_NE(found({"other filter", 3, 2}, move), "");
}

}  // namespace
