// TRW_ExplainConvert beside TRW_Convert: the same status always, and what it says.
#include <gtest/gtest.h>

#include "image/format/format.h"
#include "tests/harness.h"
#include "tests/raw/explaining.h"
#include "trvil/raw.h"

namespace {

using namespace test;

class Pool {
  public:
    explicit Pool(uint32_t threads) { EXPECT_EQ(TRW_PoolCreate(&pool_, threads), TRV_STATUS_OK); }
    ~Pool() { EXPECT_EQ(TRW_PoolDestroy(&pool_), TRV_STATUS_OK); }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    TRW_Pool* get() const { return pool_; }

  private:
    TRW_Pool* pool_ = nullptr;
};

::testing::AssertionResult says(const Explained& explained, const char* words) {
    if (explained.says(words)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << explained.text;
}

class ExplainConvert : public Explaining {
  protected:
    Explained explain(uint32_t packing, const TRW_Settings* settings = nullptr,
                      TRW_Pool* pool = nullptr) {
        std::vector<char> text(TRW_EXPLAIN_BYTES, '#');
        Explained result;
        result.status = TRW_ExplainConvert(source_handle, packing, destination_handle, settings,
                                           pool, text.data(), text.size());
        result.text = text.data();
        EXPECT_LT(result.text.size() + 1, text.size()) << result.text;
        EXPECT_EQ(result.text.rfind("status " + std::to_string(result.status) + ": ", 0), 0u);
        EXPECT_EQ(TRW_Convert(source_handle, packing, destination_handle, settings, pool),
                  result.status)
            << result.text;
        EXPECT_EQ(result.status != 0, result.says("\nwhy: ") && !result.says("not passed on"))
            << result.text;
        return result;
    }
};

uint32_t whole(const trv::Format& format) {
    return trv::format_prefix + static_cast<uint32_t>(format.code);
}

TEST_F(ExplainConvert, SaysTheStatusOfEveryPacking) {
    Random random(test::seed());
    const Pool pool(2);
    for (uint32_t packing = 0; packing <= TRW_PACKING_END; ++packing)
        for (const trv::Format& to : trv::formats)
            for (unsigned i = 0; i < test::rounds(6); ++i) {
                const uint32_t width = random.between(0, 20), height = random.between(0, 5);
                const uint32_t line = static_cast<uint32_t>(trv::line_bytes(to, width));
                set_pair(random.one_in(3) ? TBL_FORMAT(Mono8) : TBL_FORMAT(BAY10),
                         {width, height, 2 * width + random.below(3)}, whole(to),
                         {width, height + random.below(2), line - (line != 0 && random.one_in(4))});
                fake().set(source_handle, 9, random.one_in(6) ? 1 : TBL_BAYER_METHOD_DUP);
                fake().set(source_handle, 10, random.one_in(6) ? 1 : TBL_BAYER_PHASE_C);
                fake().set(source_handle, 18, random.below(3));
                TRW_Settings settings{sizeof settings, 0, 0, 0};
                if (random.one_in(3)) settings.format = whole(trv::formats[random.below(74)]);
                if (random.one_in(3))
                    settings.method = (random.one_in(3) ? 16 : random.below(4)) << 8 | 9;
                if (random.one_in(3)) settings.phase = random.below(6) << 8 | 10;
                explain(packing, &settings, pool.get());
                if (HasFailure()) FAIL() << packing << " to " << to.name;
            }
}

// Words are free; the figures and the names in them are not.
TEST_F(ExplainConvert, SaysByWhichStepsAndThreads) {
    const Pool pool(3);
    std::vector<uint8_t> packed(2880 * 1080), picture(5760 * 1080);
    set(source_handle, TBL_FORMAT(BAY8), {1920, 1080, 2880}, packed.data());
    set(destination_handle, TBL_FORMAT(BGR24), {1920, 1080, 5760}, picture.data());
    const TRW_Settings settings{sizeof settings, 0, TBL_BAYER_METHOD_AVE, TBL_BAYER_PHASE_C};
    EXPECT_EQ(explain(TRW_PACKING_12p, &settings, pool.get()).text,
              "status 0: 12p becomes BGR24 by way of BAY12, 1920 x 1080 pixels, by ave in phase C "
              "(GBRG)\n"
              "note: 45 lines at a time are unpacked, 172800 bytes, and become the picture from "
              "there\n"
              "note: 3 threads share 24 bands of 45 lines");
    EXPECT_TRUE(
        explain(TRW_PACKING_12p, &settings).says("alone, because there is no pool of more"));
    fake().set(destination_handle, TBL_PARAMETER_STRIDE, 5759);
    fake().set(destination_handle, TBL_PARAMETER_HEIGHT, 1081);
    EXPECT_TRUE(says(explain(TRW_PACKING_12p, &settings, pool.get()), "their order counts"));
    fake().set(source_handle, TBL_PARAMETER_HEIGHT, 4);
    fake().set(destination_handle, TBL_PARAMETER_STRIDE, 5760);
    EXPECT_TRUE(says(explain(TRW_PACKING_12p, &settings, pool.get()), "the picture is small"));
}

TEST_F(ExplainConvert, SaysWhatIsToBeKnownAndWhatIsWrong) {
    const auto set_12p = [&] {
        set_pair(TBL_FORMAT(BAY8), {9, 4, 14}, TBL_FORMAT(BGR24), {9, 4, 27});
    };
    const auto with = [&](uint32_t format, uint32_t method, uint32_t phase) {
        const TRW_Settings settings{sizeof settings, format, method, phase};
        return explain(TRW_PACKING_12p, &settings);
    };
    set_12p();
    EXPECT_TRUE(says(with(0, 5, 0), "the settings' Bayer method is 0x5, which is none"));
    EXPECT_TRUE(says(with(0, 5, 0), "0x1009 (gradient)"));
    EXPECT_EQ(with(0, TRW_METHOD_GRADIENT, 0x10A).text,
              "status 0: 12p becomes BGR24 by way of BAY12, 9 x 4 pixels, by gradient in phase A "
              "(RGGB)\n"
              "note: 4 lines at a time are unpacked, 72 bytes, and become the picture from there\n"
              "note: the calling thread works alone, because there is no pool of more");
    set_pair(TBL_FORMAT(BAY12P_B), {9, 4, 14}, TBL_FORMAT(RGB48), {9, 4, 54});
    EXPECT_TRUE(says(with(0, 0x209, 0x20A), "by way of BAY12, 9 x 4 pixels, by ave in phase B"));
    EXPECT_TRUE(says(with(0, 0x209, 0x20A), "the brightest of 12 bits stays 4095"));
    fake().set(destination_handle, TBL_PARAMETER_STRIDE, 53);
    EXPECT_TRUE(says(with(0, 0x209, 0x20A), "9 x 4 pixels of RGB48 need 216 bytes"));
    set_12p();
    EXPECT_TRUE(says(with(0, 0x109, 6), "the settings' Bayer phase is 0x6, which is none"));
    fake().set(source_handle, 10, 0x50A);
    EXPECT_TRUE(says(with(0, 0x209, 0), "the source's Bayer phase is 0x50A, which is none"));
    EXPECT_TRUE(says(with(TBL_FORMAT(BAY12_B), 0x209, 0), "next line into the last pixel of each"));
    EXPECT_TRUE(says(with(TBL_FORMAT(BAY12_B), 0x109, 0x10A), "the settings say phase A"));
    EXPECT_TRUE(says(with(TBL_FORMAT(Mono10), 0, 0),
                     "the settings say Mono10, which samples of 12p are not\nwhy: 12p is "
                     "unpacked to Mono12, BAY12, Mono12B, BAY12_A"));
    EXPECT_TRUE(says(with(0xFE, 0, 0), "the settings' format 0x000000FE is no pixel format"));
    fake().set(source_handle, TBL_PARAMETER_PACKING_OFFSET, 1);
    fake().set(source_handle, TBL_PARAMETER_STRIDE, 15);
    EXPECT_TRUE(says(with(0, 0x109, 0x10A), "lines begin at place 1 of a group of 2 pixels"));
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 59));
    EXPECT_TRUE(says(with(0, 0x109, 0x10A), "share memory"));
    fake().set(destination_handle, 3, reinterpret_cast<uintptr_t>(source_.data() + middle + 60));
    EXPECT_FALSE(says(with(0, 0x109, 0x10A), "share memory"));
    set_12p();
    fake().set(destination_handle, TBL_PARAMETER_STRIDE, 26);
    EXPECT_TRUE(says(with(0, 0x109, 0x10A), "at least 27 bytes and 4 lines"));
    fake().set(source_handle, TBL_PARAMETER_STRIDE, 13);
    EXPECT_TRUE(says(with(0, 0, 0), "9 pixels of 12p take 14 bytes"));
    set_12p();
    fake().set(source_handle, TBL_PARAMETER_WIDTH, 0x80000001);
    fake().set(source_handle, TBL_PARAMETER_HEIGHT, 1);
    EXPECT_TRUE(says(with(0, 0, 0), "2147483649 pixels are 4294967298 bytes"));
    set_12p();
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(YUV422));
    EXPECT_TRUE(says(with(0, 0, 0), "no direct way from BAY12 to YUV422\nwhy: BAY12 converts to"));
    fake().set(destination_handle, TBL_PARAMETER_FORMAT, TBL_FORMAT(BAY12));
    EXPECT_TRUE(says(with(0, 0, 0), "status 0: 12p becomes BAY12, 9 x 4 pixels"));
    fake().values.erase({source_handle, TBL_PARAMETER_ADDRESS});
    EXPECT_TRUE(says(explain(0), "the source has no memory"));
    TRW_Settings longer[2]{};
    longer[0].size = 7;
    EXPECT_TRUE(says(explain(0, longer), "the settings' size is 7"));
    longer[0].size = sizeof longer;
    longer[1].phase = 1;
    EXPECT_TRUE(says(explain(0, longer), "32 bytes, it knows 16 of them, and byte 28 is not 0"));
}

}  // namespace
