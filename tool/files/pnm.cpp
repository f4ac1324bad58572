#include "tool/files/pnm.h"

#include "tool/files/lines.h"

namespace trv::tool {

void write_pnm(const Frame& frame, FILE* file) {
    PictureLines lines(frame);
    const Geometry& g = frame.geometry();
    std::fprintf(file, "P%c\n%u %u\n%u\n", lines.is_grey() ? '5' : '6', g.width, g.height,
                 (1u << lines.bits()) - 1);
    // Errors stick to the stream; the caller looks at it when it closes it.
    for (uint32_t y = 0; y < g.height; ++y) std::fwrite(lines.get(y), 1, lines.bytes(), file);
}

}  // namespace trv::tool
