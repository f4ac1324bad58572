// Planned routes beside what TIL_Convert does.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "image/format/format.h"
#include "tests/image/exports/fake_buffers.h"
#include "trvil/raw.h"
#include "trvil/til.h"

namespace {

using test::destination_handle;
using test::fake;
using test::source_handle;

constexpr uint32_t methods[] = {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_AVE, TBL_BAYER_METHOD_MED};
constexpr uint32_t phases[] = {TBL_BAYER_PHASE_A, TBL_BAYER_PHASE_B, TBL_BAYER_PHASE_C,
                               TBL_BAYER_PHASE_D};

TRW_Route sized() {
    TRW_Route route{};
    route.size = sizeof route;
    return route;
}

std::string names(const TRW_Route& route) {
    std::string result;
    for (unsigned i = 0; i < 4 && route.format[i] != 0; ++i)
        result +=
            (i == 0 ? "" : " > ") + std::string(trv::find_whole_format(route.format[i])->name);
    return result;
}

// A picture of 16 x 2 pixels: whole groups of every packing.
class Routes : public ::testing::Test {
  protected:
    bool converts(uint32_t from, uint32_t to, uint32_t method, uint32_t phase) {
        fake() = {};
        fake().set_picture(source_handle, from, source_, 16, 2, 128);
        fake().set_picture(destination_handle, to, destination_, 16, 2, 144);
        fake().set(source_handle, TBL_PARAMETER_BAYER_METHOD, method);
        fake().set(source_handle, TBL_PARAMETER_BAYER_PHASE, phase);
        return TIL_Convert(source_handle, destination_handle) == TRV_STATUS_OK;
    }
    static std::string planned(uint32_t from, uint32_t to) {
        TRW_Route route = sized();
        TRW_PlanRoute(from, to, 0, 0, &route);
        return names(route);
    }

    alignas(64) uint8_t source_[512] = {}, destination_[512] = {};
};

TEST_F(Routes, SayByWhichMethodsConversionsGoStraight) {
    for (const trv::Format& from : trv::formats)
        for (const trv::Format& to : trv::formats)
            for (const uint32_t phase : phases) {
                TRW_Route route = sized();
                TRW_PlanRoute(whole_code(from), whole_code(to), 0, phase, &route);
                for (unsigned i = 0; i < 3; ++i)
                    ASSERT_EQ((route.direct >> i & 1) != 0,
                              converts(whole_code(from), whole_code(to), methods[i], phase))
                        << from.name << ' ' << to.name << ' ' << i << ' ' << phase;
            }
}

TEST_F(Routes, AreConversionsOneAfterTheOtherThatKeepThePicture) {
    unsigned count = 0;
    for (const trv::Format& from : trv::formats)
        for (const trv::Format& to : trv::formats) {
            TRW_Route route = sized();
            const uint32_t status = TRW_PlanRoute(whole_code(from), whole_code(to),
                                                  TBL_BAYER_METHOD_AVE, TBL_BAYER_PHASE_B, &route);
            SCOPED_TRACE(names(route));
            ASSERT_EQ(status != TRV_STATUS_OK, route.why != nullptr);
            if (status != TRV_STATUS_OK) {
                ASSERT_EQ(route.format[0], 0u);
                continue;
            }
            ASSERT_EQ(route.format[0], whole_code(from));
            ASSERT_EQ(route.format[route.steps], whole_code(to));
            if (route.steps == 0) continue;
            ++count;
            for (unsigned i = 0; i < route.steps; ++i) {
                ASSERT_TRUE(converts(route.format[i], route.format[i + 1], TBL_BAYER_METHOD_AVE,
                                     TBL_BAYER_PHASE_B));
                TRW_Route step = sized();
                ASSERT_EQ(TRW_PlanRoute(route.format[i], route.format[i + 1], 0, 0, &step),
                          TRV_STATUS_OK);
                ASSERT_EQ(step.remark, nullptr);
                ASSERT_EQ(step.steps, 1u);
            }
        }
    EXPECT_EQ(count, 782u);
}

TEST_F(Routes, AreTheShortestAndOfThoseTheBest) {
    EXPECT_EQ(planned(TBL_FORMAT(BAY10), TBL_FORMAT(BGR24)), "BAY10 > BGR24");
    EXPECT_EQ(planned(TBL_FORMAT(Mono12P), TBL_FORMAT(BGRX32)), "Mono12P > Mono12 > BGRX32");
    EXPECT_EQ(planned(TBL_FORMAT(BAY12P_D), TBL_FORMAT(RGB24)),
              "BAY12P_D > BAY12_D > BGR24 > RGB24");
    EXPECT_EQ(planned(TBL_FORMAT(BGR48_12), TBL_FORMAT(RGB16)), "BGR48_12 > BGR24 > RGB16");
    EXPECT_EQ(planned(TBL_FORMAT(RGB30), TBL_FORMAT(RGB48)), "RGB30 > BGR48 > RGB48");
    EXPECT_EQ(planned(TBL_FORMAT(RGB15), TBL_FORMAT(RGB15)), "RGB15");
    // There is a way by 8 bits, and one by 16 bits that makes the picture black.
    EXPECT_EQ(planned(TBL_FORMAT(BGR48_14), TBL_FORMAT(BGR48)), "");
    EXPECT_EQ(planned(TBL_FORMAT(RGBA64), TBL_FORMAT(RGB30)), "");
}

TEST_F(Routes, SayWhyThereIsNone) {
    TRW_Route route = sized();
    const auto why = [&](uint32_t from, uint32_t to, uint32_t method, uint32_t phase) {
        route = sized();
        EXPECT_EQ(TRW_PlanRoute(from, to, method, phase, &route), TRV_STATUS_UNSUPPORTED);
        return std::string(route.why);
    };
    EXPECT_NE(why(TBL_FORMAT(RGB15), TBL_FORMAT(BGR24), 0, 0).find("reads"), std::string::npos);
    EXPECT_NE(why(TBL_FORMAT(Mono8), TBL_FORMAT(YUV422), 0, 0).find("makes"), std::string::npos);
    EXPECT_NE(why(TBL_FORMAT(RGBA64), TBL_FORMAT(RGB30), 0, 0).find("keep"), std::string::npos);
    EXPECT_EQ(TRW_PlanRoute(TBL_FORMAT(BAY8), TBL_FORMAT(RGBX32), TBL_BAYER_METHOD_MED, 0, &route),
              TRV_STATUS_OK);
    EXPECT_EQ(route.direct, uint32_t{TRW_DIRECT_DUP});
    EXPECT_EQ(names(route), "BAY8 > BGR24 > RGBX32");
    EXPECT_EQ(TRW_PlanRoute(TBL_FORMAT(RGB30), TBL_FORMAT(RGB48), 0, 0, &route), TRV_STATUS_OK);
    EXPECT_STREQ(route.remark, "takes green and blue from the next pixel");
    for (const uint32_t wrong : {1u, 0x109u + 1, 0x10Au}) {
        TRW_Route untouched = route;
        EXPECT_EQ(TRW_PlanRoute(TBL_FORMAT(BAY8), TBL_FORMAT(BGR24), wrong, 0, &route),
                  TRV_STATUS_PARAMETER);
        EXPECT_EQ(untouched.remark, route.remark);
    }
    EXPECT_EQ(TRW_PlanRoute(0xFF, TBL_FORMAT(BGR24), 0, 0, &route), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_PlanRoute(TBL_FORMAT(BAY8), TBL_FORMAT(BGR24), 0, 0, nullptr),
              TRV_STATUS_PARAMETER);
}

}  // namespace
