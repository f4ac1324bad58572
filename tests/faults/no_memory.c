/* Loaded before the C library: the allocation that NO_MEMORY_AT names fails, or all from there on
   when NO_MEMORY_FOR_GOOD is set. */
#include <errno.h>
#include <stdlib.h>

#define SHOWN __attribute__((visibility("default")))

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static long left = -1;
static int for_good;

static void begin(void) {
    const char* at = getenv("NO_MEMORY_AT");
    left = at == NULL ? 0 : atol(at);
    for_good = getenv("NO_MEMORY_FOR_GOOD") != NULL;
}

static int fails(void) {
    if (left == -1) begin();
    if (left == 0 || --left != 0) return 0;
    if (for_good) left = 1;
    errno = ENOMEM;
    return 1;
}

SHOWN void* malloc(size_t size) {
    return fails() ? NULL : __libc_malloc(size);
}
SHOWN void* calloc(size_t count, size_t size) {
    return fails() ? NULL : __libc_calloc(count, size);
}
SHOWN void* realloc(void* block, size_t size) {
    return fails() ? NULL : __libc_realloc(block, size);
}
SHOWN void* aligned_alloc(size_t alignment, size_t size) {
    return fails() ? NULL : __libc_memalign(alignment, size);
}
