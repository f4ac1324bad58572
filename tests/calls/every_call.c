/* Calls every exported function the way a program does, in plain C: what valgrind, the memory
   sanitizer and an emulated processor run, and what shows that each call leaves the registers
   clean.

   With the export maps as arguments it also fails when a function of theirs was left out. */
#include "tests/calls/calls.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define TRVIL_MEMORY_SANITIZER 1
#endif
#endif

enum { most_names = 512 };

static int faults;
static const char* called[most_names];
static size_t called_count;

void complain(const char* name, const char* what, unsigned long long value) {
    fprintf(stderr, "%s: %s (%llu)\n", name, what, value);
    ++faults;
}

void note_name(const char* name) {
    for (size_t i = 0; i < called_count; ++i)
        if (strcmp(called[i], name) == 0) return;
    if (called_count < most_names) called[called_count++] = name;
}

uint64_t call(const char* name, AnyFunction function, const uint64_t* a) {
    note_name(name);
#ifdef TRVIL_MEMORY_SANITIZER
    typedef uint64_t (*Ten)(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                            uint64_t, uint64_t, uint64_t);
    return ((Ten)function)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
#else
    const char* fault = NULL;
    const uint64_t result = clean_call(function, a, &fault);
    if (fault != NULL) complain(name, fault, result);
    return result;
#endif
}

void use(const void* memory, size_t size) {
#ifdef TRVIL_MEMORY_SANITIZER
    __msan_check_mem_is_initialized(memory, size);
#else
    const unsigned char* bytes = memory;
    unsigned odd = 0;
    for (size_t i = 0; i < size; ++i) odd += bytes[i] & 1u;
    if (odd > size) abort();
#endif
}

static int is_called(const char* name) {
    size_t i = 0;
    while (i < called_count && strcmp(called[i], name) != 0) ++i;
    return i < called_count;
}

/* Names of an export map are the words with one of our prefixes. */
static void check_names(const char* path) {
    static const char* const prefixes[] = {"OBL_", "TIL_", "TRV_", "TRW_", "TBL_", "TBS_"};
    char line[256];
    FILE* map = fopen(path, "r");
    if (map == NULL) complain(path, "cannot be opened", 0);
    while (map != NULL && fgets(line, sizeof line, map) != NULL) {
        const char* name = strtok(line, " ;\n");
        for (size_t i = 0; name != NULL && i < sizeof prefixes / sizeof prefixes[0]; ++i)
            if (strncmp(name, prefixes[i], 4) == 0 && !is_called(name))
                complain(name, "is exported and was not called", 0);
    }
    if (map != NULL) fclose(map);
}

int main(int count, char** words) {
    call_pictures();
    call_support();
    call_raw();
    for (int i = 1; i < count; ++i) check_names(words[i]);
    printf("%zu functions called, %d faults\n", called_count, faults);
    return faults != 0;
}
