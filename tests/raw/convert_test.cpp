// Pictures straight from packed samples, and conversions on several threads, against the calls that
// they stand for.
#include <array>
#include <map>
#include <memory>

#include "image/exports/convert.h"
#include "image/format/decision.h"
#include "raw/convert/convert.h"
#include "raw/demosaic/decision.h"
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
using trv::Format;
using trv::raw::Packing;
using trv::raw::packings;

constexpr uint64_t between_handle = 0xBE73;

// Every line is a band, and a strip has one or two.
constexpr trv::raw::Cut fine{1, 1, 4};

constexpr uint32_t methods[] = {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_AVE, TBL_BAYER_METHOD_MED,
                                TRW_METHOD_GRADIENT};
constexpr uint32_t phases[] = {TBL_BAYER_PHASE_A, TBL_BAYER_PHASE_B, TBL_BAYER_PHASE_C,
                               TBL_BAYER_PHASE_D};

class Pool {
  public:
    explicit Pool(uint32_t threads) {
        if (threads != 0) {
            EXPECT_EQ(TRW_PoolCreate(&pool_, threads), TRV_STATUS_OK);
        }
    }
    ~Pool() {
        if (pool_ != nullptr) {
            EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_OK);
        }
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    TRW_Pool* get() const { return pool_; }

  private:
    TRW_Pool* pool_ = nullptr;
};

// No pool, and pools of 1, 2, 3 and 8 threads.
const std::array<Pool, 5>& pools() {
    static const std::array<Pool, 5> all{Pool(0), Pool(1), Pool(2), Pool(3), Pool(8)};
    return all;
}

struct Case {
    const Packing* packing;  // null: none
    const Format* samples;
    const Format* destination;
    uint32_t method, phase;
    uint32_t width, height, first;
    uint32_t source_stride, destination_stride;
};

std::string describe(const Case& c, unsigned level, uint32_t threads) {
    return std::string(c.packing == nullptr ? "" : c.packing->name) + " " + c.samples->name +
           " to " + c.destination->name + " method " + std::to_string(c.method >> 8) + " phase " +
           std::to_string(c.phase >> 8) + " " + std::to_string(c.width) + "x" +
           std::to_string(c.height) + " first " + std::to_string(c.first) + " strides " +
           std::to_string(c.source_stride) + ", " + std::to_string(c.destination_stride) +
           " level " + trv::raw::levels[level].name + " threads " + std::to_string(threads);
}

trv::Decision decide(const Case& c) {
    trv::Job job{};
    job.source = {whole_code(*c.samples), nullptr, c.source_stride, c.width, c.height};
    job.destination = {whole_code(*c.destination), nullptr, c.destination_stride, c.width,
                       c.height};
    job.method = c.method;
    job.phase = c.phase;
    const trv::raw::OwnDemosaic demosaic = trv::raw::decide_demosaic(job);
    return demosaic.is_one ? demosaic.decision : trv::decide(job);
}

// Both pictures in exactly the memory that they need, and the calls that are compared.
class Pictures {
  public:
    Pictures(const Case& c, Random& random)
        : c_(c),
          source_(source_bytes(), test::any_side(random)),
          destination_(*c.destination, c.width, c.height, c.destination_stride,
                       c.packing == nullptr ? behind : 0, test::any_side(random)),
          between_(size_t{c.width} * c.height + 1) {
        for (size_t i = 0; i < source_.size(); ++i)
            source_.data()[i] = static_cast<uint8_t>(random.bits());
        destination_.fill(random);
        background_ = destination_.bytes();
        fake() = {};
        fake().set_picture(source_handle, c.packing != nullptr ? 0 : whole_code(*c.samples),
                           source_.data(), c.width, c.height, c.source_stride);
        fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, c.first);
        fake().set_picture(destination_handle, whole_code(*c.destination),
                           destination_.memory.data(), c.width, c.height, c.destination_stride);
        fake().set_picture(between_handle, whole_code(*c.samples), between_.data(), c.width,
                           c.height, 2 * c.width);
        for (const uint64_t handle : {source_handle, between_handle}) {
            fake().set(handle, TBL_PARAMETER_BAYER_METHOD, c.method);
            fake().set(handle, TBL_PARAMETER_BAYER_PHASE, c.phase);
        }
    }

    // The calls one after the other.
    void expect(unsigned level) {
        destination_.put(background_);
        uint64_t from = source_handle;
        if (c_.packing != nullptr) {
            const auto& loops = trv::raw::levels[level];
            ASSERT_EQ(trv::raw::unpack(loops, source_handle, c_.packing->code, between_handle), 0u);
            from = between_handle;
        }
        const trv::Decision decision = decide(c_);
        if (trv::raw::is_own_demosaic(decision))
            demosaic(decision);
        else
            ASSERT_EQ(trv::convert(trv::levels[level], from, destination_handle), 0u);
        expected_ = destination_.bytes();
    }

    ::testing::AssertionResult is_same(unsigned level, TRW_Pool* pool, const trv::raw::Cut& cut) {
        destination_.put(background_);
        TRW_Settings settings{};
        settings.format = whole_code(*c_.samples);
        settings.method = c_.method;
        settings.phase = c_.phase;
        const uint32_t packing = c_.packing == nullptr ? 0 : c_.packing->code;
        const uint32_t status = trv::raw::convert(trv::raw::levels[level], source_handle, packing,
                                                  destination_handle, settings, pool, cut);
        if (status != 0) return ::testing::AssertionFailure() << "status " << status;
        return test::same_bytes(destination_, expected_);
    }

  private:
    static constexpr size_t behind = 64;  // reached by whole groups

    // Whole, at the lowest level: tests/raw/demosaic_test.cpp has the others.
    void demosaic(const trv::Decision& decision) const {
        trv::bayer::Image image{};
        const bool unpacked = c_.packing != nullptr;
        image.source =
            unpacked ? reinterpret_cast<const uint8_t*>(between_.data()) : source_.data();
        image.destination = destination_.memory.data();
        image.source_stride = unpacked ? 2 * c_.width : c_.source_stride;
        image.destination_stride = c_.destination_stride;
        image.width = c_.width;
        image.height = c_.height;
        image.bits = c_.samples->significant;
        trv::raw::demosaic_lines(trv::raw::levels[0], trv::raw::demosaic_of(decision), image,
                                 {0, c_.height});
    }

    size_t source_bytes() const {
        const size_t line = c_.packing == nullptr
                                ? trv::line_bytes(*c_.samples, c_.width) + behind
                                : trv::raw::line_bytes(*c_.packing, c_.first, c_.width);
        return size_t{c_.source_stride} * (c_.height - 1) + line;
    }

    Case c_;
    Guarded source_;
    test::Picture destination_;
    std::vector<uint16_t> between_;  // with a 0 after the last line
    std::vector<uint8_t> background_, expected_;
};

void compare(const Case& c, Random& random, const trv::raw::Cut& cut = fine) {
    Pictures pictures(c, random);
    for (unsigned level = 0; level <= trv::raw::best_level(); ++level) {
        pictures.expect(level);
        for (const Pool& pool : pools()) {
            uint32_t threads = 0;
            TRW_PoolThreadsGet(pool.get(), &threads);
            ASSERT_TRUE(pictures.is_same(level, pool.get(), cut)) << describe(c, level, threads);
        }
    }
}

void draw_shape(Case* c, Random& random) {
    c->width = random.one_in(4) ? random.between(1, 8) : random.between(2, 140);
    c->height = random.between(1, 9);
    c->first = 0;
    if (c->packing == nullptr) {
        c->source_stride = test::any_stride(random, trv::line_bytes(*c->samples, c->width));
    } else {
        if (c->packing->target == trv::raw::Target::words)
            c->first = random.below(c->packing->group);
        c->source_stride =
            test::any_stride(random, trv::raw::line_bytes(*c->packing, c->first, c->width));
    }
    c->destination_stride = test::any_stride(random, trv::line_bytes(*c->destination, c->width));
}

// Whether a destination in whole lines is large enough, whatever rule of size a route has, and
// mosaics have the method.
bool is_accepted(const Case& c) {
    return decide(c).refusal == trv::Refusal::none;
}

// Every pair that `has` names, mosaics by every method and phase.
template <typename Has>
void compare_all(const Packing* packing, Has has, Random& random) {
    for (const Format& samples : trv::formats)
        for (const Format& destination : trv::formats) {
            const trv::RouteKind kind = trv::route_kind(samples, destination);
            const bool demosaics = trv::raw::is_demosaiced(samples, destination);
            if ((kind == trv::RouteKind::none && !demosaics) || !has(samples)) continue;
            for (const uint32_t method : methods)
                for (const uint32_t phase : phases) {
                    Case c{packing, &samples, &destination, method, phase, 0, 0, 0, 0, 0};
                    draw_shape(&c, random);
                    if (is_accepted(c)) compare(c, random);
                    if (!demosaics || ::testing::Test::HasFatalFailure()) break;
                }
            if (::testing::Test::HasFatalFailure()) return;
        }
}

TEST(Convert, EveryPackingToEveryPictureIsTheTwoCalls) {
    Random random(test::seed());
    for (unsigned round = 0; round < test::rounds(1); ++round)
        for (const Packing& packing : packings) {
            compare_all(
                &packing,
                [&](const Format& samples) {
                    const bool lettered = samples.phase != trv::Phase::none;
                    return !lettered &&
                           trv::raw::goes_to(packing, static_cast<uint32_t>(samples.code));
                },
                random);
            if (HasFatalFailure()) return;
        }
}

TEST(Convert, EveryPairWithoutPackingIsTilConvert) {
    Random random(test::seed());
    for (unsigned round = 0; round < test::rounds(2); ++round)
        compare_all(
            nullptr, [](const Format&) { return true; }, random);
}

// As programs call it: strips of many lines, bands of several strips.
TEST(Convert, LargePicturesAreCutAsUsual) {
    Random random(test::seed());
    const Format &mosaic = *trv::find_format(TBL_FORMAT(BAY12) & 0xFF),
                 &grey = *trv::find_format(TBL_FORMAT(Mono12) & 0xFF),
                 &bgr = *trv::find_format(TBL_FORMAT(BGR24) & 0xFF),
                 &bgrx = *trv::find_format(TBL_FORMAT(BGRX32) & 0xFF);
    const Packing& packing = packings[TRW_PACKING_12p - 1];
    for (const Format* destination : {&bgr, &bgrx})
        for (const uint32_t width : {1023u, 4096u})
            for (const Format* samples : {&mosaic, &grey})
                compare({&packing, samples, destination, TBL_BAYER_METHOD_AVE, TBL_BAYER_PHASE_B,
                         width, 301, 0, (width * 3 + 1) / 2,
                         static_cast<uint32_t>(trv::line_bytes(*destination, width)) + 1},
                        random, trv::raw::usual_cut);
}

// A picture of so many lines that every thread of a pool makes some of them.
constexpr uint32_t long_width = 3000, long_height = 1000;

// What TIL_Convert leaves in memory that holds `before`, and that a pool leaves the same.
void expect_order(std::vector<uint8_t>* memory, const std::vector<uint8_t>& before) {
    *memory = before;
    ASSERT_EQ(trv::convert(trv::levels[0], source_handle, destination_handle), 0u);
    const std::vector<uint8_t> expected = *memory;
    for (int again = 0; again < 20; ++again) {
        *memory = before;
        ASSERT_EQ(trv::raw::convert(trv::raw::levels[0], source_handle, 0, destination_handle, {},
                                    pools()[4].get(), fine),
                  0u);
        ASSERT_EQ(*memory == expected, true);
    }
}

std::vector<uint8_t> noise(size_t size) {
    Random random(test::seed());
    std::vector<uint8_t> bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.bits());
    return bytes;
}

TEST(Convert, LinesThatOverlapAreMadeInTheirOrder) {
    std::vector<uint8_t> from = noise(size_t{long_width} * long_height), to;
    for (const uint32_t stride : {4u, 1200u, 3 * long_width - 1}) {
        fake() = {};
        fake().set_picture(source_handle, TBL_FORMAT(Mono8), from.data(), long_width, long_height,
                           long_width);
        const std::vector<uint8_t> before(3 * from.size(), 0xA5);
        to = before;
        fake().set_picture(destination_handle, TBL_FORMAT(BGR24), to.data(), long_width,
                           static_cast<uint32_t>(before.size()) / stride + 1, stride);
        expect_order(&to, before);
    }
}

// Each line goes where the source has its next one.
TEST(Convert, PicturesThatShareMemoryAreMadeInTheirOrder) {
    const std::vector<uint8_t> before = noise(size_t{2 * long_width} * (long_height + 1));
    std::vector<uint8_t> memory = before;
    fake() = {};
    fake().set_picture(source_handle, TBL_FORMAT(Mono12), memory.data(), long_width, long_height,
                       2 * long_width);
    fake().set_picture(destination_handle, TBL_FORMAT(Mono8), memory.data() + 2 * long_width,
                       long_width, long_height, 2 * long_width);
    expect_order(&memory, before);
}

// 9 x 3 pixels of 12p that become BGR24.
class Settings : public ::testing::Test {
  protected:
    void SetUp() override {
        fake() = {};
        for (size_t i = 0; i < packed_.size(); ++i) packed_[i] = static_cast<uint8_t>(i * 37 + 5);
        fake().set_picture(source_handle, TBL_FORMAT(BAY8), packed_.data(), 9, 3, 14);
        picture_.assign(81, 0xA5);
        fake().set_picture(destination_handle, TBL_FORMAT(BGR24), picture_.data(), 9, 3, 27);
    }
    uint32_t convert(const TRW_Settings* settings, uint32_t packing = TRW_PACKING_12p) {
        return TRW_Convert(source_handle, packing, destination_handle, settings, nullptr);
    }
    std::vector<uint8_t> made_with(uint32_t format, uint32_t method, uint32_t phase) {
        const TRW_Settings settings{sizeof settings, format, method, phase};
        picture_.assign(81, 0xA5);
        EXPECT_EQ(convert(&settings), TRV_STATUS_OK);
        return picture_;
    }
    // By TRW_Unpack and TIL_Convert.
    std::vector<uint8_t> made_by_two(uint32_t format, uint32_t method, uint32_t phase) {
        std::vector<uint16_t> between(28);
        fake().set_picture(between_handle, format, between.data(), 9, 3, 18);
        fake().set(between_handle, TBL_PARAMETER_BAYER_METHOD, method);
        fake().set(between_handle, TBL_PARAMETER_BAYER_PHASE, phase);
        EXPECT_EQ(TRW_Unpack(source_handle, TRW_PACKING_12p, between_handle), 0u);
        EXPECT_EQ(trv::convert(trv::current_level(), between_handle, destination_handle), 0u);
        return picture_;
    }
    bool is_untouched() const { return picture_ == std::vector<uint8_t>(81, 0xA5); }

    std::vector<uint8_t> packed_ = std::vector<uint8_t>(42);
    std::vector<uint8_t> picture_;
};

TEST_F(Settings, AreTakenFromTheSourceWhereTheyAreNotSet) {
    fake().set(source_handle, TBL_PARAMETER_BAYER_METHOD, TBL_BAYER_METHOD_MED);
    fake().set(source_handle, TBL_PARAMETER_BAYER_PHASE, TBL_BAYER_PHASE_C);
    const auto expected = made_by_two(TBL_FORMAT(BAY12), TBL_BAYER_METHOD_MED, TBL_BAYER_PHASE_C);
    EXPECT_EQ(made_with(0, 0, 0), expected);
    ASSERT_EQ(convert(nullptr), TRV_STATUS_OK);
    EXPECT_EQ(picture_, expected);
    EXPECT_EQ(made_with(TBL_FORMAT(BAY12_B), 0, 0),
              made_by_two(TBL_FORMAT(BAY12), TBL_BAYER_METHOD_MED, TBL_BAYER_PHASE_B));
    EXPECT_EQ(made_with(TBL_FORMAT(BAY12_B), TBL_BAYER_METHOD_DUP, TBL_BAYER_PHASE_D),
              made_by_two(TBL_FORMAT(BAY12), TBL_BAYER_METHOD_DUP, TBL_BAYER_PHASE_D));
    const auto grey = made_by_two(TBL_FORMAT(Mono12), 0, 0);
    EXPECT_EQ(made_with(TBL_FORMAT(Mono12), 0, 0), grey);
    fake().set(source_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(Mono8));
    EXPECT_EQ(made_with(0, 0, 0), grey);
}

TEST_F(Settings, ThatAreWrongAreRefused) {
    const auto with = [&](uint32_t format, uint32_t method, uint32_t phase) {
        const TRW_Settings settings{sizeof settings, format, method, phase};
        return convert(&settings);
    };
    EXPECT_EQ(with(TBL_FORMAT(BAY10), 0, 0), TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(with(TBL_FORMAT(BGR24), 0, 0), TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(with(0xEE, 0, 0), TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(with(0, 1, 0), TRV_STATUS_BAYER_SETTING);
    EXPECT_EQ(with(0, TRW_METHOD_GRADIENT, 1), TRV_STATUS_BAYER_SETTING);
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(RGB16));
    EXPECT_EQ(with(0, TRW_METHOD_GRADIENT, 0), TRV_STATUS_BAYER_SETTING);
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(RGB48_10));
    EXPECT_EQ(with(0, 0, 0), TRV_STATUS_UNSUPPORTED);  // not as deep as the samples
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(RGB48));
    EXPECT_EQ(with(0, 0, 0), TRV_STATUS_PARAMETER);  // too small
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(BGR24));
    EXPECT_EQ(with(0, 0, 1), TRV_STATUS_BAYER_SETTING);
    TRW_Settings longer[2]{};
    longer[0].size = 7;
    EXPECT_EQ(convert(&longer[0]), TRV_STATUS_PARAMETER);
    longer[0].size = sizeof longer;
    longer[1].phase = 1;
    EXPECT_EQ(convert(&longer[0]), TRV_STATUS_UNSUPPORTED);
    EXPECT_TRUE(is_untouched());
    longer[1].phase = 0;
    EXPECT_EQ(convert(&longer[0]), TRV_STATUS_OK);
    // Of a shorter record, only what it has is read.
    longer[0] = {8, 0, 1, 1};
    EXPECT_EQ(convert(&longer[0]), TRV_STATUS_OK);
}

TEST_F(Settings, BuffersThatDoNotFitAreRefused) {
    const auto with = [&](uint64_t handle, uint32_t id, uint64_t value) {
        SetUp();
        fake().set(handle, id, value);
        return convert(nullptr);
    };
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_ADDRESS, 0), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(destination_handle, TBL_PARAMETER_ADDRESS, 0), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_STRIDE, 13), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(destination_handle, TBL_PARAMETER_STRIDE, 26), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(source_handle, TBL_PARAMETER_WIDTH, 0x80000009), TRV_STATUS_PARAMETER);
    EXPECT_EQ(with(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(YUV422)),
              TRV_STATUS_UNSUPPORTED);
    SetUp();
    EXPECT_EQ(convert(nullptr, TRW_PACKING_END), TRV_STATUS_UNSUPPORTED);
    // The wrong order of 4:2:2 begins inside a group.
    fake().set(source_handle, TBL_PARAMETER_STRIDE, 20);
    fake().set(source_handle, TBL_PARAMETER_HEIGHT, 1);
    fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, 1);
    EXPECT_EQ(convert(nullptr, TRW_PACKING_UYVY), TRV_STATUS_PARAMETER);
    EXPECT_TRUE(is_untouched());
}

// Packed mosaics without a packing are those of it, and the phase that counts is parameter 10.
TEST_F(Settings, PackedMosaicsAreUnpackedOnTheWay) {
    fake().set(source_handle, TBL_PARAMETER_BAYER_METHOD, TBL_BAYER_METHOD_AVE);
    fake().set(source_handle, TBL_PARAMETER_BAYER_PHASE, TBL_BAYER_PHASE_C);
    const auto expected = made_with(TBL_FORMAT(BAY12), 0, 0);
    fake().set(source_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(BAY12P_B));
    picture_.assign(81, 0xA5);
    ASSERT_EQ(convert(nullptr, 0), TRV_STATUS_OK);
    EXPECT_EQ(picture_, expected);
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(BGRX32));
    EXPECT_EQ(convert(nullptr, 0), TRV_STATUS_PARAMETER);  // the lines are too short
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(RGB24));
    EXPECT_EQ(convert(nullptr, 0), TRV_STATUS_UNSUPPORTED);
    const TRW_Settings gradient{sizeof gradient, 0, TRW_METHOD_GRADIENT, 0};
    EXPECT_EQ(convert(&gradient, 0), TRV_STATUS_OK);
}

// What TRW_Convert demosaics and TIL_Convert does not.
bool is_beyond(const Format& from, const Format& to) {
    const bool deep = to.significant == 16 || to.significant == from.significant;
    return from.family == trv::Family::bayer && (trv::is_packed(from) || (to.stored == 48 && deep));
}

// Without a packing, statuses are TIL_Convert's, also those that it does not pass on.
TEST_F(Settings, StatusesWithoutPackingAreTilConverts) {
    Random random(test::seed());
    std::vector<uint8_t> memory(1 << 16);
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (const uint32_t stride : {2u, 200u}) {
                fake() = {};
                fake().set_picture(source_handle, whole_code(from), memory.data(), 20, 4, 200);
                fake().set_picture(destination_handle, whole_code(to), memory.data() + 4096, 20, 4,
                                   stride);
                const uint32_t method = random.one_in(8) ? 1 : TBL_BAYER_METHOD_AVE;
                fake().set(source_handle, TBL_PARAMETER_BAYER_METHOD, method);
                const uint32_t status =
                    trv::convert(trv::current_level(), source_handle, destination_handle);
                if (status == TRV_STATUS_UNSUPPORTED && is_beyond(from, to)) continue;
                ASSERT_EQ(
                    TRW_Convert(source_handle, 0, destination_handle, nullptr, pools()[2].get()),
                    status)
                    << from.name << " to " << to.name << " stride " << stride;
            }
    fake().set(source_handle, TBL_PARAMETER_HEIGHT, 0);
    EXPECT_EQ(TRW_Convert(source_handle, 0, destination_handle, nullptr, nullptr),
              trv::convert(trv::current_level(), source_handle, destination_handle));
}

}  // namespace
