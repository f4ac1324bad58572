// Pools and strips, with each call of the system failing once.
#include <cstring>

#include "tests/faults/scenario.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

namespace test {
namespace {

TRW_Pool* pool;

void end_pool() {
    if (pool != nullptr) TRW_PoolDestroy(&pool);
}

// The C library keeps the stacks of threads that have ended, with blocks of their own, for the next
// ones.
void keep_stacks() {
    TRW_PoolCreate(&pool, 4);
    end_pool();
}

uint32_t create(uint32_t threads) {
    const uint32_t status = TRW_PoolCreate(&pool, threads);
    return (pool == nullptr) == (status != TRV_STATUS_OK) ? status : output_is_wrong;
}

constexpr uint32_t width = 64, height = 48, line = width * 3 / 2;
uint8_t packed[line * height], picture[width * height * 3];
uint64_t source, destination;

// Nothing is written when the call fails.
uint32_t convert() {
    const uint32_t status = TRW_Convert(source, TRW_PACKING_12p, destination, nullptr, pool);
    bool untouched = true;
    for (const uint8_t byte : picture) untouched = untouched && byte == 0xA5;
    return untouched == (status != TRV_STATUS_OK) ? status : output_is_wrong;
}

void prepare() {
    std::memset(picture, 0xA5, sizeof picture);
    TBS_BufferWrap(&source, width, height, TBL_FORMAT(BAY8), packed, sizeof packed, line, nullptr,
                   nullptr);
    TBS_BufferWrap(&destination, width, height, TBL_FORMAT(BGR24), picture, sizeof picture, 0,
                   nullptr, nullptr);
}

void clean() {
    end_pool();
    TBS_BufferRelease(&destination);
    TBS_BufferRelease(&source);
}

void prepare_with_pool() {
    prepare();
    TRW_PoolCreate(&pool, 2);
}

TRW_Recipe* recipe;

// With every list that a recipe may have.
uint32_t create_recipe() {
    static const TRW_Defect defect{3, 3};
    TRW_DevelopSettings settings{};
    settings.size = sizeof settings;
    settings.method = TBL_BAYER_METHOD_AVE;
    settings.phase = TBL_BAYER_PHASE_A;
    settings.defects = &defect;
    settings.defect_count = 1;
    settings.curve = TRW_CURVE_SRGB;
    const char* why = nullptr;
    const uint32_t status = TRW_RecipeCreate(&recipe, source, TRW_PACKING_12p, &settings, &why);
    const bool is_right = (recipe == nullptr) == (status != TRV_STATUS_OK) &&
                          (why == nullptr) == (status == TRV_STATUS_OK);
    return is_right ? status : output_is_wrong;
}

void end_recipe() {
    if (recipe != nullptr) TRW_RecipeDestroy(&recipe);
    clean();
}

void prepare_recipe() {
    prepare();
    create_recipe();
}

const Scenario raw[] = {
    {"TRW_PoolCreate",
     FAULT_MEMORY,
     [] { return create(1); },
     {{"malloc", 14}},
     1,
     [] {},
     end_pool},
    {"threads of TRW_PoolCreate",
     FAULT_SYSTEM,
     [] { return create(4); },
     {{"pthread_create#1", 15}, {"pthread_create#2", 15}, {"pthread_create#3", 15}},
     1,
     keep_stacks,
     end_pool},
    {"TRW_RecipeCreate",
     FAULT_MEMORY,
     create_recipe,
     {{"malloc#1", 14},
      {"malloc#2", 14},
      {"malloc#3", 14},
      {"malloc#4", 14},
      {"malloc#5", 14},
      {"malloc#6", 14}},
     6,
     prepare,
     end_recipe},
    {"TRW_Develop",
     FAULT_MEMORY,
     [] {
         const uint32_t status = TRW_Develop(source, destination, recipe, nullptr);
         return (picture[0] == 0xA5) == (status != TRV_STATUS_OK) ? status : output_is_wrong;
     },
     {{"aligned_alloc", 14}},
     0,
     prepare_recipe,
     end_recipe},
    {"TRW_Convert", FAULT_MEMORY, convert, {{"aligned_alloc", 14}}, 0, prepare, clean},
    {"TRW_Convert with a pool",
     FAULT_MEMORY,
     convert,
     {{"aligned_alloc", 14}},
     1,  // which the pool keeps
     prepare_with_pool,
     clean},
};

INSTANTIATE_TEST_SUITE_P(Raw, EveryCall, testing::ValuesIn(raw), name_of);

// What the first call took is there for the next ones; a picture that needs more takes more.
TEST(PoolMemory, IsKeptForTheNextCall) {
    prepare_with_pool();
    EXPECT_EQ(convert(), TRV_STATUS_OK);
    FaultArm(1, FAULT_MEMORY);
    const uint32_t again = TRW_Convert(source, TRW_PACKING_12p, destination, nullptr, pool);
    const Fault none = FaultDisarm();
    EXPECT_EQ(again, TRV_STATUS_OK);
    EXPECT_EQ(none.call, nullptr);
    clean();

    prepare_with_pool();
    constexpr uint32_t narrow = 16;
    uint64_t part = 0;
    TBS_BufferWrap(&part, narrow, height, TBL_FORMAT(BAY8), packed, sizeof packed, line, nullptr,
                   nullptr);
    EXPECT_EQ(TRW_Convert(part, TRW_PACKING_12p, destination, nullptr, pool), TRV_STATUS_OK);
    std::memset(picture, 0xA5, sizeof picture);
    FaultArm(1, FAULT_MEMORY);
    const uint32_t refused = convert();
    const Fault fault = FaultDisarm();
    EXPECT_EQ(refused, TRV_STATUS_MEMORY);
    EXPECT_STREQ(fault.call, "aligned_alloc");
    EXPECT_EQ(fault.blocks, -1);  // the one that was too small
    EXPECT_EQ(convert(), TRV_STATUS_OK);
    TBS_BufferRelease(&part);
    clean();
}

}  // namespace
}  // namespace test
