#include "image/exports/kernel.h"

#include "image/dispatch/run.h"
#include "trvil/status.h"

namespace trv::bayer {
namespace {

// The order of the queries is part of the contract with the buffer library.
Image read_image(const Buffer& source, const Buffer& destination, uint32_t bits) {
    Image image{};
    image.source = source.address();
    image.source_stride = source.stride();
    image.destination_stride = destination.stride();
    image.destination = destination.address();
    image.height = source.height();
    image.width = source.width();
    image.bits = bits;
    return image;
}

}  // namespace

uint32_t run(const Level& level, const Kernel& kernel, Handle source, Handle destination,
             uint32_t bits) {
    const Buffer from(source), to(destination);
    if (!from.present() || !to.present()) return TRV_STATUS_PARAMETER;
    const bool deep = kernel.input == Input::BAYn;
    if (deep && bits == 8) return TRV_STATUS_PARAMETER;
    Image image = read_image(from, to, deep ? bits : 8);
    convert_lines(level, kernel, image, {0, image.height});
    return TRV_STATUS_OK;
}

}  // namespace trv::bayer
