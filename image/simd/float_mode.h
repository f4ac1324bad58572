// Floating point as every processor has it at first: rounding to the nearest, no traps.
#pragma once

#include <cstdint>

namespace trv {

// While one lives, the calling thread computes in this mode; then in its own again, and flags are
// as they were.
class FloatMode {
  public:
    FloatMode() { exchange(&own_, usual); }
    ~FloatMode() { exchange(nullptr, own_); }
    FloatMode(const FloatMode&) = delete;
    FloatMode& operator=(const FloatMode&) = delete;

  private:
    static constexpr uint32_t usual = 0x1F80;

    static void exchange([[maybe_unused]] uint32_t* before, [[maybe_unused]] uint32_t now) {
#ifdef __x86_64__
        if (before != nullptr) *before = __builtin_ia32_stmxcsr();
        __builtin_ia32_ldmxcsr(now);
#endif
    }

    [[maybe_unused]] uint32_t own_ = usual;
};

}  // namespace trv
