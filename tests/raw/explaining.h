// Two pictures that TIL_Convert and TRW_Explain are asked about.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/image/exports/fake_buffers.h"
#include "trvil/raw.h"

namespace test {

struct Explained {
    uint32_t status;
    std::string text;

    bool says(const char* words) const { return text.find(words) != std::string::npos; }
};

// What TIL_Convert would do, or for a packing TRW_Unpack.
inline Explained explain(uint32_t packing = 0) {
    std::vector<char> text(TRW_EXPLAIN_BYTES, '#');
    Explained result;
    result.status =
        TRW_Explain(source_handle, packing, destination_handle, text.data(), text.size());
    result.text = text.data();
    EXPECT_LT(result.text.size() + 1, text.size()) << result.text;
    EXPECT_EQ(result.text.rfind("status " + std::to_string(result.status) + ": ", 0), 0u)
        << result.text;
    return result;
}

struct Shape {
    uint32_t width, height, stride;
};

// Where pictures begin in the memory of both sides, so that nothing leaves it.
constexpr size_t middle = 8192;

class Explaining : public ::testing::Test {
  protected:
    Explaining() : source_(2 * middle), destination_(2 * middle) {}
    void SetUp() override { fake() = {}; }

    void set(uint64_t handle, uint32_t format, const Shape& s, uint8_t* memory) {
        fake().set_picture(handle, format, memory, s.width, s.height, s.stride);
    }
    void set_pair(uint32_t from, const Shape& s, uint32_t to, const Shape& d) {
        fake() = {};
        set(source_handle, from, s, source_.data() + middle);
        set(destination_handle, to, d, destination_.data() + middle);
    }

    std::vector<uint8_t> source_, destination_;
};

}  // namespace test
