// The exported kernels for 8-bit mosaics.
#include "image/exports/kernel.h"
#include "trvil/til.h"

namespace {

template <trv::bayer::Kernel K>
uint32_t run(uint64_t source, uint64_t destination) {
    return trv::bayer::run(trv::current_level(), K, source, destination, 8);
}

}  // namespace

using namespace trv::bayer;  // names of the rows below

#define TRV_KERNEL_BAY8(output, method, phase)                                                  \
    uint32_t TIL_BAY8_to_##output##_##method##_##phase(uint64_t source, uint64_t destination) { \
        return run<Kernel{Input::BAY8, Output::output, Method::method, trv::Phase::phase}>(     \
            source, destination);                                                               \
    }
#define TRV_KERNEL_BAYn(output, method, phase)
#define TRV_KERNEL(input, output, method, phase) TRV_KERNEL_##input(output, method, phase)
#include "image/format/members.inc"
