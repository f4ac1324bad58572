// The demosaic kernels as a family: which exist, and which of them a source's settings choose.
#pragma once

#include <cstdint>

#include "image/format/routes.h"
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

inline constexpr Code output_codes[] = {Code::RGB16, Code::BGR16, Code::BGR24, Code::BGRX32,
                                        Code::RGBX32};

constexpr const Format& format_of(Output output) {
    return trv::format_of(output_codes[static_cast<size_t>(output)]);
}

// For the destinations of a mosaic.
constexpr Output output_of(Code destination) {
    uint8_t place = 0;
    while (output_codes[place] != destination) ++place;
    return Output{place};
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

// Whether every route from a mosaic has a kernel.
constexpr bool are_complete() {
    for (const Format& from : formats)
        for (const Format& to : formats) {
            if (route_kind(from, to) != RouteKind::bayer) continue;
            if (!exists({input_of(from), output_of(to.code), dup, Phase::A})) return false;
        }
    return true;
}
static_assert(are_complete());

}  // namespace trv::bayer
