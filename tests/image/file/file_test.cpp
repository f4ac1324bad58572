// Raw and TIFF files, byte for byte, and every way in which writing them fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "image/file/tiff_pixels.h"
#include "tests/image/exports/fake_buffers.h"
#include "trvil/til.h"

namespace {

using Bytes = std::vector<uint8_t>;
using test::fake;
using test::source_handle;

class File : public ::testing::Test {
  protected:
    void SetUp() override {
        fake() = {};
        char name[] = "/tmp/trvil-file-XXXXXX";
        folder_ = mkdtemp(name);
        path_ = folder_ + "/picture";
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void set_source(uint32_t format, const Bytes& memory, uint32_t width, uint32_t height,
                    uint32_t stride) {
        fake().set_picture(source_handle, format, memory.data(), width, height, stride);
    }
    uint32_t write(uint32_t type) const {
        return TIL_FileWrite(source_handle, path_.c_str(), type);
    }
    static Bytes read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    Bytes written() const { return read(path_); }
    bool exists() const { return std::filesystem::exists(path_); }

    std::string folder_, path_;
};

size_t open_files() {
    const std::filesystem::directory_iterator list("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(list), end(list)));
}

uint32_t big32(const Bytes& file, size_t at) {
    return static_cast<uint32_t>(file[at] << 24 | file[at + 1] << 16 | file[at + 2] << 8 |
                                 file[at + 3]);
}

TEST_F(File, RawIsTheMemoryImageWithItsPadding) {
    const Bytes memory = {1, 2, 3, 9, 4, 5, 6, 9};
    set_source(TBL_FORMAT(Mono8), memory, 3, 2, 4);
    std::ofstream(path_) << "a longer file that was here before";
    EXPECT_EQ(write(TIL_FILE_RAW), 0u);
    EXPECT_EQ(written(), memory);
    const std::vector<test::Query> order = {
        {source_handle, 11}, {source_handle, 3}, {source_handle, 2}, {source_handle, 4}};
    EXPECT_EQ(fake().asked, order);
    set_source(TBL_FORMAT(Mono8), memory, 3, 0, 4);
    EXPECT_EQ(write(TIL_FILE_RAW), 0u);
    EXPECT_TRUE(written().empty());
}

TEST_F(File, AGoodRawWriteReturnsTheAnswerToTheStrideQuery) {
    const Bytes memory(16);
    set_source(TBL_FORMAT(Mono8), memory, 4, 4, 4);
    fake().answer = 41;
    EXPECT_EQ(write(TIL_FILE_RAW), 41u);
    EXPECT_EQ(written(), memory);
}

TEST_F(File, RefusalsTouchNoFile) {
    const Bytes memory(16);
    for (const uint32_t type : {0u, 1u, 4u}) {
        set_source(TBL_FORMAT(Mono8), memory, 4, 4, 4);
        EXPECT_EQ(write(type), 10u);
        fake() = {};
        EXPECT_EQ(write(type), 8u);
    }
    fake().set(source_handle, 11, 1);
    EXPECT_EQ(write(TIL_FILE_RAW), 8u);   // no address
    EXPECT_EQ(write(TIL_FILE_TIFF), 8u);  // no format
    EXPECT_FALSE(exists());
}

TEST_F(File, OpenFailuresOfAnyPathLengthReturn) {
    const Bytes memory(16);
    set_source(TBL_FORMAT(Mono8), memory, 4, 4, 4);
    for (const std::string& name :
         {folder_ + "/missing/file", folder_ + "/" + std::string(3000, 'x')}) {
        EXPECT_EQ(TIL_FileWrite(source_handle, name.c_str(), TIL_FILE_RAW), 5u);
        EXPECT_EQ(TIL_FileWriteTiff(source_handle, name.c_str()), 5u);
    }
}

TEST_F(File, ShortWritesAndFailingClosesAreToldApart) {
    const Bytes memory(100000);
    set_source(TBL_FORMAT(Mono8), memory, 10, 10, 10);
    EXPECT_EQ(TIL_FileWrite(source_handle, "/dev/full", TIL_FILE_RAW), 17u);
    EXPECT_EQ(TIL_FileWriteTiff(source_handle, "/dev/full"), 17u);
    set_source(TBL_FORMAT(Mono8), memory, 100, 1000, 100);
    EXPECT_EQ(TIL_FileWrite(source_handle, "/dev/full", TIL_FILE_RAW), 15u);
    // With the small room, since another writer has the large one.
    const trv::tiff::Room taken;
    for (const uint32_t width : {12287u, 12288u, 12289u, 99999u}) {
        set_source(TBL_FORMAT(Mono8), memory, width, 1, width);
        EXPECT_EQ(TIL_FileWriteTiff(source_handle, "/dev/full"), 17u) << width;
        EXPECT_EQ(TIL_FileWriteTiff(source_handle, path_.c_str()), 0u);
        EXPECT_EQ(std::filesystem::file_size(path_), 186 + width);
    }
}

TEST_F(File, FourGigabytesAreAShortWrite) {
    const Bytes memory(16);
    set_source(TBL_FORMAT(Mono8), memory, 4, 0x10000, 0x10000);
    const size_t before = open_files();
    EXPECT_EQ(write(TIL_FILE_RAW), 15u);
    EXPECT_EQ(open_files(), before);
    EXPECT_TRUE(exists() && written().empty());
}

TEST_F(File, AGreyTiffIsExact) {
    const Bytes memory = {1, 2, 3, 99, 4, 5, 6};
    set_source(TBL_FORMAT(Mono8), memory, 3, 2, 4);
    EXPECT_EQ(write(TIL_FILE_TIFF), 0u);
    const Bytes expected = {
        0x4D, 0x4D, 0, 42, 0, 0, 0, 8, 0, 13,                      //
        0,    254,  0, 4,  0, 0, 0, 1, 0, 0,  0, 0,                // NewSubfileType
        1,    0,    0, 3,  0, 0, 0, 1, 0, 3,  0, 0,                // ImageWidth 3
        1,    1,    0, 3,  0, 0, 0, 1, 0, 2,  0, 0,                // ImageLength 2
        1,    2,    0, 3,  0, 0, 0, 1, 0, 8,  0, 0,                // BitsPerSample 8
        1,    3,    0, 3,  0, 0, 0, 1, 0, 1,  0, 0,                // Compression
        1,    6,    0, 3,  0, 0, 0, 1, 0, 1,  0, 0,                // PhotometricInterpretation
        1,    17,   0, 4,  0, 0, 0, 1, 0, 0,  0, 186,              // StripOffsets
        1,    21,   0, 3,  0, 0, 0, 1, 0, 1,  0, 0,                // SamplesPerPixel
        1,    22,   0, 4,  0, 0, 0, 1, 0, 0,  0, 2,                // RowsPerStrip
        1,    23,   0, 4,  0, 0, 0, 1, 0, 0,  0, 6,                // StripByteCounts
        1,    26,   0, 5,  0, 0, 0, 1, 0, 0,  0, 170,              // XResolution
        1,    27,   0, 5,  0, 0, 0, 1, 0, 0,  0, 178,              // YResolution
        1,    40,   0, 3,  0, 0, 0, 1, 0, 1,  0, 0,                // ResolutionUnit
        0,    0,    0, 0,                                          // no further directory
        0,    0,    1, 44, 0, 0, 0, 1, 0, 0,  1, 44,  0, 0, 0, 1,  // 300/1 twice
        1,    2,    3, 4,  5, 6};
    EXPECT_EQ(written(), expected);
}

TEST_F(File, AColourTiffHasItsBitsApartAndItsPixelsReversed) {
    const Bytes memory = {10, 20, 30, 99, 40, 50, 60};
    Bytes files[2];
    for (int i = 0; i < 2; ++i) {
        // Deliberate: RGB24 goes the way of BGR24, red and blue exchanged.
        set_source(i == 0 ? TBL_FORMAT(BGR24) : TBL_FORMAT(RGB24), memory, 1, 2, 4);
        EXPECT_EQ(write(TIL_FILE_TIFF), 0u);
        files[i] = written();
    }
    EXPECT_EQ(files[0], files[1]);
    const Bytes& file = files[0];
    ASSERT_EQ(file.size(), 210u);
    EXPECT_EQ(Bytes(file.begin() + 8, file.begin() + 10), (Bytes{0, 14}));
    EXPECT_EQ(Bytes(file.begin() + 46, file.begin() + 58),
              (Bytes{1, 2, 0, 3, 0, 0, 0, 3, 0, 0, 0, 182}));
    EXPECT_EQ(
        Bytes(file.begin() + 154, file.begin() + 182),  // PlanarConfiguration, ResolutionUnit, 0
        (Bytes{1, 28, 0, 3, 0, 0, 0, 1, 0, 1, 0, 0, 1, 40,
               0, 3,  0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Bytes(file.begin() + 182, file.begin() + 188), (Bytes{0, 8, 0, 8, 0, 8}));
    EXPECT_EQ(big32(file, 90), 204u);   // StripOffsets
    EXPECT_EQ(big32(file, 126), 6u);    // StripByteCounts
    EXPECT_EQ(big32(file, 138), 188u);  // XResolution
    EXPECT_EQ(big32(file, 150), 196u);  // YResolution
    EXPECT_EQ(Bytes(file.begin() + 204, file.end()), (Bytes{30, 20, 10, 60, 50, 40}));
}

// One writer has the large room for its pixels, the others meanwhile have small ones.
TEST_F(File, WritersAtTheSameTimeWriteTheSameTiff) {
    constexpr uint32_t width = 401, height = 333;
    Bytes memory(size_t{width} * height * 3), pixels(memory.size());
    for (size_t i = 0; i < memory.size(); ++i)
        memory[i] = static_cast<uint8_t>(i * 2654435761u >> 9);
    for (size_t i = 0; i < memory.size(); ++i) pixels[i] = memory[i / 3 * 3 + 2 - i % 3];
    set_source(TBL_FORMAT(BGR24), memory, width, height, width * 3);
    const auto write_some = [&](const std::string& path) {
        for (int round = 0; round < 10; ++round) {
            EXPECT_EQ(TIL_FileWriteTiff(source_handle, path.c_str()), 0u);
            const Bytes file = read(path);
            EXPECT_EQ(Bytes(file.begin() + 204, file.end()), pixels);
        }
    };
    std::thread other(write_some, path_ + "2"), third(write_some, path_ + "3");
    write_some(path_);
    other.join();
    third.join();
}

TEST_F(File, SixteenBitTiffsAreBigEndianAndUnderstateTheirStrip) {
    const Bytes memory = {0x34, 0x12, 0xCD, 0xAB, 99, 0x78, 0x56, 0x01, 0x00};
    set_source(TBL_FORMAT(Mono16), memory, 2, 2, 5);  // the odd byte of the stride is lost
    EXPECT_EQ(write(TIL_FILE_TIFF), 0u);
    const Bytes file = written();
    EXPECT_EQ(Bytes(file.begin() + 186, file.end()),
              (Bytes{0x12, 0x34, 0xAB, 0xCD, 0x78, 99, 0x01, 0x56}));
    EXPECT_EQ(big32(file, 126), 4u);
}

TEST_F(File, SidesAbove65535LoseTheirHighBitsButNotTheRows) {
    const Bytes memory(65538);
    set_source(TBL_FORMAT(Mono8), memory, 1, 65538, 1);
    EXPECT_EQ(write(TIL_FILE_TIFF), 0u);
    const Bytes file = written();
    EXPECT_EQ(Bytes(file.begin() + 42, file.begin() + 44), (Bytes{0, 2}));
    EXPECT_EQ(big32(file, 114), 65538u);
    EXPECT_EQ(file.size(), 186u + 65538u);
}

TEST_F(File, OtherFormatsLeaveAnOpenStreamWithTheHeader) {
    const Bytes memory(64);
    set_source(TBL_FORMAT(Mono32), memory, 2, 2, 8);
    const size_t before = open_files();
    EXPECT_EQ(write(TIL_FILE_TIFF), 12u);
    EXPECT_EQ(open_files(), before + 1);
    EXPECT_TRUE(exists() && written().empty());
    fflush(nullptr);
    EXPECT_EQ(written(), (Bytes{0x4D, 0x4D, 0, 42, 0, 0, 0, 8}));
    // Whole codes count here, not their low byte.
    set_source(0x11, memory, 2, 2, 8);
    EXPECT_EQ(write(TIL_FILE_TIFF), 12u);
}

TEST_F(File, AStreamWithoutAPositionIsRefusedAndLeftOpen) {
    const Bytes memory(64);
    set_source(TBL_FORMAT(BGR24), memory, 2, 2, 8);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const size_t before = open_files();
    EXPECT_EQ(TIL_FileWriteTiff(source_handle, ("/dev/fd/" + std::to_string(ends[1])).c_str()), 8u);
    EXPECT_EQ(open_files(), before + 1);
    // The pipe stays open: the stream that was left behind is flushed into it when the test ends.
}

TEST_F(File, ByteWritersKnowBothOrdersAndReturnTheLastByte) {
    FILE* stream = fopen(path_.c_str(), "wb");
    EXPECT_EQ(TIL_fput_ui8(stream, 0x1FF), 0xFFu);
    EXPECT_EQ(TIL_fput_ui16m(stream, 0x11223344), 0x44u);
    EXPECT_EQ(TIL_fput_ui16i(stream, 0x11223344), 0x33u);
    EXPECT_EQ(TIL_fput_ui32m(stream, 0x11223344), 0x44u);
    EXPECT_EQ(TIL_fput_ui32i(stream, 0x11223344), 0x11u);
    fclose(stream);
    EXPECT_EQ(written(), (Bytes{0xFF, 0x33, 0x44, 0x44, 0x33, 0x11, 0x22, 0x33, 0x44, 0x44, 0x33,
                                0x22, 0x11}));
    FILE* closed_to_writing = fopen(path_.c_str(), "rb");
    EXPECT_EQ(TIL_fput_ui16m(closed_to_writing, 1), 0xFFFFFFFFu);
    fclose(closed_to_writing);
}

}  // namespace
