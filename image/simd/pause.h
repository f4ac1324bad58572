// For loops that wait for another thread: the processor is told to spare itself.
#pragma once

namespace trv {

inline void pause_processor() {
#ifdef __x86_64__
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ volatile("yield");
#endif
}

}  // namespace trv
