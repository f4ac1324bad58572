// What needs memory and what writes files, with each call failing once.
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/scenario.h"
#include "trvil/tbl.h"
#include "trvil/til.h"

namespace test {
namespace {

namespace fs = std::filesystem;

// ---- Buffers ----

uint64_t handle;
uint8_t memory[4096];

uint32_t stays_zero_unless_ok(uint32_t status) {
    return (handle == 0) == (status != TRV_STATUS_OK) ? status : output_is_wrong;
}

// Live buffers until the next one needs memory: slots come in chunks, which stay.
void fill_table() {
    for (uint32_t status = 0; status == TRV_STATUS_OK;) {
        FaultArm(1, FAULT_MEMORY);
        status = TBS_BufferWrap(&handle, 1, 1, TBL_FORMAT(Mono8), memory, 1, 0, nullptr, nullptr);
        FaultDisarm();
    }
    handle = 0;
}

const Scenario companion[] = {
    {"TBS_BufferWrap, table full",
     FAULT_MEMORY,
     [] {
         return stays_zero_unless_ok(
             TBS_BufferWrap(&handle, 8, 8, TBL_FORMAT(Mono8), memory, 64, 0, nullptr, nullptr));
     },
     {{"calloc", 14}},
     1,
     fill_table},
    {"TBS_BufferCreate",
     FAULT_MEMORY,
     [] { return stays_zero_unless_ok(TBS_BufferCreate(&handle, 8, 8, TBL_FORMAT(Mono8))); },
     {{"aligned_alloc", 14}, {"calloc", 14}},
     2,
     fill_table,
     [] { TBS_BufferRelease(&handle); }},
};

// ---- Files ----

// A file in memory: a disk that others use would make thousands of small files slow.
const int file = memfd_create("trvil", 0);
const std::string file_name = "/proc/self/fd/" + std::to_string(file);

const char* path() {
    return file_name.c_str();
}

void new_picture(uint32_t format, uint32_t width) {
    handle = 0;
    EXPECT_EQ(TBS_BufferCreate(&handle, width, 64, format), 0u);
}

template <uint32_t Format, uint32_t Width>
void prepare_picture() {
    new_picture(Format, Width);
}

void forget_picture() {
    TBS_BufferRelease(&handle);
}

uint32_t write_raw() {
    return TIL_FileWrite(handle, path(), TIL_FILE_RAW);
}

uint8_t whole_file[16384], this_file[16384];

// Without a call that allocates.
ssize_t read_file(uint8_t* to) {
    return pread(file, to, sizeof whole_file, 0);
}

// A success is the same file that no fault disturbed.
uint32_t write_tiff() {
    const uint32_t status = TIL_FileWrite(handle, path(), TIL_FILE_TIFF);
    if (status != TRV_STATUS_OK) return status;
    const ssize_t size = read_file(this_file);
    const ssize_t whole = static_cast<ssize_t>(sizeof whole_file);
    return size > 0 && size < whole && memcmp(this_file, whole_file, sizeof this_file) == 0
               ? status
               : output_is_wrong;
}

template <uint32_t Format, uint32_t Width>
void prepare_tiff() {
    new_picture(Format, Width);
    EXPECT_EQ(TIL_FileWrite(handle, path(), TIL_FILE_TIFF), 0u);
    memset(whole_file, 0, sizeof whole_file);
    memset(this_file, 0, sizeof this_file);
    EXPECT_GT(read_file(whole_file), 0);
}

// The stream's own block is allocated by fopen and freed by fclose; without a buffer it writes byte
// by byte. What fails once is done once more; a lost position leaves the stream open with its
// buffer.
const std::vector<Outcome> tiff_outcomes = {{"fopen", 5},   {"malloc#1", 5},    {"malloc", 0},
                                            {"write", 0},   {"ftell", 8, 2, 1}, {"fseek", 0},
                                            {"fclose", 17}, {"__overflow", 0}};

const Scenario files[] = {
    {"raw",
     FAULT_MEMORY | FAULT_FILES,
     write_raw,
     {{"fopen", 5}, {"malloc#1", 5}, {"malloc", 0}, {"fwrite", 15}, {"fclose", 17}},
     0,
     prepare_picture<TBL_FORMAT(Mono8), 64>,
     forget_picture},
    {"TIFF, grey", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_tiff<TBL_FORMAT(Mono8), 70>, forget_picture},
    {"TIFF, 16 bits", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_tiff<TBL_FORMAT(Mono16), 35>, forget_picture},
    {"TIFF, colour", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_tiff<TBL_FORMAT(BGR24), 30>, forget_picture},
};

INSTANTIATE_TEST_SUITE_P(Companion, EveryCall, testing::ValuesIn(companion), name_of);
INSTANTIATE_TEST_SUITE_P(Files, EveryCall, testing::ValuesIn(files), name_of);

// Products that are 0 in 32 bits, of memory that is never touched.
TEST(FourGibibytes, AreCountedWhole) {
    uint64_t tiny = 0;
    for (const uint32_t format : {TBL_FORMAT(Mono8), TBL_FORMAT(BAY8)}) {
        ASSERT_EQ(TBS_BufferWrap(&handle, 0x10000, 0x10000, format, memory, ~uint64_t{0}, 0,
                                 nullptr, nullptr),
                  0u);
        for (const uint32_t to : {TBL_FORMAT(BGR24), TBL_FORMAT(BGRX32), TBL_FORMAT(RGB16)}) {
            ASSERT_EQ(TBS_BufferWrap(&tiny, 1, 1, to, memory, sizeof memory, 0, nullptr, nullptr),
                      0u);
            EXPECT_EQ(TIL_Convert(handle, tiny), 8u);
            for (uint32_t method = 0; method < 4; ++method)
                EXPECT_EQ(TIL_FieldToFrame(handle, tiny, method, 0), 8u);
            TBS_BufferRelease(&tiny);
        }
        EXPECT_EQ(TIL_FileWrite(handle, path(), TIL_FILE_RAW), 15u);
        EXPECT_EQ(fs::file_size(path()), 0u);
        TBS_BufferRelease(&handle);
    }
}

}  // namespace
}  // namespace test
