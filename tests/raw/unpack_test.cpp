// Every packing at every level against the reference and against examples of its documents.
#include "tests/reference/unpack.h"
#include "raw/unpack/decision.h"
#include "raw/unpack/unpack.h"
#include "tests/harness.h"
#include "tests/image/exports/fake_buffers.h"
#include "trvil/raw.h"

namespace {

using test::destination_handle;
using test::fake;
using test::Guarded;
using test::Random;
using test::source_handle;
using trv::raw::Packing;
using trv::raw::packings;

// The first format that a packing's samples go to.
const trv::Format& target_of(const Packing& packing) {
    for (const trv::Format& format : trv::formats)
        if (trv::raw::goes_to(packing, static_cast<uint32_t>(format.code))) return format;
    std::abort();
}

uint64_t line_bytes(uint32_t packing, uint32_t first, uint32_t width) {
    TRW_PackingInfo info{};
    info.size = sizeof info;
    EXPECT_EQ(TRW_PackingInfoGet(packing, first, width, &info), TRV_STATUS_OK);
    return info.line_bytes;
}

struct Shape {
    uint32_t width, height, first, source_stride, destination_stride;
};

std::string describe(const Packing& packing, const Shape& s, unsigned level) {
    return std::string(packing.name) + " level " + trv::raw::levels[level].name + " " +
           std::to_string(s.width) + "x" + std::to_string(s.height) + " first " +
           std::to_string(s.first) + " strides " + std::to_string(s.source_stride) + ", " +
           std::to_string(s.destination_stride);
}

// A source and a destination of exactly the bytes that they need, each against a guard page.
class Pictures {
  public:
    Pictures(const Packing& packing, const Shape& shape, Random& random)
        : packing_(packing),
          shape_(shape),
          source_(size_t{shape.source_stride} * (shape.height - 1) +
                      line_bytes(packing.code, shape.first, shape.width),
                  test::any_side(random)),
          destination_(target_of(packing), shape.width, shape.height, shape.destination_stride, 0,
                       test::any_side(random)) {
        for (size_t i = 0; i < source_.size(); ++i)
            source_.data()[i] = static_cast<uint8_t>(random.bits());
        destination_.fill(random);
        background_ = destination_.bytes();
        fake() = {};
        fake().set_picture(source_handle, 0, source_.data(), shape.width, shape.height,
                           shape.source_stride);
        fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, shape.first);
        fake().set_picture(destination_handle, whole_code(target_of(packing)),
                           destination_.memory.data(), 0, shape.height, shape.destination_stride);
    }

    ::testing::AssertionResult unpacks(unsigned level) {
        destination_.put(background_);
        const uint32_t status = trv::raw::unpack(trv::raw::levels[level], source_handle,
                                                 packing_.code, destination_handle);
        if (status != TRV_STATUS_OK) return ::testing::AssertionFailure() << "status " << status;
        return test::same_bytes(destination_, expected());
    }
    std::vector<uint8_t> expected() const {
        std::vector<uint8_t> bytes = background_;
        for (uint32_t y = 0; y < shape_.height; ++y)
            for (uint32_t x = 0; x < shape_.width; ++x) {
                const uint8_t* line = source_.data() + size_t{y} * shape_.source_stride;
                const uint32_t v = reference::unpacked(packing_.name, line, shape_.first, x);
                uint8_t* at = bytes.data() + size_t{y} * shape_.destination_stride + 2 * x;
                at[0] = static_cast<uint8_t>(v);
                at[1] = static_cast<uint8_t>(v >> 8);
            }
        return bytes;
    }
    uint8_t* source() const { return source_.data(); }
    std::vector<uint8_t> destination() const { return destination_.bytes(); }

  private:
    const Packing& packing_;
    Shape shape_;
    Guarded source_;
    test::Picture destination_;
    std::vector<uint8_t> background_;
};

std::vector<unsigned> levels() {
    std::vector<unsigned> list;
    for (unsigned i = 0; i <= trv::raw::best_level(); ++i) list.push_back(i);
    return list;
}

void compare(const Packing& packing, const Shape& shape, Random& random) {
    Pictures pictures(packing, shape, random);
    for (const unsigned level : levels())
        ASSERT_TRUE(pictures.unpacks(level)) << describe(packing, shape, level);
}

Shape any_shape(const Packing& packing, uint32_t width, Random& random) {
    Shape s{width, random.between(1, 4), 0, 0, 0};
    if (packing.target == trv::raw::Target::words && random.one_in(2))
        s.first = random.below(packing.group);
    s.source_stride = test::any_stride(random, line_bytes(packing.code, s.first, width));
    s.destination_stride = test::any_stride(random, 2 * uint64_t{width});
    return s;
}

TEST(Unpack, RunsAtTheExpectedLevel) {
    const char* expected = std::getenv("TRVIL_EXPECTED_LEVEL");
    if (expected == nullptr) GTEST_SKIP() << "TRVIL_EXPECTED_LEVEL is not set";
    EXPECT_STREQ(trv::raw::levels[trv::raw::best_level()].name, expected);
}

TEST(Unpack, EveryPackingAtEveryWidth) {
    Random random(test::seed());
    for (const Packing& packing : packings) {
        for (unsigned round = 0; round < test::rounds(2); ++round)
            for (uint32_t width = 1; width <= 130; ++width)
                compare(packing, any_shape(packing, width, random), random);
        for (const uint32_t width : {255u, 256u, 1920u, 1999u, 4096u, 4099u})
            compare(packing, any_shape(packing, width, random), random);
        if (HasFatalFailure()) return;
    }
}

// Every place in a group that a line may begin at, with ends at every place.
TEST(Unpack, EveryPackingOffset) {
    Random random(test::seed());
    for (const Packing& packing : packings) {
        if (packing.target != trv::raw::Target::words) continue;
        for (uint32_t first = 0; first < packing.group; ++first)
            for (uint32_t more = 0; more < packing.group; ++more)
                for (const uint32_t width :
                     {1 + more, 64 + more, (first == 0 ? 410 : 150) + more}) {
                    Shape s{width, 2, first, 0, 2 * width + 3};
                    s.source_stride = static_cast<uint32_t>(line_bytes(packing.code, first, width));
                    compare(packing, s, random);
                }
        if (HasFatalFailure()) return;
    }
}

// Pictures without padding are one long line; with groups that end inside a line they are not.
TEST(Unpack, PicturesWithoutPadding) {
    Random random(test::seed());
    for (const Packing& packing : packings)
        for (const uint32_t width : {100u, 101u, 300u, 1000u}) {
            const auto stride = static_cast<uint32_t>(line_bytes(packing.code, 0, width));
            compare(packing, {width, 7, 0, stride, 2 * width}, random);
        }
}

// No byte in front of the last one that line_bytes counts is beyond the line: it changes a pixel.
TEST(Unpack, LineBytesEndAtABitOfTheLastPixels) {
    Random random(test::seed());
    for (const Packing& packing : packings)
        for (uint32_t width = 1; width <= 2u * packing.group + 1; ++width) {
            const auto bytes = static_cast<uint32_t>(line_bytes(packing.code, 0, width));
            const Shape s{width, 1, 0, bytes, 2 * width};
            Pictures pictures(packing, s, random);
            ASSERT_TRUE(pictures.unpacks(0));
            const std::vector<uint8_t> before = pictures.destination();
            pictures.source()[bytes - 1] ^= 0xFF;
            ASSERT_TRUE(pictures.unpacks(0));
            ASSERT_NE(before, pictures.destination()) << describe(packing, s, 0);
        }
}

struct Example {
    uint32_t packing;
    std::vector<uint8_t> bytes;
    std::vector<uint32_t> words;  // of 4:2:2: two bytes each, the first one low
};

// Bytes are built from the tables of the documents: GigE Vision and PFNC, the pixel format pages of
// V4L2. Each sample has a nibble pattern of its own, so that no two bits can be taken for another.
const Example examples[] = {
    {TRW_PACKING_10Packed, {0xAB, 0x21, 0xCD}, {0x2AD, 0x336}},
    {TRW_PACKING_12Packed, {0x12, 0x63, 0x45}, {0x123, 0x456}},
    {TRW_PACKING_10p, {0x01, 0x0A, 0x70, 0x00, 0xC4}, {0x201, 0x002, 0x007, 0x310}},
    {TRW_PACKING_12p, {0x23, 0x61, 0x45}, {0x123, 0x456}},
    {TRW_PACKING_14p, {0xFF, 0x3F, 0, 0, 0, 0, 0x80}, {0x3FFF, 0, 0, 0x2000}},
    {TRW_PACKING_10pmsb, {0xFF, 0xC0, 0x10, 0x08, 0x03}, {0x3FF, 0x001, 0x002, 0x003}},
    {TRW_PACKING_12pmsb, {0x12, 0x34, 0x56}, {0x123, 0x456}},
    {TRW_PACKING_14pmsb, {0x04, 0x8C, 0xFF, 0xF0, 0x00, 0x40, 0x02}, {0x123, 0x0FFF, 0x0001, 2}},
    {TRW_PACKING_10g40, {0x11, 0x22, 0x33, 0x44, 0xE4}, {0x044, 0x089, 0x0CE, 0x113}},
    {TRW_PACKING_12g24, {0x12, 0x45, 0x63}, {0x123, 0x456}},
    {TRW_PACKING_RAW10, {0x11, 0x22, 0x33, 0x44, 0xE4}, {0x044, 0x089, 0x0CE, 0x113}},
    {TRW_PACKING_RAW12, {0x12, 0x45, 0x63}, {0x123, 0x456}},
    {TRW_PACKING_RAW14, {0x01, 0x02, 0x03, 0x04, 0x81, 0xC8, 0x08}, {0x041, 0x0A2, 0x0CC, 0x102}},
    {TRW_PACKING_10msble, {0xC0, 0xAB}, {0x2AF}},
    {TRW_PACKING_12msble, {0x30, 0x12}, {0x123}},
    {TRW_PACKING_14msble, {0x8C, 0x04}, {0x123}},
    {TRW_PACKING_10be, {0xFD, 0x23}, {0x123}},
    {TRW_PACKING_12be, {0xF1, 0x23}, {0x123}},
    {TRW_PACKING_14be, {0xF1, 0x23}, {0x3123}},
    {TRW_PACKING_16be, {0x12, 0x34}, {0x1234}},
    {TRW_PACKING_10msbbe, {0xAB, 0xC0}, {0x2AF}},
    {TRW_PACKING_12msbbe, {0x12, 0x3F}, {0x123}},
    {TRW_PACKING_14msbbe, {0x04, 0x8F}, {0x123}},
    {TRW_PACKING_UYVY, {'U', 'y', 'V', 'z'}, {'y' | 'U' << 8, 'z' | 'V' << 8}},
    {TRW_PACKING_YVYU, {'y', 'V', 'z', 'U'}, {'y' | 'U' << 8, 'z' | 'V' << 8}},
    {TRW_PACKING_VYUY, {'V', 'y', 'U', 'z'}, {'y' | 'U' << 8, 'z' | 'V' << 8}},
};

TEST(Unpack, ExamplesOfTheDocuments) {
    for (const Example& example : examples) {
        const Packing& packing = *trv::raw::find_packing(example.packing);
        const auto width = static_cast<uint32_t>(example.words.size());
        std::vector<uint16_t> words(width);
        fake() = {};
        fake().set_picture(source_handle, 0, example.bytes.data(), width, 1, 0);
        fake().set_picture(destination_handle, whole_code(target_of(packing)), words.data(), 0, 1,
                           2 * width);
        EXPECT_EQ(TRW_Unpack(source_handle, example.packing, destination_handle), TRV_STATUS_OK);
        EXPECT_EQ(std::vector<uint32_t>(words.begin(), words.end()), example.words) << packing.name;
    }
}

// 25 pixels of ip3, as V4L2's page lays them out: a low byte, then bytes shared by two pixels.
TEST(Unpack, TwentyFivePixelsInThirtyTwoBytes) {
    std::vector<uint8_t> bytes(64, 0xFF);
    bytes[0] = 0x34, bytes[1] = 0b010101'10;                      // pixel 0: 0x234; low bits of 1
    bytes[2] = 0b0011'1101;                                       // high bits of pixel 1, low of 2
    bytes[30] = 0x21, bytes[31] = 0b111111'01, bytes[32] = 0x78;  // pixel 24; pixel 25
    std::vector<uint16_t> words(26);
    fake() = {};
    fake().set_picture(source_handle, 0, bytes.data(), 26, 1, 0);
    fake().set_picture(destination_handle, TBL_FORMAT(BAY10), words.data(), 0, 1, 52);
    EXPECT_EQ(TRW_Unpack(source_handle, TRW_PACKING_10ipu3, destination_handle), TRV_STATUS_OK);
    EXPECT_EQ(words[0], 0x234);
    EXPECT_EQ(words[1], 0b1101'010101);
    EXPECT_EQ(words[24], 0x121);
    EXPECT_EQ(words[25], 0x378);
}

// A picture of 8 x 3 pixels of 12p that all is well with.
class Refusals : public ::testing::Test {
  protected:
    void SetUp() override {
        fake() = {};
        fake().set_picture(source_handle, 0, packed_.data(), 8, 3, 12);
        fake().set_picture(destination_handle, TBL_FORMAT(Mono12), words_.data(), 0, 3, 16);
    }
    uint32_t unpack(uint32_t packing = TRW_PACKING_12p) {
        return TRW_Unpack(source_handle, packing, destination_handle);
    }
    // With one parameter changed.
    uint32_t with(uint64_t handle, uint32_t id, uint64_t value) {
        SetUp();
        fake().set(handle, id, value);
        return unpack();
    }
    bool is_untouched() const { return words_ == std::vector<uint16_t>(24, 0xA5A5); }

    std::vector<uint8_t> packed_ = std::vector<uint8_t>(36, 0x5A);
    std::vector<uint16_t> words_ = std::vector<uint16_t>(24, 0xA5A5);
};

TEST_F(Refusals, OfWhatIsMissingOrTooSmall) {
    for (const uint32_t id : {TBL_PARAMETER_WIDTH, TBL_PARAMETER_HEIGHT, TBL_PARAMETER_ADDRESS,
                              TBL_PARAMETER_STRIDE, TBL_PARAMETER_PRESENT})
        EXPECT_EQ(with(source_handle, id, 0), TRV_STATUS_PARAMETER) << id;
    for (const uint32_t id : {TBL_PARAMETER_HEIGHT, TBL_PARAMETER_ADDRESS, TBL_PARAMETER_STRIDE,
                              TBL_PARAMETER_FORMAT, TBL_PARAMETER_PRESENT})
        EXPECT_EQ(with(destination_handle, id, 0), TRV_STATUS_PARAMETER) << id;
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_STRIDE, 11), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_PACKING_OFFSET, 1), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(destination_handle, TBL_PARAMETER_STRIDE, 15), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(destination_handle, TBL_PARAMETER_HEIGHT, 2), TRV_STATUS_PARAMETER);
    // Sizes that wrap in 32 bits.
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_WIDTH, 0x80000008), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_HEIGHT, UINT32_MAX), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_Unpack(0, TRW_PACKING_12p, destination_handle), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_Unpack(source_handle, TRW_PACKING_12p, 0), TRV_STATUS_PARAMETER);
    EXPECT_TRUE(is_untouched());
    SetUp();
    EXPECT_EQ(unpack(), TRV_STATUS_OK);
    EXPECT_FALSE(is_untouched());
}

// Chrominance of a line that begins with an odd pixel would be another pixel's.
TEST_F(Refusals, OfChrominanceThatBeginsInside) {
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(YUV422));
    fake().set(source_handle, TBL_PARAMETER_STRIDE, 18);
    fake().set(source_handle, TBL_PARAMETER_HEIGHT, 1);
    fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, 1);
    EXPECT_EQ(unpack(TRW_PACKING_UYVY), TRV_STATUS_PARAMETER);
    EXPECT_TRUE(is_untouched());
    fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, 2);
    EXPECT_EQ(unpack(TRW_PACKING_UYVY), TRV_STATUS_OK);
}

// Which formats a packing goes to: its words, grey and mosaics of all phases, and nothing else.
TEST_F(Refusals, OfOtherFormats) {
    const std::string letters[] = {"", "_A", "_B", "_C", "_D"};
    for (const Packing& packing : packings)
        for (const trv::Format& format : trv::formats) {
            const std::string bits = std::to_string(packing.bits), name = format.name;
            bool is_target = name == "Mono" + bits || name == "Mono" + bits + "B";
            for (const std::string& letter : letters)
                is_target = is_target || name == "BAY" + bits + letter;
            if (packing.bits == 8) is_target = name == "YUV422";
            SetUp();
            fake().set(source_handle, TBL_PARAMETER_STRIDE, 32);
            fake().set(source_handle, TBL_PARAMETER_HEIGHT, 1);
            fake().set(destination_handle, TBL_PARAMETER_FORMAT, whole_code(format));
            EXPECT_EQ(unpack(packing.code), is_target ? TRV_STATUS_OK : TRV_STATUS_UNSUPPORTED)
                << packing.name << " to " << name;
        }
}

TEST(PackingInfo, CountsTheBytesOfALine) {
    for (const Packing& packing : packings)
        EXPECT_EQ(line_bytes(packing.code, 0, 3 * packing.group), 3u * packing.bytes);
    EXPECT_EQ(line_bytes(TRW_PACKING_12p, 0, UINT32_MAX), (uint64_t{UINT32_MAX} * 12 + 7) / 8);
    EXPECT_EQ(line_bytes(TRW_PACKING_RAW10, 0, 0), 0u);
    EXPECT_EQ(line_bytes(TRW_PACKING_RAW10, 0, 1), 5u);
    EXPECT_EQ(line_bytes(TRW_PACKING_10p, 0, 1), 2u);
    EXPECT_EQ(line_bytes(TRW_PACKING_10p, 3, 1), 5u);
    EXPECT_EQ(line_bytes(TRW_PACKING_10p, 3, 2), 7u);
}

// A program that was built with a shorter record gets what it knows of, and no byte more.
TEST(PackingInfo, KeepsToTheSizeOfTheRecord) {
    unsigned char record[sizeof(TRW_PackingInfo) + 16];
    for (const uint32_t size : {0u, 7u, 8u, 20u, 24u, 48u, 60u}) {
        std::memset(record, 0xEE, sizeof record);
        std::memcpy(record, &size, sizeof size);
        auto* info = reinterpret_cast<TRW_PackingInfo*>(record);
        const uint32_t status = TRW_PackingInfoGet(TRW_PACKING_12p, 0, 2, info);
        EXPECT_EQ(status, size < 8 ? TRV_STATUS_PARAMETER : TRV_STATUS_OK);
        const size_t written = size < 8 ? 4 : std::min<size_t>(size, sizeof *info);
        for (size_t i = written; i < sizeof record; ++i) EXPECT_EQ(record[i], 0xEE) << i;
    }
}

}  // namespace
