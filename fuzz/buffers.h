// A buffer library that answers what a fuzz target wants it to.
#pragma once

#include "image/format/format.h"
#include "trvil/tbl.h"

namespace fuzz {

struct Answers {
    uint64_t present;
    uint8_t* address;
    uint32_t width, height, stride, format, method, phase, packing_offset;

    const trv::Format* known() const { return trv::find_format(static_cast<uint8_t>(format)); }
};

// Handles are addresses of Answers; 0 is nothing.
inline uint64_t handle_of(const Answers& answers) {
    return reinterpret_cast<uintptr_t>(&answers);
}

}  // namespace fuzz

// The query itself, once per program: it goes before the one in the companion library.
inline uint32_t trvil_fuzz_answer(uint64_t handle, uint32_t id, void* out) {
    const auto* a = reinterpret_cast<const fuzz::Answers*>(handle);
    if (a == nullptr) return TRV_STATUS_PARAMETER;
    const auto put = [&](uint32_t value) {
        *static_cast<uint32_t*>(out) = value;
        return TRV_STATUS_OK;
    };
    switch (id) {
        case TBL_PARAMETER_PRESENT:
            *static_cast<uint64_t*>(out) = a->present;
            return TRV_STATUS_OK;
        case TBL_PARAMETER_ADDRESS:
            *static_cast<uint64_t*>(out) = reinterpret_cast<uintptr_t>(a->address);
            return TRV_STATUS_OK;
        case TBL_PARAMETER_WIDTH:
            return put(a->width);
        case TBL_PARAMETER_HEIGHT:
            return put(a->height);
        case TBL_PARAMETER_STRIDE:
            return put(a->stride);
        case TBL_PARAMETER_FORMAT:
            return put(a->format);
        case TBL_PARAMETER_BAYER_METHOD:
            return put(a->method);
        case TBL_PARAMETER_BAYER_PHASE:
            return put(a->phase);
        case TBL_PARAMETER_PACKING_OFFSET:
            return put(a->packing_offset);
        default:
            return TRV_STATUS_PARAMETER;
    }
}
