// The same as first.c in C++: buffers release themselves, and what fails says why.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <vector>

#include <trvil/buffer.hpp>

int main() try {
    std::vector<uint16_t> raw(640 * 480);  // a mosaic RGGB of 10 bits, as a camera leaves it
    for (size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<uint16_t>(i % 640 + i / 1280);

    auto mosaic = trvil::Buffer::wrap(std::span(raw), 640, 480, trvil::Format::BAY10);
    mosaic.phase(trvil::Phase::rggb);
    mosaic.method(trvil::Method::med);
    const auto picture = trvil::convert(mosaic, trvil::Format::BGR24);
    trvil::write(picture, "buffer.tif");

    const auto detail = picture.view(320, 240, 8, 8);  // a rectangle, without a copy
    std::printf("its first pixel is blue %d, green %d, red %d\n", int(detail.memory()[0]),
                int(detail.memory()[1]), int(detail.memory()[2]));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
