// Many inputs at a time.
#include <gtest/gtest.h>

#include "tests/tool/run.h"

namespace trv::test {
namespace {

class Batch : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(folder.trvil("sample -s 400x300 -f BAY8 -o 0.raw").exit, 0);
        ASSERT_EQ(folder.shell("mkdir out; for i in 1 2 3 4 5; do cp 0.raw $i.raw; done").exit, 0);
    }
    Folder folder;
};

const std::string convert = "convert -s 400x300 -f BAY8 ";

TEST_F(Batch, GivesTheSameFilesAtATimeAsOneByOne) {
    ASSERT_EQ(folder.trvil(convert + "*.raw -o 'out/{name}.ppm'").exit, 0);
    ASSERT_EQ(
        folder.shell("mkdir more; trvil " + convert + "--jobs 4 --threads 6 --as ppm *.raw -o more")
            .exit,
        0);
    const Result result = folder.shell("diff -r out more && ls more | wc -l");
    EXPECT_EQ(result.exit, 0) << result.out;
    EXPECT_EQ(result.out, "6\n");
}

TEST_F(Batch, GoesOnWhereSomeFailAndSaysWhich) {
    const Result result = folder.shell("echo short >3.raw; trvil " + convert +
                                       "--jobs 3 0.raw gone.raw 3.raw 4.raw -o out/");
    EXPECT_EQ(result.exit, 4);
    for (const char* words : {"gone.raw", "No such file", "3.raw is too short",
                              "2 of 4 inputs failed", "they are gone.raw, 3.raw"})
        EXPECT_NE(result.err.find(words), std::string::npos) << words << "\nin\n" << result.err;
    EXPECT_EQ(folder.shell("ls -A out").out, "0.png\n4.png\n");
}

}  // namespace
}  // namespace trv::test
