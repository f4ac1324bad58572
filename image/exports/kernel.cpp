#include "image/exports/kernel.h"

#include "image/bayer/frame.h"

namespace trv::bayer {
namespace {

// Red and blue change places: the same kernel serves two layouts.
bool is_exchanged(Output output) {
    return output == Output::BGR16 || output == Output::RGBX32;
}

SpanLayout span_layout(Output output) {
    if (output == Output::BGR24) return bgr24;
    return output == Output::RGB16 || output == Output::BGR16 ? rgb16 : bgrx32;
}

Mosaic mosaic_of(const Kernel& kernel) {
    const bool first_row_red = kernel.phase == Phase::A || kernel.phase == Phase::B;
    return {{kernel.phase == Phase::B || kernel.phase == Phase::C,
             first_row_red != is_exchanged(kernel.output)},
            kernel.phase == Phase::B};
}

// Stores under a mask, which keep the pad byte of four, may be slow where they cross cache lines,
// and for large pictures anywhere: loads that blend bring the destination into the core.
Memory memory_of(const MemoryPolicy& policy, uint64_t written, uint64_t all, bool masked) {
    const bool is_large = policy.outgrows_core(written), is_far = policy.outgrows_caches(all);
    return {.fetch_distance = policy.distance(all),
            .by_fallback = !policy.masks_freely && (masked ? is_large : is_far),
            .aligned_stores = !policy.masks_freely && (masked || is_large)};
}

Image read_image(const Kernel& kernel, const Buffer& source, const Buffer& destination,
                 uint32_t bits, const MemoryPolicy& memory) {
    Image image{};
    image.source = source.address();
    image.source_step = source.stride();
    image.destination_step = destination.stride();
    image.destination = destination.address();
    image.height = source.height();
    image.width = source.width();
    image.shift = bits - 8;
    // 16-bit samples and 16-bit pixels are stepped in whole words.
    if (kernel.input == Input::BAYn) image.source_step &= ~1u;
    if (span_layout(kernel.output) == rgb16) image.destination_step &= ~1u;
    const uint64_t written = uint64_t{image.destination_step} * image.height;
    const uint64_t all = written + uint64_t{image.source_step} * image.height;
    image.memory = memory_of(memory, written, all, span_layout(kernel.output) == bgrx32);
    return image;
}

}  // namespace

uint32_t run(const Level& level, const Kernel& kernel, Handle source, Handle destination,
             uint32_t bits) {
    const Buffer from(source), to(destination);
    if (!from.present() || !to.present()) return TRV_STATUS_PARAMETER;
    const bool deep = kernel.input == Input::BAYn;
    if (deep && bits == 8) return TRV_STATUS_PARAMETER;
    const Image image = read_image(kernel, from, to, deep ? bits : 8, *level.memory);
    // Smaller pictures have no neighbours to take colours from, and their pair count would wrap.
    if (image.width < 2 || image.height < 2) return TRV_STATUS_OK;
    convert_frame(image, mosaic_of(kernel), *level.bayer, deep ? depth16 : depth8,
                  span_layout(kernel.output), kernel.method);
    return TRV_STATUS_OK;
}

}  // namespace trv::bayer
