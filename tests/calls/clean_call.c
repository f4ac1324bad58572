#include "tests/calls/clean_call.h"

#include <cpuid.h>
#include <stddef.h>
#include <string.h>

enum { kept_registers = 6 };

/* The assembly below knows the offsets. */
struct Call {
    AnyFunction function;          /* 0 */
    uint64_t arguments[10];        /* 8: six in registers, four on the stack */
    uint64_t look_at_upper;        /* 88 */
    uint64_t result;               /* 96 */
    uint64_t kept[kept_registers]; /* 104: rbx rbp r12 r13 r14 r15 after the call */
    uint64_t flags;                /* 152 */
    uint64_t stack;                /* 160: how far rsp has moved */
    uint64_t in_use;               /* 168: XINUSE */
    uint32_t mxcsr;                /* 176 */
    uint32_t unused;               /* 180 */
    uint32_t x87[7];               /* 184: control, status, tags, ... */
};

_Static_assert(offsetof(struct Call, look_at_upper) == 88, "see the assembly");
_Static_assert(offsetof(struct Call, in_use) == 168, "see the assembly");
_Static_assert(offsetof(struct Call, x87) == 184, "see the assembly");

void trvil_test_call(struct Call* call);

__asm__(
    ".text\n.globl trvil_test_call\n.type trvil_test_call, @function\n"
    "trvil_test_call:\n"
    "  endbr64\n"
    "  push %rbx\n  push %rbp\n  push %r12\n  push %r13\n  push %r14\n  push %r15\n  push %rdi\n"
    "  pushq 80(%rdi)\n  pushq 72(%rdi)\n  pushq 64(%rdi)\n  pushq 56(%rdi)\n"
    "  cmpq $0, 88(%rdi)\n  je 1f\n  vzeroupper\n1:\n"
    "  mov %rdi, %r11\n  mov %rsp, 160(%r11)\n"
    "  mov 8(%r11), %rdi\n  mov 16(%r11), %rsi\n  mov 24(%r11), %rdx\n"
    "  mov 32(%r11), %rcx\n  mov 40(%r11), %r8\n  mov 48(%r11), %r9\n"
    "  mov $0x51, %ebx\n  mov $0x52, %ebp\n  mov $0x53, %r12d\n"
    "  mov $0x54, %r13d\n  mov $0x55, %r14d\n  mov $0x56, %r15d\n"
    "  xor %eax, %eax\n"
    "  call *(%r11)\n"
    "  mov 32(%rsp), %r11\n"
    "  mov %rax, 96(%r11)\n"
    "  mov %rbx, 104(%r11)\n  mov %rbp, 112(%r11)\n  mov %r12, 120(%r11)\n"
    "  mov %r13, 128(%r11)\n  mov %r14, 136(%r11)\n  mov %r15, 144(%r11)\n"
    "  pushfq\n  popq 152(%r11)\n  cld\n"
    "  mov %rsp, %rax\n  sub 160(%r11), %rax\n  mov %rax, 160(%r11)\n"
    "  stmxcsr 176(%r11)\n  fnstenv 184(%r11)\n  fldenv 184(%r11)\n"
    "  cmpq $0, 88(%r11)\n  je 2f\n"
    "  mov $1, %ecx\n  xgetbv\n  mov %rax, 168(%r11)\n2:\n"
    "  add $32, %rsp\n"
    "  pop %rdi\n  pop %r15\n  pop %r14\n  pop %r13\n  pop %r12\n  pop %rbp\n  pop %rbx\n"
    "  ret\n"
    ".size trvil_test_call, .-trvil_test_call\n");

int sees_upper_halves(void) {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid_count(1, 0, &a, &b, &c, &d) || (c & bit_OSXSAVE) == 0) return 0;
    return __get_cpuid_count(0xD, 1, &a, &b, &c, &d) && (a & 4) != 0;
}

static const char* fault_of(const struct Call* call, uint32_t mxcsr, uint16_t x87_control) {
    static const uint64_t kept[kept_registers] = {0x51, 0x52, 0x53, 0x54, 0x55, 0x56};
    const uint64_t upper_halves = 1u << 2 | 1u << 6; /* of ymm0 to ymm15, of zmm0 to zmm15 */
    if (memcmp(call->kept, kept, sizeof kept) != 0) return "a register of the caller has changed";
    if (call->stack != 0) return "the stack pointer has moved";
    if ((call->flags & 0x400) != 0) return "the direction flag is set";
    if (call->mxcsr != mxcsr) return "MXCSR has changed";
    if ((call->x87[0] & 0xFFFF) != x87_control) return "the x87 control word has changed";
    if ((call->x87[2] & 0xFFFF) != 0xFFFF) return "an x87 register is in use";
    return (call->in_use & upper_halves) != 0 ? "upper vector halves are in use" : NULL;
}

uint64_t clean_call(AnyFunction function, const uint64_t arguments[10], const char** fault) {
    static int sees = -1;
    uint32_t mxcsr = 0;
    uint16_t x87_control = 0;
    struct Call call = {0};
    if (sees < 0) sees = sees_upper_halves();
    call.function = function;
    memcpy(call.arguments, arguments, sizeof call.arguments);
    call.look_at_upper = (uint64_t)sees;
    __asm__ volatile("stmxcsr %0\n fnstcw %1" : "=m"(mxcsr), "=m"(x87_control));
    trvil_test_call(&call);
    *fault = fault_of(&call, mxcsr, x87_control);
    return call.result;
}
