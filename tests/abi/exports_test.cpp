// Every exported conversion under its own name, as a program that calls it directly: the table of
// kernels says which there are, and TIL_Convert and TIL_FieldToFrame, which are compared with the
// rules elsewhere, what they do.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>

#include "tests/buffers.h"
#include "trvil/til.h"

namespace {

constexpr uint32_t width = 37, height = 8;

using test::Buffer;
using trvil::Format;

size_t bytes_of(const Buffer& buffer) {
    return size_t{buffer.stride()} * buffer.height();
}

Buffer blank(Format format, uint32_t lines) {
    Buffer made = Buffer::create(width, lines, format);
    std::memset(made.memory(), 0x5A, bytes_of(made));
    return made;
}

Buffer noise(Format format) {
    Buffer made = Buffer::create(width, height, format);
    uint32_t state = 1;
    for (size_t i = 0; i < bytes_of(made); ++i) {
        state = state * 1664525 + 1013904223;
        made.memory()[i] = static_cast<std::byte>(state >> 24);
    }
    return made;
}

std::string text_of(const Buffer& buffer) {
    return {reinterpret_cast<const char*>(buffer.memory()), bytes_of(buffer)};
}

void* entry(const std::string& name) {
    void* address = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(address, nullptr) << name;
    return address;
}

std::string through_convert(const Buffer& from, Format format) {
    const Buffer to = blank(format, height);
    EXPECT_EQ(TIL_Convert(from.handle(), to.handle()), 0u);
    return text_of(to);
}

std::string through_entry(const std::string& name, const Buffer& from, Format format, bool deep) {
    const Buffer to = blank(format, height);
    void* address = entry(name);
    const uint32_t status = deep ? reinterpret_cast<decltype(&TIL_BAYn_to_BGR24_dup_A)>(address)(
                                       from.handle(), to.handle(), 12)
                                 : reinterpret_cast<decltype(&TIL_BAY8_to_BGR24_dup_A)>(address)(
                                       from.handle(), to.handle());
    EXPECT_EQ(status, 0u) << name;
    return text_of(to);
}

struct Kernel {
    const char* name;
    const char* output;
    char input, phase;
    uint32_t method;
};

constexpr uint32_t dup = TBL_BAYER_METHOD_DUP, ave = TBL_BAYER_METHOD_AVE,
                   med = TBL_BAYER_METHOD_MED;

const Kernel kernels[] = {
#define TRV_KERNEL(input, output, method, phase) \
    {"TIL_" #input "_to_" #output "_" #method "_" #phase, #output, #input[3], *#phase, method},
#include "image/format/members.inc"
};

TEST(Exports, OfMosaicsAreWhatTheirNamesSay) {
    for (const auto& [name, output, input, phase, method] : kernels) {
        const bool deep = input == 'n';
        const Format to = test::public_format(test::format_named(output));
        Buffer from = noise(deep ? Format::BAY12 : Format::BAY8);
        from.method(trvil::Method{method});
        from.phase(trvil::Phase{TBL_BAYER_PHASE_A + (static_cast<uint32_t>(phase - 'A') << 8)});
        EXPECT_TRUE(through_entry(name, from, to, deep) == through_convert(from, to)) << name;
    }
    EXPECT_EQ(std::size(kernels), 81u);
}

TEST(Exports, OfFieldMethodsAreTheEntrysMethods) {
    const char* const names[] = {"TIL_FieldToFrame_LineDup", "TIL_FieldToFrame_LineAve",
                                 "TIL_FieldToFrame_Bilinear", "TIL_FieldToFrame_Median"};
    for (uint32_t method = 0; method < 4; ++method)
        for (const uint32_t flag : {0u, 1u}) {
            const Buffer from = noise(Format::BGR24);
            const Buffer by_number = blank(Format::BGR24, 2 * height);
            const Buffer by_name = blank(Format::BGR24, 2 * height);
            EXPECT_EQ(TIL_FieldToFrame(from.handle(), by_number.handle(), method, flag), 0u);
            void* address = entry(names[method]);
            EXPECT_EQ(reinterpret_cast<decltype(&TIL_FieldToFrame_LineDup)>(address)(
                          from.handle(), by_name.handle(), flag),
                      0u);
            EXPECT_TRUE(text_of(by_name) == text_of(by_number)) << names[method];
        }
}

}  // namespace
