// OBL_strnstr, OBL_StringToToken and the bounded copies against plain rules of their own, with
// texts that end right in front of a guard page.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/compare.h"
#include "trvil/obl.h"

namespace {

using fuzz::Input;

// Few different characters, so that matches and delimiters happen.
std::string any_text(Input& in, uint32_t longest) {
    std::string text(in.below(longest + 1), '\0');
    for (char& c : text) {
        const uint8_t byte = in.byte();
        c = byte >= 0xF0 ? static_cast<char>(byte) : "ab,;"[byte % 4];
    }
    return text;
}

// The text and, where it fits, its terminator, against the page that nobody may touch.
char* guarded(const std::string& text, bool terminated) {
    const size_t size = text.size() + terminated;
    uint8_t* at = fuzz::source_arena().at_back(size);
    if (size != 0) std::memcpy(at, text.c_str(), size);
    return reinterpret_cast<char*>(at);
}

std::string until_terminator(const std::string& text) {
    return text.substr(0, std::min(text.find('\0'), text.size()));
}

void search(Input& in) {
    const std::string wanted = until_terminator(any_text(in, 4)), text = any_text(in, 40);
    // Without a terminator the limit alone keeps the search inside.
    const bool terminated = in.one_in(2);
    const size_t longest = terminated ? text.size() + 5 : text.size();
    const size_t limit = in.below(static_cast<uint32_t>(longest + 1));
    const std::string seen = until_terminator(text.substr(0, std::min(limit, text.size())));
    const size_t place = seen.find(wanted);
    const char* at = guarded(text, terminated);
    const char* found = OBL_strnstr(at, limit, wanted.c_str());
    const char* expected = place == std::string::npos ? nullptr : at + place;
    fuzz::require(found == expected, "OBL_strnstr finds the first place and no other");
    fuzz::require(OBL_strnlen(at, limit) == seen.size(), "OBL_strnlen stops at the limit");
}

struct Tokens {
    std::string text;
    std::string delimiters;
    size_t cursor = 0;
    uint64_t remaining = 0;

    bool ends(size_t i) const { return delimiters.find(text[i]) != std::string::npos; }

    // The stated rule, byte by byte: a token whose end is not seen within the count is dropped.
    std::optional<std::string> next() {
        while (text[cursor] != '\0' && ends(cursor)) {
            ++cursor;
            if (--remaining == 0) return std::nullopt;
        }
        if (text[cursor] == '\0') return std::nullopt;
        const size_t start = cursor;
        if (--remaining == 0) return std::nullopt;
        for (;;) {
            ++cursor;
            if (text[cursor] == '\0') return text.substr(start, cursor - start);
            --remaining;
            if (ends(cursor)) {
                text[cursor] = '\0';
                return text.substr(start, cursor++ - start);
            }
            if (remaining == 0) return std::nullopt;
        }
    }
};

void cut(Input& in) {
    Tokens model;
    model.delimiters = until_terminator(any_text(in, 3));
    const std::string text = until_terminator(any_text(in, 40));
    model.text = text + '\0';
    model.remaining = 1 + in.below(static_cast<uint32_t>(text.size() + 6));
    char* const start = guarded(text, true);
    char* cursor = start;
    uint64_t remaining = model.remaining;
    for (int i = 0; i < 6; ++i) {
        const std::optional<std::string> expected = model.next();
        const char* token = OBL_StringToToken(&cursor, &remaining, model.delimiters.c_str());
        fuzz::require((token != nullptr) == expected.has_value(), "a token where there is one");
        fuzz::require(remaining == model.remaining, "the count falls as stated");
        if (!expected) return;
        fuzz::require(*expected == token, "the token is the stated one");
        fuzz::require(cursor == start + model.cursor, "the cursor stands after it");
        if (remaining == 0) return;  // 0 on entry is endless, which is the caller's affair
    }
}

void copy(Input& in) {
    const std::string text = until_terminator(any_text(in, 40));
    const uint64_t limit = 1 + in.below(48);
    char* source = guarded(text, true);
    const std::string cut_text = text.substr(0, limit - 1);
    char* to = reinterpret_cast<char*>(fuzz::destination_arena().at_back(limit));
    fuzz::require(OBL_strncpy(to, limit, source) == 0 && cut_text == to, "OBL_strncpy cuts");
    char* clone = nullptr;
    fuzz::require(OBL_strnclone(&clone, limit, source) == 0, "OBL_strnclone");
    fuzz::require(text.empty() ? clone == nullptr : text.substr(0, limit) == clone,
                  "the clone is the limited text");
    if (clone != nullptr) OBL_str2lower(clone);
    void* block = clone;
    OBL_StructDeAlloc(&block);
    const int compared = OBL_strncmp(source, limit, to);
    fuzz::require(compared == std::strncmp(text.c_str(), cut_text.c_str(), limit), "OBL_strncmp");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.below(3)) {
        case 0:
            search(in);
            break;
        case 1:
            cut(in);
            break;
        default:
            copy(in);
    }
    return 0;
}
