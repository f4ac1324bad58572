#include <stdlib.h>

#include "companion/slots.h"
#include "image/format/format.h"
#include "trvil/tbl.h"

namespace trv::companion {
namespace {

constexpr uint64_t line_alignment = 64;
constexpr uint64_t tail_bytes = 64;  // usable bytes after the last line of created memory

struct Picture {
    uint64_t width, height, format, address, stride, method, phase, packing_offset;
};

// What a parameter's number stands for: in a table, as conversions ask for a dozen of them each.
enum class Kind : uint8_t { unknown, narrow, wide };
struct Parameter {
    Value value;
    Kind kind;
};

constexpr uint32_t parameter_count = TBL_PARAMETER_PACKING_OFFSET + 1;

struct Parameters {
    Parameter at[parameter_count];

    consteval Parameters() : at{} {
        at[TBL_PARAMETER_WIDTH] = {Value::width, Kind::narrow};
        at[TBL_PARAMETER_HEIGHT] = {Value::height, Kind::narrow};
        at[TBL_PARAMETER_ADDRESS] = {Value::address, Kind::wide};
        at[TBL_PARAMETER_STRIDE] = {Value::stride, Kind::narrow};
        at[TBL_PARAMETER_FORMAT] = {Value::format, Kind::narrow};
        at[TBL_PARAMETER_BAYER_METHOD] = {Value::method, Kind::narrow};
        at[TBL_PARAMETER_BAYER_PHASE] = {Value::phase, Kind::narrow};
        at[TBL_PARAMETER_PRESENT] = {Value::present, Kind::wide};
        at[TBL_PARAMETER_PACKING_OFFSET] = {Value::packing_offset, Kind::narrow};
    }
};

constinit const Parameters parameters;

uint64_t phase_value(Phase phase) {
    const uint64_t index = phase == Phase::none ? 0 : static_cast<uint64_t>(phase);
    return TBL_BAYER_PHASE_A + (index << 8);
}

uint32_t register_locked(const Lock& lock, uint64_t* handle, const Picture& picture,
                         const Owner& owner) {
    uint32_t index = 0;
    Slot* slot = take_slot(lock, &index);
    if (slot == nullptr) return TRV_STATUS_MEMORY;
    const auto set = [slot](Value value, uint64_t to) {
        slot->at(value).store(to, std::memory_order_release);
    };
    set(Value::width, picture.width);
    set(Value::height, picture.height);
    set(Value::format, picture.format);
    set(Value::address, picture.address);
    set(Value::stride, picture.stride);
    set(Value::method, picture.method);
    set(Value::phase, picture.phase);
    set(Value::packing_offset, picture.packing_offset);
    set(Value::present, 1);
    slot->owner = owner;
    *handle = bring_to_life(lock, *slot, index);
    return TRV_STATUS_OK;
}

uint32_t register_buffer(uint64_t* handle, const Picture& picture, const Owner& owner) {
    const Lock lock;
    return register_locked(lock, handle, picture, owner);
}

uint32_t register_view(uint64_t* handle, const Picture& picture, uint64_t parent) {
    const Lock lock;
    Slot* slot = find_slot(parent);
    if (slot == nullptr) return TRV_STATUS_PARAMETER;
    const Owner owner{nullptr, nullptr, nullptr, slot_index(parent)};
    const uint32_t status = register_locked(lock, handle, picture, owner);
    if (status == TRV_STATUS_OK) ++slot->views;
    return status;
}

Picture picture_of(uint32_t width, uint32_t height, uint32_t code, const Format& format,
                   const void* memory, uint64_t stride) {
    return {width,
            height,
            code,
            reinterpret_cast<uintptr_t>(memory),
            stride,
            TBL_BAYER_METHOD_AVE,
            phase_value(format.phase),
            0};
}

// Frees a slot that neither an owner of its handle nor a view of its memory needs. True when it
// did: *owner is what the slot leaves.
bool free_unused(const Lock& lock, Slot& slot, uint32_t index, Owner* owner) {
    if (slot.owners != 0 || slot.views != 0) return false;
    *owner = slot.owner;
    free_slot(lock, slot, index);
    return true;
}

// Both take one user away, and are true when it was the last.
bool drop_owner(uint64_t handle, Owner* owner, uint32_t* status) {
    const Lock lock;
    Slot* slot = find_slot(handle);
    *status = slot == nullptr ? TRV_STATUS_PARAMETER : TRV_STATUS_OK;
    if (slot == nullptr) return false;
    const uint32_t index = slot_index(handle);
    if (--slot->owners == 0) end_life(lock, *slot, index);
    return free_unused(lock, *slot, index, owner);
}

bool drop_view(uint32_t parent, Owner* owner) {
    const Lock lock;
    Slot* slot = slot_at(parent);
    --slot->views;
    return free_unused(lock, *slot, parent, owner);
}

void free_memory(void*, void* memory) {
    free(memory);
}

// First byte of the group that pixel x lies in, and x's place in the group.
uint64_t group_start(const Format& format, uint64_t x, uint64_t* place) {
    *place = x % format.group;
    return (x - *place) * format.stored / 8;
}

bool has_packing_offset(const Format& format) {
    return is_packed(format) && format.order == BitOrder::least;
}

bool read_picture(uint64_t handle, Picture* picture) {
    return read_value(handle, Value::width, &picture->width) &&
           read_value(handle, Value::height, &picture->height) &&
           read_value(handle, Value::format, &picture->format) &&
           read_value(handle, Value::address, &picture->address) &&
           read_value(handle, Value::stride, &picture->stride) &&
           read_value(handle, Value::method, &picture->method) &&
           read_value(handle, Value::phase, &picture->phase) &&
           read_value(handle, Value::packing_offset, &picture->packing_offset);
}

bool inside(uint64_t start, uint64_t length, uint64_t whole) {
    return length != 0 && start + length <= whole;
}

// Moving one pixel right exchanges phases A and B, and C and D; one line down A and C, and B and D.
uint64_t moved_phase(uint64_t phase, uint32_t x, uint32_t y) {
    const uint64_t index = (phase >> 8) - 1;
    return TBL_BAYER_PHASE_A + ((index ^ (x & 1) ^ (y & 1) << 1) << 8);
}

}  // namespace
}  // namespace trv::companion

using trv::Format;
using namespace trv::companion;  // this file is its C face

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    if (out == nullptr || id >= parameter_count) return TRV_STATUS_PARAMETER;
    const Parameter parameter = parameters.at[id];
    if (parameter.kind == Kind::unknown) return TRV_STATUS_PARAMETER;
    uint64_t value = 0;
    if (!read_value(handle, parameter.value, &value)) return TRV_STATUS_PARAMETER;
    if (parameter.kind == Kind::wide)
        *static_cast<uint64_t*>(out) = value;
    else
        *static_cast<uint32_t*>(out) = static_cast<uint32_t>(value);
    return TRV_STATUS_OK;
}

uint32_t TBS_BufferCreate(uint64_t* handle, uint32_t width, uint32_t height, uint32_t format) {
    if (handle == nullptr || width == 0 || height == 0) return TRV_STATUS_PARAMETER;
    const Format* described = trv::find_whole_format(format);
    if (described == nullptr) return TRV_STATUS_UNSUPPORTED;
    const uint64_t stride =
        (line_bytes(*described, width) + line_alignment - 1) / line_alignment * line_alignment;
    if (stride > UINT32_MAX) return TRV_STATUS_PARAMETER;
    // Whole lines keep the size a multiple of the alignment, as aligned_alloc wants it.
    const uint64_t size = stride * height + tail_bytes;
    void* memory = aligned_alloc(line_alignment, size);
    if (memory == nullptr) return TRV_STATUS_MEMORY;
    __builtin_memset(memory, 0, size);
    const uint32_t status =
        register_buffer(handle, picture_of(width, height, format, *described, memory, stride),
                        {free_memory, nullptr, memory, no_slot});
    if (status != TRV_STATUS_OK) free(memory);
    return status;
}

uint32_t TBS_BufferWrap(uint64_t* handle, uint32_t width, uint32_t height, uint32_t format,
                        void* memory, uint64_t size, uint32_t stride,
                        void (*release)(void* context, void* memory), void* context) {
    if (handle == nullptr || width == 0 || height == 0 || memory == nullptr)
        return TRV_STATUS_PARAMETER;
    const Format* described = trv::find_whole_format(format);
    if (described == nullptr) return TRV_STATUS_UNSUPPORTED;
    const uint64_t line = line_bytes(*described, width);
    const uint64_t step = stride == 0 ? line : stride;
    if (step < line || step > UINT32_MAX || step * (height - 1) + line > size)
        return TRV_STATUS_PARAMETER;
    return register_buffer(handle, picture_of(width, height, format, *described, memory, step),
                           {release, context, memory, no_slot});
}

uint32_t TBS_BufferView(uint64_t* handle, uint64_t parent, uint32_t x, uint32_t y, uint32_t width,
                        uint32_t height) {
    Picture picture{};
    if (handle == nullptr || !read_picture(parent, &picture)) return TRV_STATUS_PARAMETER;
    if (!inside(x, width, picture.width) || !inside(y, height, picture.height))
        return TRV_STATUS_PARAMETER;
    const Format& format = *trv::find_whole_format(static_cast<uint32_t>(picture.format));
    uint64_t place = 0;
    const uint64_t first = x + picture.packing_offset;
    picture.address += y * picture.stride + group_start(format, first, &place);
    if (place != 0 && !has_packing_offset(format)) return TRV_STATUS_PARAMETER;
    picture.packing_offset = place;
    picture.phase = moved_phase(picture.phase, x, y);
    picture.width = width;
    picture.height = height;
    return register_view(handle, picture, parent);
}

uint32_t TBS_BufferParameterSet(uint64_t handle, uint32_t id, uint64_t value) {
    const bool is_method = id == TBL_PARAMETER_BAYER_METHOD;
    if (!is_method && id != TBL_PARAMETER_BAYER_PHASE) return TRV_STATUS_PARAMETER;
    const uint64_t choice = value >> 8;
    const uint64_t choices = is_method ? 3 : 4;
    if ((value & 0xFF) != id || choice == 0 || choice > choices) return TRV_STATUS_PARAMETER;
    const Lock lock;
    Slot* slot = find_slot(handle);
    if (slot == nullptr) return TRV_STATUS_PARAMETER;
    slot->at(is_method ? Value::method : Value::phase).store(value, std::memory_order_release);
    return TRV_STATUS_OK;
}

uint32_t TBS_BufferRetain(uint64_t handle) {
    const Lock lock;
    Slot* slot = find_slot(handle);
    if (slot == nullptr || slot->owners == UINT32_MAX) return TRV_STATUS_PARAMETER;
    ++slot->owners;
    return TRV_STATUS_OK;
}

uint32_t TBS_BufferRelease(uint64_t* handle) {
    if (handle == nullptr) return TRV_STATUS_PARAMETER;
    uint32_t status = TRV_STATUS_OK;
    Owner owner;
    bool last = drop_owner(*handle, &owner, &status);
    if (status == TRV_STATUS_OK) *handle = 0;
    while (last) {
        if (owner.release != nullptr) owner.release(owner.context, owner.memory);
        last = owner.parent != no_slot && drop_view(owner.parent, &owner);
    }
    return status;
}
