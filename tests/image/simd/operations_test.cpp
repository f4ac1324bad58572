// The vector operations, which the kernels are written in, do the same at every level.
#include "tests/harness.h"

namespace trv {
#define TRV_LEVEL_ROW(level)                     \
    namespace level {                            \
    const char* wrong_operation(const uint8_t*); \
    }
#include "image/simd/levels.inc"
}  // namespace trv

namespace {

TEST(Simd, OperationsEqualPlainLoopsAtEveryLevel) {
    const char* (*const levels[])(const uint8_t*) = {
#define TRV_LEVEL_ROW(level) trv::level::wrong_operation,
#include "image/simd/levels.inc"
    };
    test::Random random(test::seed());
    uint8_t samples[256];
    for (unsigned i = 0; i < test::rounds(2000); ++i) {
        for (uint8_t& byte : samples) {
            byte = static_cast<uint8_t>(random.bits());
            if (random.one_in(6)) byte = random.one_in(2) ? 0xFF : 0;
        }
        for (unsigned level = 0; level <= trv::best_level(); ++level) {
            const char* wrong = levels[level](samples);
            ASSERT_EQ(wrong, nullptr) << wrong << " at level " << trv::level_names[level];
        }
    }
}

}  // namespace
