// The exported kernels for mosaics of 9 to 16 bits.
#include "image/exports/kernel.h"
#include "trvil/til.h"

namespace {

template <trv::bayer::Kernel K>
uint32_t run(uint64_t source, uint64_t destination, uint32_t bits) {
    return trv::bayer::run(trv::current_level(), K, source, destination, bits);
}

}  // namespace

using namespace trv::bayer;  // names of the rows below

#define TRV_KERNEL_BAY8(output, method, phase)
#define TRV_KERNEL_BAYn(output, method, phase)                                                \
    uint32_t TIL_BAYn_to_##output##_##method##_##phase(uint64_t source, uint64_t destination, \
                                                       uint32_t bits) {                       \
        return run<Kernel{Input::BAYn, Output::output, Method::method, trv::Phase::phase}>(   \
            source, destination, bits);                                                       \
    }
#define TRV_KERNEL(input, output, method, phase) TRV_KERNEL_##input(output, method, phase)
#include "image/format/members.inc"
