#include "tool/picture/frame.h"

#include <unistd.h>

#include <cstring>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::tool {
namespace {

constexpr size_t slack = 64;  // readable and writable bytes after the last line

uint64_t memory_of_machine() {
    return static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

// Zeroed memory takes room only where it is written to, so a picture that breaks off early costs
// what there is of it. A machine may promise more than it has.
uint8_t* allocate(const Geometry& g) {
    void* memory = nullptr;
    if (g.bytes() < memory_of_machine()) memory = std::calloc(1, g.bytes() + slack);
    if (memory == nullptr)
        throw Failure(Exit::conversion,
                      text("not enough memory for ", g.width, "x", g.height, " ", g.format->name),
                      text("it needs ", g.bytes(), " bytes, and the machine has ",
                           memory_of_machine(), " for all that runs on it"),
                      "check -s and -f, or use fewer --jobs");
    return static_cast<uint8_t*>(memory);
}

trvil::Buffer wrap(const Geometry& g, uint8_t* memory) {
    uint64_t handle = 0;
    const uint32_t status = TBS_BufferWrap(&handle, g.width, g.height, whole_code(*g.format),
                                           memory, g.bytes(), g.stride, nullptr, nullptr);
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot make a buffer of ", g.format->name),
                      text("the buffer library answered status ", status), "");
    return trvil::Buffer::adopt(handle);
}

}  // namespace

uint64_t Geometry::line() const {
    if (packing == 0) return line_bytes(*format, width);
    return packing_info(packing, width).line_bytes;
}

std::string Geometry::name() const {
    return description({format, packing});
}

Geometry tight(const Format& format, uint32_t width, uint32_t height) {
    return {&format, width, height, static_cast<uint32_t>(line_bytes(format, width))};
}

Frame::Frame(const Geometry& geometry) : Frame(geometry, Memory(allocate(geometry))) {}

Frame::Frame(const Geometry& geometry, Memory memory)
    : geometry_(geometry), memory_(std::move(memory)), buffer_(wrap(geometry, memory_.get())) {}

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

Frame Frame::as(const Format& format) && {
    Geometry g = geometry_;
    g.format = &format;
    return {g, std::move(memory_)};
}

trvil::Buffer Frame::view_as(const Format& format) const {
    Geometry g = geometry_;
    g.format = &format;
    return wrap(g, memory_.get());
}

Frame in_memory_of(std::optional<Frame> used, const Geometry& g) {
    if (!used || used->geometry().stride != g.stride || used->geometry().height != g.height ||
        used->geometry().bytes() < g.bytes())
        return Frame(g);
    if (used->geometry().format == g.format) return std::move(*used);
    return std::move(*used).as(*g.format);
}

Frame without_padding(Frame frame) {
    if (frame.geometry().stride == frame.geometry().line()) return frame;
    return frame.tightened();
}

Geometry bytes_of(const Geometry& dump) {
    if (dump.packing == 0) return dump;
    return {&format_of(Code::Mono8), static_cast<uint32_t>(dump.line()), dump.height, dump.stride};
}

trvil::Buffer packed_lines(const Frame& bytes, const Geometry& dump, uint32_t first,
                           uint32_t count) {
    uint64_t view = 0;
    TBS_BufferView(&view, bytes.handle(), 0, first, dump.width, count);
    return trvil::Buffer::adopt(view);
}

Frame unpack(const Frame& bytes, const Geometry& dump) {
    return unpack_lines(bytes, dump, 0, dump.height);
}

Frame unpack_lines(const Frame& bytes, const Geometry& dump, uint32_t first, uint32_t count) {
    const trvil::Buffer source = packed_lines(bytes, dump, first, count);
    Frame picture(tight(*dump.format, dump.width, count));
    const uint32_t status = TRW_Unpack(source.handle(), dump.packing, picture.handle());
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot unpack ", dump.name()),
                      text("the library answered status ", status), "");
    return picture;
}

}  // namespace trv::tool
