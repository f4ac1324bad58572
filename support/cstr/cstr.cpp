#include <ctype.h>
#include <string.h>

#include "trvil/obl.h"

namespace {

uint64_t Smaller(uint64_t a, uint64_t b) {
    return a < b ? a : b;
}

// Deliberate: lengths are cut to signed 32 bits and widened, so that 2 GiB and more read as huge.
uint64_t CutLength(const char* text) {
    return static_cast<uint64_t>(static_cast<int32_t>(strlen(text)));
}

// Which bytes end a token. The terminator always does.
struct DelimiterSet {
    bool has[256] = {};

    explicit DelimiterSet(const char* delimiters) {
        do Mark(*delimiters);
        while (*delimiters++ != '\0');
    }
    void Mark(char c) { has[static_cast<unsigned char>(c)] = true; }
    bool Has(char c) const { return has[static_cast<unsigned char>(c)]; }
};

// Moves the cursor to the first byte of a token; false when the text or the count ends before it.
bool SkipDelimiters(const DelimiterSet& set, char** ppCursor, uint64_t* pRemaining) {
    while (**ppCursor != '\0' && set.Has(**ppCursor)) {
        ++*ppCursor;
        if (--*pRemaining == 0) return false;
    }
    return **ppCursor != '\0';
}

}  // namespace

uint32_t OBL_str2lower(char* text) {
    uint64_t length = 0;
    for (; text[length] != '\0'; ++length) {
        // Signed on purpose: the C library's tables have entries below zero too.
        const auto c = static_cast<signed char>(text[length]);
        if (isalnum(c)) text[length] = static_cast<char>(tolower(c));
    }
    return static_cast<uint32_t>(length);
}

uint32_t OBL_strncat(char* destination, uint64_t limit, const char* source) {
    return strncat(destination, source, limit) == nullptr ? TRV_STATUS_TEXT : TRV_STATUS_OK;
}

int32_t OBL_strncmp(const char* first, uint64_t limit, const char* second) {
    // Deliberate: a text that is not there equals every text.
    if (first == nullptr || second == nullptr) return 0;
    return strncmp(first, second, limit);
}

uint32_t OBL_strncpy(char* destination, uint64_t size, const char* source) {
    if (source == nullptr) return TRV_STATUS_TEXT;
    // Deliberate: a size of 0 wraps around and bounds nothing.
    const uint64_t count = Smaller(size - 1, CutLength(source));
    memmove(destination, source, count);
    destination[count] = '\0';
    return TRV_STATUS_OK;
}

uint32_t OBL_strnclone(char** ppOut, uint64_t limit, const char* source) {
    if (source == nullptr || ppOut == nullptr || *ppOut != nullptr) return TRV_STATUS_PARAMETER;
    // Deliberate: the copy of an empty text is no block at all.
    if (*source == '\0') return TRV_STATUS_OK;
    const uint64_t length = OBL_strnlen(source, limit);
    void* block = nullptr;
    const uint32_t status = OBL_StructAlloc(&block, length + 1);
    if (status != TRV_STATUS_OK) return status;
    auto* copy = static_cast<char*>(block);
    if (OBL_strncpy(copy, length + 1, source) != TRV_STATUS_OK) {
        OBL_StructDeAlloc(&block);
        return TRV_STATUS_SYSTEM;
    }
    copy[length] = '\0';
    *ppOut = copy;
    return TRV_STATUS_OK;
}

uint64_t OBL_strnlen(const char* text, uint64_t limit) {
    return strnlen(text, limit);
}

char* OBL_strnstr(const char* text, uint64_t limit, const char* wanted) {
    const char first = *wanted;
    if (first == '\0') return const_cast<char*>(text);
    const char* rest = wanted + 1;
    const uint64_t rest_length = OBL_strnlen(rest, limit);
    for (uint64_t remaining = limit; remaining-- > 0 && *text != '\0'; ++text) {
        if (*text != first) continue;
        if (rest_length > remaining) return nullptr;
        if (strncmp(text + 1, rest, rest_length) == 0) return const_cast<char*>(text);
    }
    return nullptr;
}

char* OBL_StringToToken(char** ppCursor, uint64_t* pRemaining, const char* delimiters) {
    const DelimiterSet set(delimiters);
    if (!SkipDelimiters(set, ppCursor, pRemaining)) return nullptr;
    char* const token = *ppCursor;
    // Deliberate: the count is lowered untested, so 0 on entry is endless, and a token whose first
    // or later byte uses it up is dropped.
    if (--*pRemaining == 0) return nullptr;
    for (char* byte = token + 1;; ++byte) {
        *ppCursor = byte;
        if (*byte == '\0') return token;
        --*pRemaining;
        if (set.Has(*byte)) {
            *byte = '\0';
            *ppCursor = byte + 1;
            return token;
        }
        if (*pRemaining == 0) return nullptr;
    }
}

int32_t OBL_vsnprintf(char* destination, uint64_t size, const char* format, va_list arguments) {
    // The checking form, in every build: it refuses %n in writable formats. The last size, the
    // object's, is not known here.
    constexpr int refuse_writes = 1;
    return __builtin___vsnprintf_chk(destination, size, refuse_writes, SIZE_MAX, format, arguments);
}

int32_t OBL_snprintf(char* destination, uint64_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int32_t needed = OBL_vsnprintf(destination, size, format, arguments);
    va_end(arguments);
    return needed;
}
