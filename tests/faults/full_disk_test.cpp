// Files that do not reach the disk whole, for good or for a moment, at sizes around those of a
// page, of the block that pixels are collected in, and of several of them.
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/harness.h"
#include "trvil/status.h"
#include "trvil/til.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t page = 4096, block = 192 * 1024, mebibyte = 1024 * 1024;
constexpr uint32_t formats[] = {TBL_FORMAT(Mono8), TBL_FORMAT(Mono16), TBL_FORMAT(BGR24),
                                TBL_FORMAT(RGB24)};

uint32_t pixel_bytes(uint32_t format) {
    return trv::find_whole_format(format)->stored / 8;
}

uint32_t head_bytes(uint32_t format) {
    return pixel_bytes(format) == 3 ? 204 : 186;
}

// One line of pixels of noise.
class Line {
  public:
    Line(uint32_t format, uint32_t width) : memory_(size_t{width} * pixel_bytes(format)) {
        Random random(seed());
        for (uint8_t& byte : memory_) byte = static_cast<uint8_t>(random.bits());
        buffer_ = Buffer::wrap(std::span(memory_), width, 1, trvil::Format{format});
    }

    uint32_t write(uint32_t type, const std::string& path) const {
        return TIL_FileWrite(buffer_.handle(), path.c_str(), type);
    }

  private:
    std::vector<uint8_t> memory_;
    Buffer buffer_;
};

std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// In memory: a disk that others use would make thousands of files slow.
const std::string& path() {
    static const std::string name =
        "/proc/self/fd/" + std::to_string(memfd_create("trvil-disk", 0));
    return name;
}

// Widths whose pixels, or whose TIFF files, are one pixel less than, as long as, and one pixel more
// than `bytes`.
std::vector<uint32_t> widths_around(uint32_t bytes, uint32_t format) {
    const uint32_t pixels = bytes / pixel_bytes(format);
    const uint32_t file = (bytes - head_bytes(format)) / pixel_bytes(format);
    return {pixels - 1, pixels, pixels + 1, file - 1, file, file + 1};
}

template <typename Check>
void for_each_line(const Check& check) {
    for (const uint32_t bytes : {page, block, mebibyte})
        for (const uint32_t format : formats)
            for (const uint32_t width : widths_around(bytes, format)) {
                SCOPED_TRACE(testing::Message() << std::hex << format << std::dec << " " << width);
                check(Line(format, width));
                if (testing::Test::HasFatalFailure()) return;
            }
}

class SizeLimit {
  public:
    explicit SizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

  private:
    rlimit before_{};
};

uint32_t write_limited(const Line& line, uint32_t type, size_t limit) {
    const SizeLimit here(limit);
    return line.write(type, path());
}

void expect_truth(const Line& line, uint32_t type, size_t whole, size_t limit) {
    const uint32_t status = write_limited(line, type, limit);
    const bool short_write = type == TIL_FILE_RAW && status == TRV_STATUS_SYSTEM;
    const uint32_t too_little = short_write ? TRV_STATUS_SYSTEM : TRV_STATUS_FILE_CLOSE;
    ASSERT_EQ(status, limit < whole ? too_little : TRV_STATUS_OK) << limit << " of " << whole;
    ASSERT_EQ(fs::file_size(path()), std::min(limit, whole)) << limit << " of " << whole;
}

class FullDisk : public testing::Test {
  protected:
    void SetUp() override { signal(SIGXFSZ, SIG_IGN); }
    void TearDown() override { signal(SIGXFSZ, SIG_DFL); }
};

TEST_F(FullDisk, IsNeverASuccess) {
    for_each_line([](const Line& line) {
        ASSERT_EQ(line.write(TIL_FILE_TIFF, "/dev/full"), 17u);
        const uint32_t raw = line.write(TIL_FILE_RAW, "/dev/full");
        ASSERT_TRUE(raw == 15 || raw == 17) << raw;
    });
}

TEST_F(FullDisk, IsNeverASuccessAtAnyLimitInTheLastPage) {
    Random random(seed());
    unsigned count = 0;
    for_each_line([&](const Line& line) {
        // Every limit for a small file of each format, and for one of each larger size.
        const bool all = count < 24 ? count % 6 == 1 : count % 24 == 13;
        ++count;
        for (const uint32_t type : {TIL_FILE_TIFF, TIL_FILE_RAW}) {
            ASSERT_EQ(line.write(type, path()), 0u);
            const std::string file = read(path());
            const size_t whole = file.size();
            for (size_t left = 0; left <= std::min<size_t>(page, whole);
                 left += all && type == TIL_FILE_TIFF ? 1 : 97)
                ASSERT_NO_FATAL_FAILURE(expect_truth(line, type, whole, whole - left));
            for (unsigned i = 0; i < 20; ++i)
                ASSERT_NO_FATAL_FAILURE(
                    expect_truth(line, type, whole, random.below(static_cast<uint32_t>(whole))));
            ASSERT_NO_FATAL_FAILURE(expect_truth(line, type, whole, whole + 1));
            ASSERT_EQ(read(path()), file);
        }
    });
}

// The first write beyond the limit fails and lifts it.
TEST_F(FullDisk, ThatHasRoomAMomentLaterLosesNoByte) {
    signal(SIGXFSZ, [](int) {
        const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &none);
    });
    Random random(seed());
    for_each_line([&](const Line& line) {
        ASSERT_EQ(line.write(TIL_FILE_TIFF, path()), 0u);
        const std::string file = read(path());
        const auto expect_whole = [&](size_t limit) {
            ASSERT_EQ(write_limited(line, TIL_FILE_TIFF, limit), 0u) << limit;
            ASSERT_TRUE(read(path()) == file) << limit;
        };
        const size_t step = file.size() < block ? 1 : 37;
        for (size_t limit = 0; limit < 256; limit += step)
            ASSERT_NO_FATAL_FAILURE(expect_whole(limit));
        for (unsigned i = 0; i < 20; ++i)
            ASSERT_NO_FATAL_FAILURE(expect_whole(random.below(static_cast<uint32_t>(file.size()))));
        for (size_t left = 0; left < 3; ++left)
            ASSERT_NO_FATAL_FAILURE(expect_whole(file.size() - left));
        // Raw files have one write, which is not repeated.
        const uint32_t raw = write_limited(line, TIL_FILE_RAW, file.size() / 2);
        ASSERT_TRUE(raw == 15 || raw == 17) << raw;
    });
}

// ---- A small file system ----

constexpr const char* not_permitted = "this process may not mount a file system of its own";

// Mounts for this thread alone, gone with it.
const char* mount_small(const std::string& folder) {
    if (unshare(CLONE_NEWNS) != 0) return not_permitted;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return not_permitted;
    return mount("none", folder.c_str(), "tmpfs", 0, "size=2m") == 0 ? nullptr : not_permitted;
}

// Leaves so many pages of the file system free.
void fill_but(const std::string& name, size_t pages) {
    std::ofstream out(name, std::ios::binary);
    out << std::string(2 * mebibyte - pages * page, 'x');
}

void write_into_what_is_left(const std::string& folder) {
    Random random(seed());
    for_each_line([&](const Line& line) {
        const std::string name = folder + "/picture", filler = folder + "/filler";
        ASSERT_EQ(line.write(TIL_FILE_TIFF, name), 0u);
        const std::string file = read(name);
        const size_t needed = (file.size() + page - 1) / page;
        for (const size_t pages : {size_t{0}, size_t{1}, needed - 1, needed, needed + 1,
                                   size_t{random.below(static_cast<uint32_t>(needed))}}) {
            fs::remove(name);
            fill_but(filler, pages);
            ASSERT_EQ(line.write(TIL_FILE_TIFF, name), pages < needed ? 17u : 0u)
                << pages << " pages of " << needed;
            if (pages >= needed) {
                ASSERT_TRUE(read(name) == file);
            }
            fs::remove(filler);
        }
    });
}

TEST_F(FullDisk, IsNeverASuccessOnAFileSystemThatIsFull) {
    char folder[] = "/tmp/trvil-full-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const char* refused = nullptr;
    std::thread([&] {
        refused = mount_small(folder);
        if (refused == nullptr) write_into_what_is_left(folder);
    }).join();
    fs::remove_all(folder);
    if (refused != nullptr) GTEST_SKIP() << refused;
}

}  // namespace
}  // namespace test
