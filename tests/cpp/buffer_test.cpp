// The C++ face: owners that let go exactly once, and errors where the C calls keep quiet.
#include "trvil/buffer.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <vector>

namespace {

using trvil::Buffer;
using trvil::Format;

void count(void* context, void*) {
    ++*static_cast<int*>(context);
}

template <class Call>
uint32_t status_of(Call call) {
    try {
        call();
    } catch (const trvil::Error& error) {
        EXPECT_EQ(std::string(error.what()).rfind("trvil: cannot ", 0), 0u) << error.what();
        return error.status();
    }
    return TRV_STATUS_OK;
}

TEST(BufferClass, TheLastOwnerLetsGoOnce) {
    std::array<uint8_t, 64> memory{};
    int gone = 0;
    Buffer kept;
    {
        Buffer first =
            Buffer::wrap(memory.data(), memory.size(), 8, 8, Format::Mono8, 0, count, &gone);
        Buffer second = first.share();
        Buffer moved = std::move(first);
        EXPECT_FALSE(first);
        kept = moved.view(2, 2, 4, 4);
        kept = kept.view(1, 1, 2, 2);  // lets go of the view before
        second = std::move(moved);     // and this of the second owner
    }
    EXPECT_EQ(gone, 0);
    EXPECT_EQ(kept.memory(), reinterpret_cast<std::byte*>(&memory[27]));
    uint64_t handle = kept.detach();
    EXPECT_FALSE(kept);
    Buffer::adopt(handle);
    EXPECT_EQ(gone, 1);
}

TEST(BufferClass, MisuseIsRefusedAndTakesNothingFromOthers) {
    int gone = 0;
    std::array<uint8_t, 64> memory{};
    Buffer buffer = Buffer::wrap(memory.data(), 64, 8, 8, Format::Mono8, 0, count, &gone);
    Buffer& same = buffer;
    buffer = std::move(same);
    buffer.swap(same);
    EXPECT_EQ(buffer.width(), 8u);
    const uint64_t stale = buffer.handle();
    Buffer moved = std::move(buffer);
    for (const auto& use : {std::function<void()>([&] { buffer.memory(); }),
                            {[&] { buffer.view(0, 0, 1, 1); }},
                            {[&] { buffer.phase(trvil::Phase::rggb); }},
                            {[&] { trvil::convert(buffer, moved); }},
                            {[&] { trvil::write(buffer, "/dev/null"); }}})
        EXPECT_EQ(status_of(use), TRV_STATUS_PARAMETER);
    moved = Buffer();
    EXPECT_EQ(gone, 1);
    const Buffer next = Buffer::create(4, 4, Format::Mono8);
    EXPECT_EQ(status_of([&] { Buffer::adopt(stale).width(); }), TRV_STATUS_PARAMETER);
    EXPECT_TRUE(next.width() == 4 && gone == 1);
}

TEST(BufferClass, CopiesIntoARectangleAndNoFurther) {
    for (const Format format : {Format::Mono8, Format::Mono16, Format::BGRX32, Format::BGR24}) {
        Buffer whole = Buffer::create(8, 4, format), source = Buffer::create(8, 4, format);
        const size_t pixel = trvil::facts(format).stored / 8;
        for (uint32_t y = 0; y < 4; ++y) std::memset(source.memory(y), 1, 8 * pixel);
        Buffer middle = whole.view(2, 1, 3, 2);
        trvil::convert(source.view(0, 0, 3, 2), middle);
        for (uint32_t y = 0; y < 4; ++y)
            for (size_t x = 0; x < 8 * pixel; ++x) {
                const bool inside = y >= 1 && y < 3 && x >= 2 * pixel && x < 5 * pixel;
                ASSERT_EQ(whole.memory(y)[x], std::byte{inside}) << y << " " << x;
            }
    }
}

TEST(BufferClass, RefusalsSayWhyAndChangeNothing) {
    const Buffer grey = Buffer::create(4, 4, Format::Mono16),
                 one = Buffer::create(4, 1, Format::BAY8);
    Buffer low = Buffer::create(4, 3, Format::BGRX32),
           narrow = Buffer::create(3, 4, Format::BGRX32);
    Buffer none;
    // The C call answers the first and the third of these with success, and writes nothing or too
    // far.
    EXPECT_EQ(status_of([&] { trvil::convert(grey, low); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::convert(grey, narrow); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::convert(one, Format::BGR24); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::convert(none, low); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::convert(grey, none); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::convert(low, Format::YUV422); }), TRV_STATUS_UNSUPPORTED);

    EXPECT_EQ(status_of([] { Buffer::create(0, 4, Format::Mono8); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([] { Buffer::create(4, 4, Format{7}); }), TRV_STATUS_UNSUPPORTED);
    std::array<uint8_t, 15> small{};
    EXPECT_EQ(status_of([&] { Buffer::wrap(std::span(small), 4, 4, Format::Mono8); }),
              TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { grey.view(1, 1, 4, 4); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { none.share(); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { none.width(); }), TRV_STATUS_PARAMETER);
    EXPECT_EQ(status_of([&] { trvil::write(grey, "/no/such/folder/picture.tif"); }),
              TRV_STATUS_FILE_OPEN);
    EXPECT_EQ(status_of([&] { trvil::write(low, "/dev/null"); }), TRV_STATUS_TIFF_FORMAT);
}

}  // namespace
