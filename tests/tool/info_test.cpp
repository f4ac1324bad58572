// What the tool tells about pictures, builds, conversions and itself.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/tool/run.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::test {
namespace {

using Json = nlohmann::json;

class Info : public testing::Test {
  protected:
    Json ask(const std::string& words) const {
        const Result result = folder.trvil(words + " --json");
        EXPECT_EQ(result.exit, 0) << result.err;
        return result.exit == 0 ? Json::parse(result.out) : Json();
    }
    Folder folder;
};

std::string words(std::initializer_list<unsigned> samples) {
    std::string bytes;
    for (const unsigned sample : samples) {
        bytes += static_cast<char>(sample & 0xFF);
        bytes += static_cast<char>(sample >> 8);
    }
    return bytes;
}

TEST_F(Info, CountsEverySiteOfAMosaic) {
    folder.write("m.raw", words({4, 1023, 8, 1024, 0, 12, 1023, 0}));
    const Json planes = ask("info -s 4x2 -f BAY10 --phase GRBG m.raw")["planes"];
    ASSERT_EQ(planes.size(), 4u);
    const Json &green = planes[0], &red = planes[1], &blue = planes[2];
    EXPECT_EQ(green["name"], "Gr");
    EXPECT_EQ(green["mean"], 6.0);
    EXPECT_EQ(green["bits_set"], 12);
    EXPECT_EQ(red["name"], "R");
    EXPECT_EQ(red["saturated"], 1);
    EXPECT_EQ(red["above_depth"], 1);
    EXPECT_EQ(red["maximum"], 1024);
    EXPECT_EQ(blue["name"], "B");
    EXPECT_EQ(blue["zero"], 1);
    const Result text = folder.trvil("info -s 4x2 -f BAY10 --phase GRBG m.raw");
    EXPECT_NE(text.out.find("16 bytes, which is all of it"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("2-3"), std::string::npos) << text.out;
}

// Samples of every packing, told apart by their own bytes: 1 and 2 as first pixels.
TEST_F(Info, ReadsSamplesWhereverTheyLie) {
    struct Case {
        const char *format, *bytes;
        size_t length;
        std::vector<unsigned> means;
    };
    const Case cases[] = {{"Mono12P", "\x01\x30\x00", 3, {2}},
                          {"Mono12MP", "\x00\x10\x03", 3, {2}},
                          {"YUV422", "\x0A\x14\x0C\x1E", 4, {11, 20, 30}},
                          {"RGB16", "\x45\x10\x45\x10", 4, {2, 2, 5}},
                          {"XBGR32", "\xFF\x01\x02\x03\xFF\x01\x02\x03", 8, {1, 2, 3}},
                          {"RGBA32", "\x01\x02\x03\x04\x01\x02\x03\x04", 8, {1, 2, 3, 4}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.format);
        folder.write("d.raw", std::string(c.bytes, c.length));
        const Json planes = ask(std::string("info -s 2x1 d.raw -f ") + c.format)["planes"];
        ASSERT_EQ(planes.size(), c.means.size());
        for (size_t i = 0; i < planes.size(); ++i) EXPECT_EQ(planes[i]["mean"], c.means[i]) << i;
    }
}

TEST_F(Info, ReadsPicturesAndDrawsHistograms) {
    ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o m.raw --true t.png").exit, 0);
    ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o n.raw --true t.ppm").exit, 0);
    const Json png = ask("info t.png --histogram h.png"), ppm = ask("info t.ppm");
    EXPECT_EQ(png["format"], "RGB24");
    EXPECT_EQ(png["planes"], ppm["planes"]);
    EXPECT_GT(png["planes"][0]["saturated"], 0);
    EXPECT_GT(folder.read_png("h.png").height, 300u);
    const Result broken = folder.shell("head -c 100 t.png >cut.png; trvil info cut.png");
    EXPECT_EQ(broken.exit, 4);
    EXPECT_NE(broken.err.find("cannot read the picture"), std::string::npos) << broken.err;
}

TEST_F(Info, OfTheBuildNamesALevelThatTheMachineHas) {
    const Json build = ask("info --build");
    EXPECT_EQ(build["version"], TRVIL_VERSION);
    EXPECT_EQ(build["levels"].back(), build["level"]);
    const bool wide = folder.shell("grep -qw avx512_vbmi2 /proc/cpuinfo").exit == 0;
    EXPECT_TRUE(!wide || build["level"] == "v4") << build;
    EXPECT_NE(build["library"].get<std::string>().find("libtrvilx64.so"), std::string::npos);
}

TEST_F(Info, RefusesWithAWayOut) {
    folder.write("a.raw", std::string(3072, 'x'));
    struct Case {
        const char* words;
        int exit;
        const char* text;
    };
    for (const Case& c :
         {Case{"info a.raw", 2, "trvil guess a.raw"}, Case{"info", 2, "--build"},
          Case{"info -s 64x48 a.raw", 2, "belong together"},
          Case{"info -s 64x48 -f Mono8 --phase RGGB a.raw", 2, "not a mosaic"},
          Case{"info -s 64x48 -f BAY10 a.raw", 4, "too short"},
          Case{"info -s 64x48 -f BAY8 a.raw --histogram a.tif", 2, ".png"},
          Case{"guess a.raw -o -", 2, "PNG file"}, Case{"help fromats", 2, "formats"},
          Case{"bench -s 64x48 -f Mono8 -t BGR24 -m ave", 2, "not a mosaic"},
          Case{"bench -s 64x48 -f BAY8 -t BAY8", 2, "nothing to measure"},
          Case{"bench -s 64x48 -f BAY8 -t Mono8", 3, "no way"},
          Case{"bench -s 64x48 -f 12p -t BGR24 -m ave", 2, "not a mosaic"},
          Case{"bench -s 64x48 -f YUV422 -t BGR24 --settings none.json", 4, "none.json"},
          Case{"bench -s 64x48 -f BAY12 -t YUV422 --settings /dev/null", 2, "/dev/null"}}) {
        SCOPED_TRACE(c.words);
        const Result result = folder.trvil(c.words);
        EXPECT_EQ(result.exit, c.exit);
        EXPECT_NE(result.err.find(c.text), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.raw"});
}

TEST_F(Info, IsJsonThatOtherProgramsRead) {
    ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o m.raw").exit, 0);
    folder.write("s.json", R"({"black": "64", "wb": "2,1,1.5", "curve": "srgb"})");
    for (const std::string command :
         {"info --build", "info -s 64x48 -f BAY8 m.raw", "guess m.raw", "formats", "routes",
          "routes BAY8", "routes Mono12P BGRX32", "phase -s 64x48 -f BAY8 m.raw",
          "bench -s 64x48 -f BAY8 -t BGR24 --rounds 3 --threads 2",
          "bench -s 63x47 -f 10p -t Mono10 --rounds 3",
          "bench -s 64x48 -f 12Packed --phase B -m gradient -t BGRX32 --rounds 3",
          "bench -s 63x48 -f BAY12P_A -t RGB48 --rounds 3",
          "bench -s 64x48 -f 12p --phase C -t RGB48 --settings s.json --rounds 3"}) {
        const Result result =
            folder.shell("trvil " + command + " --json | /usr/bin/python3 -m json.tool >/dev/null");
        EXPECT_EQ(result.exit, 0) << command << result.err;
    }
    const Json formats = ask("formats");
    EXPECT_EQ(formats["formats"].size(), 74u);
    EXPECT_EQ(formats["packings"].size(), TRW_PACKING_END - 1u);
    EXPECT_EQ(ask("routes BAY8 BGR24")[0]["methods_by_phase"]["RGGB"],
              (Json{"dup", "ave", "med", "gradient"}));
}

}  // namespace
}  // namespace trv::test
