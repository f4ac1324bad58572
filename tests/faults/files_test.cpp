// What needs memory and what writes files, with each call failing once, and with too little room on
// the disk.
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
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
const std::string file_name = "/proc/self/fd/" + std::to_string(memfd_create("trvil", 0));

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
uint32_t write_tiff() {
    return TIL_FileWrite(handle, path(), TIL_FILE_TIFF);
}

// The stream's own block is allocated by fopen and freed by fclose; without a buffer it writes byte
// by byte. Single writes and seeks are, deliberately, not looked at; a lost position leaves the
// stream open with its buffer.
const std::vector<Outcome> tiff_outcomes = {{"fopen", 5},       {"malloc#1", 5}, {"malloc", 0},
                                            {"ftell", 8, 2, 1}, {"fseek", 0},    {"__overflow", 0},
                                            {"fwrite", 0},      {"fflush", 0},   {"fclose", 17}};

const Scenario files[] = {
    {"raw",
     FAULT_MEMORY | FAULT_FILES,
     write_raw,
     {{"fopen", 5}, {"malloc#1", 5}, {"malloc", 0}, {"fwrite", 15}, {"fclose", 17}},
     0,
     prepare_picture<TBL_FORMAT(Mono8), 64>,
     forget_picture},
    {"TIFF, grey", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_picture<TBL_FORMAT(Mono8), 70>, forget_picture},
    {"TIFF, 16 bits", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_picture<TBL_FORMAT(Mono16), 35>, forget_picture},
    {"TIFF, colour", FAULT_MEMORY | FAULT_FILES, write_tiff, tiff_outcomes, 0,
     prepare_picture<TBL_FORMAT(BGR24), 30>, forget_picture},
};

INSTANTIATE_TEST_SUITE_P(Companion, EveryCall, testing::ValuesIn(companion), name_of);
INSTANTIATE_TEST_SUITE_P(Files, EveryCall, testing::ValuesIn(files), name_of);

class SizeLimit {
  public:
    explicit SizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

  private:
    rlimit before_{};
};

// A full disk, at every byte of the file.
TEST(FullDisk, IsNeverASuccess) {
    for (const auto write : {write_raw, write_tiff}) {
        new_picture(TBL_FORMAT(BGR24), 21);
        ASSERT_EQ(write(), 0u);
        const uintmax_t whole = fs::file_size(path());
        for (uintmax_t room = 0; room <= whole; ++room) {
            const SizeLimit limit(room);
            const uint32_t status = write();
            const uint32_t too_little = write == write_raw && status == 15 ? 15 : 17;
            ASSERT_EQ(status, room < whole ? too_little : 0u) << room << " of " << whole;
            ASSERT_EQ(fs::file_size(path()) == whole, room == whole);
        }
        forget_picture();
    }
}

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
