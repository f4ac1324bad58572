// Names of other systems, against what the systems' own headers and rules say.
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <cstring>
#include <string>
#include <vector>

#include "image/format/format.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

namespace {

TRW_Reading sized() {
    TRW_Reading reading{};
    reading.size = sizeof reading;
    return reading;
}

TRW_Reading found(const std::string& name) {
    TRW_Reading reading = sized();
    EXPECT_EQ(TRW_FindName(name.c_str(), &reading), TRV_STATUS_OK) << name;
    return reading;
}

std::string refused(const std::string& name) {
    TRW_Reading reading = sized();
    EXPECT_EQ(TRW_FindName(name.c_str(), &reading), TRV_STATUS_UNSUPPORTED) << name;
    return reading.why == nullptr ? "" : reading.why;
}

std::vector<TRW_Reading> all() {
    std::vector<TRW_Reading> list;
    for (TRW_Reading reading = sized();
         TRW_NameAt(static_cast<uint32_t>(list.size()), &reading) == TRV_STATUS_OK;)
        list.push_back(reading);
    return list;
}

std::string prefixed(const TRW_Reading& reading) {
    return std::string(reading.system_name) + ":" + reading.name;
}

bool mean_the_same(const TRW_Reading& one, const TRW_Reading& other) {
    return one.format == other.format && one.packing == other.packing && one.phase == other.phase;
}

// Bits of memory that a pixel takes.
double stored_bits(const TRW_Reading& reading) {
    if (reading.packing == 0) return trv::find_whole_format(reading.format)->stored;
    TRW_PackingInfo info{};
    info.size = sizeof info;
    EXPECT_EQ(TRW_PackingInfoGet(reading.packing, 0, 1, &info), TRV_STATUS_OK);
    return 8.0 * info.group_bytes / info.group_pixels;
}

TEST(Names, AreFoundByThemselvesAndByWhatTheyMean) {
    const auto list = all();
    ASSERT_GT(list.size(), 200u);
    for (const TRW_Reading& reading : list) {
        SCOPED_TRACE(prefixed(reading));
        TRW_Reading other = sized();
        const uint32_t status = TRW_FindName(prefixed(reading).c_str(), &other);
        EXPECT_EQ(status, reading.why == nullptr ? TRV_STATUS_OK : TRV_STATUS_UNSUPPORTED);
        EXPECT_STREQ(other.name, reading.name);
        EXPECT_TRUE(mean_the_same(reading, other));
        if (reading.code != 0) {
            other = sized();
            EXPECT_EQ(TRW_FindCode(reading.system, reading.code, &other), status);
            EXPECT_TRUE(mean_the_same(reading, other)) << other.name;
        }
        if (reading.format == 0) continue;
        other = sized();
        ASSERT_EQ(TRW_NameOf(reading.system, reading.format, reading.packing, 0, &other),
                  TRV_STATUS_OK);
        EXPECT_TRUE(mean_the_same(reading, other)) << other.name;
    }
}

// The format is one that the packing becomes, and the letter of a mosaic is its phase.
TEST(Names, SayReadingsThatThereAre) {
    for (const TRW_Reading& reading : all()) {
        if (reading.format == 0) continue;
        SCOPED_TRACE(prefixed(reading));
        const trv::Format* format = trv::find_whole_format(reading.format);
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(reading.phase != 0, format->family == trv::Family::bayer);
        if (reading.phase != 0) {
            EXPECT_EQ(reading.phase,
                      TBL_BAYER_PHASE_A + (static_cast<uint32_t>(format->phase) << 8));
        }
        if (reading.packing == 0) continue;
        TRW_PackingInfo info{};
        info.size = sizeof info;
        ASSERT_EQ(TRW_PackingInfoGet(reading.packing, 0, 1, &info), TRV_STATUS_OK);
        const trv::Format* becomes = trv::find_whole_format(info.format);
        EXPECT_EQ(format->significant, becomes->significant);
        EXPECT_EQ(format->stored, becomes->stored);
        EXPECT_EQ(format->family == trv::Family::yuv, becomes->family == trv::Family::yuv);
    }
}

// A PFNC value says how many colours there are, and the bits of memory of a pixel.
TEST(Names, HaveThePfncValuesOfTheirPixels) {
    unsigned count = 0;
    for (const TRW_Reading& reading : all()) {
        if (reading.system != TRW_SYSTEM_PFNC || reading.format == 0 || reading.code == 0) continue;
        SCOPED_TRACE(prefixed(reading));
        const trv::Family family = trv::find_whole_format(reading.format)->family;
        const bool one = family == trv::Family::grey || family == trv::Family::bayer;
        EXPECT_EQ(reading.code >> 24, one ? 1u : 2u);
        EXPECT_EQ(reading.code >> 16 & 0xFF, stored_bits(reading));
        ++count;
    }
    EXPECT_GT(count, 60u);
    const struct {
        uint32_t code;
        const char* name;
        uint32_t format, packing;
    } known[] = {{0x01080001, "Mono8", TBL_FORMAT(Mono8), 0},
                 {0x010C0006, "Mono12Packed", TBL_FORMAT(Mono12), TRW_PACKING_12Packed},
                 {0x010C002B, "BayerRG12Packed", TBL_FORMAT(BAY12_A), TRW_PACKING_12Packed},
                 {0x0108000B, "BayerBG8", TBL_FORMAT(BAY8_D), 0},
                 {0x010A0054, "BayerGB10p", TBL_FORMAT(BAY10P_C), 0},
                 {0x02180014, "RGB8", TBL_FORMAT(RGB24), 0},
                 {0x0210001F, "YUV422_8_UYVY", TBL_FORMAT(YUV422), TRW_PACKING_UYVY}};
    for (const auto& row : known) {
        TRW_Reading reading = sized();
        ASSERT_EQ(TRW_FindCode(TRW_SYSTEM_PFNC, row.code, &reading), TRV_STATUS_OK);
        EXPECT_STREQ(reading.name, row.name);
        EXPECT_EQ(reading.format, row.format);
        EXPECT_EQ(reading.packing, row.packing);
    }
}

TEST(Names, HaveTheFourccsOfTheKernel) {
    const struct {
        uint32_t fourcc, format, packing;
    } known[] = {{V4L2_PIX_FMT_GREY, TBL_FORMAT(Mono8), 0},
                 {V4L2_PIX_FMT_Y10, TBL_FORMAT(Mono10), 0},
                 {V4L2_PIX_FMT_Y16_BE, TBL_FORMAT(Mono16), TRW_PACKING_16be},
                 {V4L2_PIX_FMT_Y10BPACK, TBL_FORMAT(Mono10), TRW_PACKING_10pmsb},
                 {V4L2_PIX_FMT_Y10P, TBL_FORMAT(Mono10), TRW_PACKING_RAW10},
                 {V4L2_PIX_FMT_SBGGR8, TBL_FORMAT(BAY8_D), 0},
                 {V4L2_PIX_FMT_SGRBG10, TBL_FORMAT(BAY10_B), 0},
                 {V4L2_PIX_FMT_SRGGB12, TBL_FORMAT(BAY12_A), 0},
                 {V4L2_PIX_FMT_SGRBG14, TBL_FORMAT(BAY14_B), 0},
                 {V4L2_PIX_FMT_SBGGR16, TBL_FORMAT(BAY16_D), 0},
                 {V4L2_PIX_FMT_SRGGB10P, TBL_FORMAT(BAY10_A), TRW_PACKING_RAW10},
                 {V4L2_PIX_FMT_SGRBG10P, TBL_FORMAT(BAY10_B), TRW_PACKING_RAW10},
                 {V4L2_PIX_FMT_SGBRG10P, TBL_FORMAT(BAY10_C), TRW_PACKING_RAW10},
                 {V4L2_PIX_FMT_SGBRG12P, TBL_FORMAT(BAY12_C), TRW_PACKING_RAW12},
                 {V4L2_PIX_FMT_SGRBG14P, TBL_FORMAT(BAY14_B), TRW_PACKING_RAW14},
                 {V4L2_PIX_FMT_IPU3_SGRBG10, TBL_FORMAT(BAY10_B), TRW_PACKING_10ipu3},
                 {V4L2_PIX_FMT_IPU3_SGBRG10, TBL_FORMAT(BAY10_C), TRW_PACKING_10ipu3},
                 {V4L2_PIX_FMT_RGB565, TBL_FORMAT(RGB16), 0},
                 {V4L2_PIX_FMT_XRGB555, TBL_FORMAT(RGB15), 0},
                 {V4L2_PIX_FMT_BGR24, TBL_FORMAT(BGR24), 0},
                 {V4L2_PIX_FMT_XBGR32, TBL_FORMAT(BGRX32), 0},
                 {V4L2_PIX_FMT_RGBX32, TBL_FORMAT(RGBX32), 0},
                 {V4L2_PIX_FMT_BGRX32, TBL_FORMAT(XBGR32), 0},
                 {V4L2_PIX_FMT_XRGB32, TBL_FORMAT(XRGB32), 0},
                 {V4L2_PIX_FMT_YUYV, TBL_FORMAT(YUV422), 0},
                 {V4L2_PIX_FMT_VYUY, TBL_FORMAT(YUV422), TRW_PACKING_VYUY}};
    for (const auto& row : known) {
        TRW_Reading reading = sized();
        EXPECT_EQ(TRW_FindCode(TRW_SYSTEM_V4L2, row.fourcc, &reading), TRV_STATUS_OK);
        EXPECT_EQ(reading.format, row.format) << reading.name;
        EXPECT_EQ(reading.packing, row.packing) << reading.name;
    }
    EXPECT_EQ(found("v4l2:y16-be").code, V4L2_PIX_FMT_Y16_BE);
}

TEST(Names, CountCapitalsWhereTheyMatter) {
    EXPECT_EQ(found("pgAA").format, TBL_FORMAT(BAY10_B));
    EXPECT_EQ(found("pGAA").format, TBL_FORMAT(BAY10_C));
    EXPECT_EQ(found("PRAA").format, TBL_FORMAT(BAY10_A));
    EXPECT_EQ(found("V4L2:grey").format, TBL_FORMAT(Mono8));
    EXPECT_EQ(found("uyvy").packing, TRW_PACKING_UYVY);
    EXPECT_NE(refused("PGAA").find("different pixels"), std::string::npos);
}

TEST(Names, OfWhichSystemsDisagreeWantAPrefix) {
    for (const char* name : {"RGB16", "BGR16", "BayerBG"}) {
        TRW_Reading reading = sized();
        EXPECT_EQ(TRW_FindName(name, &reading), TRV_STATUS_UNSUPPORTED);
        EXPECT_STREQ(reading.name, name);
        EXPECT_EQ(reading.system, 0u);
    }
    EXPECT_EQ(found("pfnc:RGB16").format, TBL_FORMAT(RGB48));
    EXPECT_EQ(found("gst:RGB16").format, TBL_FORMAT(RGB16));
    EXPECT_EQ(found("opencv:BayerBG").phase, TBL_BAYER_PHASE_A);
    EXPECT_EQ(found("pfnc:BayerBG").phase, TBL_BAYER_PHASE_D);
    EXPECT_EQ(found("opencv:BayerBG").format, 0u);
}

TEST(Names, OfOtherPixelsAndOfNothingAreRefused) {
    EXPECT_NE(refused("RGB10p32").find("12 of green"), std::string::npos);
    EXPECT_NE(refused("v4l2:RGBR").find("high byte first"), std::string::npos);
    for (const char* name : {"RGB51", "vl42:RG10", "opencv:RGGB", "", ":", "pfnc:"}) {
        TRW_Reading reading = sized();
        EXPECT_EQ(TRW_FindName(name, &reading), TRV_STATUS_UNSUPPORTED) << name;
        EXPECT_EQ(reading.name, nullptr) << name;
        EXPECT_NE(reading.why, nullptr);
    }
    TRW_Reading reading = sized();
    EXPECT_EQ(TRW_FindCode(TRW_SYSTEM_PFNC, 0, &reading), TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(TRW_FindCode(TRW_SYSTEM_END, 0x01080001, &reading), TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(TRW_NameOf(TRW_SYSTEM_PFNC, TBL_FORMAT(BAY8), 0, 0, &reading),
              TRV_STATUS_UNSUPPORTED);
    EXPECT_EQ(TRW_NameOf(TRW_SYSTEM_PFNC, TBL_FORMAT(BAY8), 0, TBL_BAYER_PHASE_B, &reading),
              TRV_STATUS_OK);
    EXPECT_STREQ(reading.name, "BayerGR8");
}

TEST(Names, WriteNoMoreOfARecordThanItHas) {
    std::vector<unsigned char> bytes(sizeof(TRW_Reading) + 8, 0xEE);
    auto* reading = reinterpret_cast<TRW_Reading*>(bytes.data());
    for (const uint32_t size : {8u, 12u, 20u, 24u}) {
        std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0xEE));
        reading->size = size;
        EXPECT_EQ(TRW_FindName("Mono12Packed", reading), TRV_STATUS_OK);
        EXPECT_EQ(reading->size, size);
        for (size_t i = size; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], 0xEE) << i;
    }
    reading->size = 7;
    EXPECT_EQ(TRW_FindName("Mono8", reading), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_FindCode(TRW_SYSTEM_PFNC, 1, reading), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_NameOf(TRW_SYSTEM_PFNC, 1, 0, 0, reading), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_NameAt(0, reading), TRV_STATUS_PARAMETER);
    reading->size = sizeof *reading;
    EXPECT_EQ(TRW_FindName(nullptr, reading), TRV_STATUS_PARAMETER);
    EXPECT_EQ(TRW_FindName("Mono8", nullptr), TRV_STATUS_PARAMETER);
}

}  // namespace
