/* Calls a function and looks at what it leaves behind: the registers that belong to the caller, the
   stack, the direction flag, the control of both floating-point units and the upper vector halves.
 */
#ifndef TRVIL_TESTS_CLEAN_CALL_H
#define TRVIL_TESTS_CLEAN_CALL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Any function of up to ten integers and pointers. */
typedef void (*AnyFunction)(void);

/* Returns the function's result. *fault is a text that says what was left unclean, or null. */
uint64_t clean_call(AnyFunction function, const uint64_t arguments[10], const char** fault);

/* Whether the processor tells that upper vector halves are in use. */
int sees_upper_halves(void);

#ifdef __cplusplus
}
#endif

#endif
