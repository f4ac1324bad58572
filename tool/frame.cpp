#include "tool/frame.h"

#include <cstring>
#include <new>

#include "tool/catalogue.h"
#include "tool/error.h"
#include "tool/text.h"

namespace trv::tool {
namespace {

constexpr size_t slack = 64;  // readable and writable bytes behind the last line

uint8_t* allocate(const Geometry& geometry) {
    void* memory = std::calloc(1, geometry.bytes() + slack);
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<uint8_t*>(memory);
}

uint64_t wrap(const Geometry& g, uint8_t* memory) {
    uint64_t handle = 0;
    const uint32_t status = TBS_BufferWrap(&handle, g.width, g.height, whole_code(*g.format),
                                           memory, g.bytes(), g.stride, nullptr, nullptr);
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot make a buffer of ", g.format->name),
                      text("the buffer library answered status ", status), "");
    return handle;
}

}  // namespace

Geometry tight(const Format& format, uint32_t width, uint32_t height) {
    return {&format, width, height, static_cast<uint32_t>(line_bytes(format, width))};
}

Frame::Frame(const Geometry& geometry)
    : geometry_(geometry), memory_(allocate(geometry)), handle_(wrap(geometry, memory_.get())) {}

void Frame::set_bayer(uint32_t method, Phase phase) const {
    TBS_BufferParameterSet(handle(), TBL_PARAMETER_BAYER_METHOD, method);
    TBS_BufferParameterSet(handle(), TBL_PARAMETER_BAYER_PHASE, phase_parameter(phase));
}

Frame Frame::tightened() const {
    Frame result(tight(*geometry_.format, geometry_.width, geometry_.height));
    for (uint32_t y = 0; y < geometry_.height; ++y)
        std::memcpy(result.line(y), line(y), geometry_.line());
    return result;
}

}  // namespace trv::tool
