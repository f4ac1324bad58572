// What the sources of the operating-system layer share. None of it is exported.
#pragma once

#include "trvil/obl_drv.h"

TRV_EXTERN_C_BEGIN

// Sleeps once; a signal ends the sleep early and the rest is not made up.
void OBL_DRV_SleepMs(uint32_t milliseconds);

// The action of SIGALRM: calls the callback of the timer record that the signal's value points to.
void OBL_DRV_TimerHandler(int signal, siginfo_t* information, void* context);

TRV_EXTERN_C_END

namespace trv::support {

constexpr int32_t wait_without_limit = -1;
constexpr int32_t try_once = 0;

// Asks for the system's text for errno and drops it: messages name the object, and the text is
// there for whoever stops here in a debugger.
inline void DropLastErrorText() {
    char text[OBL_DRV_ERROR_TEXT_BYTES];
    OBL_DRV_GetLastError(text);
}

// Tries until it works or the deadline is there. Deliberate: by the wall clock, in 32 bits that
// wrap, and without another try after the last sleep.
template <class Try>
[[gnu::noinline]] uint32_t PollUntil(int32_t timeout, Try try_it) {
    constexpr uint32_t interval_ms = 1;
    uint32_t now = 0;
    OBL_DRV_GetTimeNowMs(&now);
    const uint32_t deadline = now + static_cast<uint32_t>(timeout);
    do {
        if (try_it()) return TRV_STATUS_OK;
        OBL_DRV_SleepMs(interval_ms);
        OBL_DRV_GetTimeNowMs(&now);
    } while (now < deadline);
    return TRV_STATUS_TIMEOUT;
}

}  // namespace trv::support
