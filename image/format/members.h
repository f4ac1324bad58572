// The demosaic kernels as a family: which exist, and which of them a source's settings choose.
#pragma once

#include <cstdint>

#include "image/format/format.h"
#include "trvil/tbl.h"

namespace trv::bayer {

enum class Input : uint8_t { BAY8, BAYn };
enum class Output : uint8_t { RGB16, BGR16, BGR24, BGRX32, RGBX32 };
enum Method : uint8_t { dup, ave, med };

struct Kernel {
    Input input;
    Output output;
    Method method;
    Phase phase;

    constexpr bool operator==(const Kernel&) const = default;
};

inline constexpr Kernel kernels[] = {
#define TRV_KERNEL(input, output, method, phase) \
    {Input::input, Output::output, Method::method, Phase::phase},
#include "image/format/members.inc"
};

constexpr bool exists(const Kernel& wanted) {
    for (const Kernel& kernel : kernels)
        if (kernel == wanted) return true;
    return false;
}

constexpr Input input_of(const Format& source) {
    return source.significant == 8 ? Input::BAY8 : Input::BAYn;
}

constexpr Output output_of(Code destination) {
    switch (destination) {
        case Code::RGB16:
            return Output::RGB16;
        case Code::BGR16:
            return Output::BGR16;
        case Code::BGR24:
            return Output::BGR24;
        case Code::BGRX32:
            return Output::BGRX32;
        default:
            return Output::RGBX32;
    }
}

// What the source's parameters 9 and 10 stand for. Values are compared whole.
constexpr bool find_method(uint32_t value, Method* method) {
    switch (value) {
        case TBL_BAYER_METHOD_DUP:
            *method = dup;
            return true;
        case TBL_BAYER_METHOD_AVE:
            *method = ave;
            return true;
        case TBL_BAYER_METHOD_MED:
            *method = med;
            return true;
        default:
            return false;
    }
}

constexpr bool find_phase(uint32_t value, Phase* phase) {
    switch (value) {
        case TBL_BAYER_PHASE_A:
            *phase = Phase::A;
            return true;
        case TBL_BAYER_PHASE_B:
            *phase = Phase::B;
            return true;
        case TBL_BAYER_PHASE_C:
            *phase = Phase::C;
            return true;
        case TBL_BAYER_PHASE_D:
            *phase = Phase::D;
            return true;
        default:
            return false;
    }
}

}  // namespace trv::bayer
