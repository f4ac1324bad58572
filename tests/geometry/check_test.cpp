// The check itself: a harness counts for something once it has failed.
#include "tests/geometry/check.h"

#include <cstdlib>

namespace {

using geometry::Places;

enum class Fault { none, byte_in_front, byte_behind, left_out, wrong, direction, upper_halves };

// Does what the rule says, sets 8 bytes to zero, and at the highest level what is planted.
uint32_t do_it(const Places& p, const trv::Level& level, Fault fault) {
    const bool planted = level.name == trv::current_level().name;
    std::memset(p.destination, 0, fault == Fault::left_out && planted ? 7 : 8);
    if (!planted) return 0;
    if (fault == Fault::byte_in_front) ++p.destination[-1];
    if (fault == Fault::byte_behind) ++p.destination[8];
    if (fault == Fault::wrong) ++p.destination[3];
    if (fault == Fault::direction) __asm__ volatile("std");
    if (fault == Fault::upper_halves) __asm__ volatile("vpcmpeqb %ymm7, %ymm7, %ymm7");
    return 0;
}

bool finds(Fault fault) {
    test::Random random(test::seed());
    Places places;
    do places.choose(8, 8, random);
    while (places.window == places.destination || places.window_size < 8 + 65);
    const auto expect = [](uint8_t* out) { std::memset(out, 0, 8); };
    const auto call = [&](const trv::Level& level) { return do_it(places, level, fault); };
    return !geometry::check(places, expect, call);
}

TEST(Geometry, PlantedFaultsAreFound) {
    EXPECT_FALSE(finds(Fault::none));
    for (const Fault fault : {Fault::byte_in_front, Fault::byte_behind, Fault::left_out,
                              Fault::wrong, Fault::direction})
        EXPECT_TRUE(finds(fault)) << static_cast<int>(fault);
    if (sees_upper_halves() == 0) return;
    EXPECT_TRUE(finds(Fault::upper_halves));
}

// Emulated processors say which level they are there for.
TEST(Levels, TheBestIsTheExpectedOne) {
    const char* expected = std::getenv("TRVIL_EXPECTED_LEVEL");
    if (expected == nullptr) GTEST_SKIP() << "TRVIL_EXPECTED_LEVEL is not set";
    EXPECT_STREQ(trv::current_level().name, expected);
}

}  // namespace
