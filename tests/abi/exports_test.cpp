// Every exported conversion under its own name, as a program that calls it directly: the table of
// kernels says which there are, and TIL_Convert and TIL_FieldToFrame, which are compared with the
// rules elsewhere, what they do.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>

#include "image/format/format.h"
#include "trvil/tbl.h"
#include "trvil/til.h"

namespace {

constexpr uint32_t width = 37, height = 8;

uint32_t code_of(const std::string& name) {
    for (const trv::Format& format : trv::formats)
        if (name == format.name) return trv::format_prefix + static_cast<uint32_t>(format.code);
    ADD_FAILURE() << name;
    return 0;
}

class Picture {
  public:
    Picture(uint32_t format, uint32_t lines) {
        EXPECT_EQ(TBS_BufferCreate(&handle, width, lines, format), 0u);
        uint32_t stride = 0;
        TBL_BufferParameterGet(handle, TBL_PARAMETER_STRIDE, &stride);
        TBL_BufferParameterGet(handle, TBL_PARAMETER_ADDRESS, &memory_);
        bytes_ = size_t{stride} * lines;
        std::memset(memory_, 0x5A, bytes_);
    }
    ~Picture() { TBS_BufferRelease(&handle); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    void scramble() {
        uint32_t state = 1;
        for (size_t i = 0; i < bytes_; ++i) {
            state = state * 1664525 + 1013904223;
            memory_[i] = static_cast<uint8_t>(state >> 24);
        }
    }
    std::string bytes() const { return {reinterpret_cast<char*>(memory_), bytes_}; }

    uint64_t handle = 0;

  private:
    uint8_t* memory_ = nullptr;
    size_t bytes_ = 0;
};

void* door(const std::string& name) {
    void* address = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(address, nullptr) << name;
    return address;
}

std::string through_convert(const Picture& from, uint32_t to_code) {
    const Picture to(to_code, height);
    EXPECT_EQ(TIL_Convert(from.handle, to.handle), 0u);
    return to.bytes();
}

std::string through_door(const std::string& name, const Picture& from, uint32_t to_code,
                         bool deep) {
    const Picture to(to_code, height);
    void* address = door(name);
    const uint32_t status = deep ? reinterpret_cast<decltype(&TIL_BAYn_to_BGR24_dup_A)>(address)(
                                       from.handle, to.handle, 12)
                                 : reinterpret_cast<decltype(&TIL_BAY8_to_BGR24_dup_A)>(address)(
                                       from.handle, to.handle);
    EXPECT_EQ(status, 0u) << name;
    return to.bytes();
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
        const uint32_t to = code_of(output);
        Picture from(deep ? TBL_FORMAT(BAY12) : TBL_FORMAT(BAY8), height);
        from.scramble();
        TBS_BufferParameterSet(from.handle, TBL_PARAMETER_BAYER_METHOD, method);
        TBS_BufferParameterSet(from.handle, TBL_PARAMETER_BAYER_PHASE,
                               TBL_BAYER_PHASE_A + (static_cast<uint32_t>(phase - 'A') << 8));
        EXPECT_TRUE(through_door(name, from, to, deep) == through_convert(from, to)) << name;
    }
    EXPECT_EQ(std::size(kernels), 81u);
}

TEST(Exports, OfFieldMethodsAreTheEntrysMethods) {
    const char* const names[] = {"TIL_FieldToFrame_LineDup", "TIL_FieldToFrame_LineAve",
                                 "TIL_FieldToFrame_Bilinear", "TIL_FieldToFrame_Median"};
    for (uint32_t method = 0; method < 4; ++method)
        for (const uint32_t flag : {0u, 1u}) {
            Picture from(TBL_FORMAT(BGR24), height);
            from.scramble();
            const Picture entry(TBL_FORMAT(BGR24), 2 * height), own(TBL_FORMAT(BGR24), 2 * height);
            EXPECT_EQ(TIL_FieldToFrame(from.handle, entry.handle, method, flag), 0u);
            void* address = door(names[method]);
            EXPECT_EQ(reinterpret_cast<decltype(&TIL_FieldToFrame_LineDup)>(address)(
                          from.handle, own.handle, flag),
                      0u);
            EXPECT_TRUE(own.bytes() == entry.bytes()) << names[method];
        }
}

}  // namespace
