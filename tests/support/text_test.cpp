// Memory and bounded text.
#include <stdlib.h>

#include <vector>

#include "tests/support/fakes.h"

namespace {

TEST_F(Support, MemoryComesAndGoesThroughThePointer) {
    void* block = nullptr;
    QUIET(OBL_StructAlloc(&block, 100), 0);
    EXPECT_EQ(std::string(static_cast<char*>(block), 100), std::string(100, '\0'));
    for (int twice = 0; twice < 2; ++twice) QUIET(OBL_StructDeAlloc(&block), 0);
    EXPECT_EQ(block, nullptr);
    QUIET(OBL_MemoryDeAlloc(nullptr), 8);
    QUIET(OBL_StructAlloc(nullptr, 1), 8);
    for (const auto allocate : {&OBL_MemoryAlloc, &OBL_StructAlloc})
        for (const uint64_t size : {0u, 10u}) {
            block = &block;
            calls.malloc.FailNext();
            EXPECT_EQ(allocate(&block, size), size == 0 ? 8u : 14u);
            EXPECT_EQ(block, nullptr);
        }
}

TEST_F(Support, CopyFitsAnySizeButZeroWhichBoundsNothing) {
    for (const uint64_t size : {0u, 1u, 2u, 5u, 6u, 7u}) {
        char out[9] = "########";
        QUIET(OBL_strncpy(out, size, "hello"), 0);
        const std::string kept = std::string("hello").substr(0, size == 0 ? 5 : size - 1);
        EXPECT_EQ(std::string(out, 8), (kept + '\0' + "########").substr(0, 8)) << size;
        QUIET(OBL_strncpy(nullptr, size, nullptr), 0xFFFFFFFF);
    }
}

TEST_F(Support, CloneIsALimitedCopyAndNothingForNothing) {
    char* clone = nullptr;
    QUIET(OBL_strnclone(&clone, 9, ""), 0);
    QUIET(OBL_strnclone(nullptr, 3, "x"), 8);
    QUIET(OBL_strnclone(&clone, 3, nullptr), 8);
    EXPECT_EQ(calls.malloc.count, 0);
    calls.malloc.FailNext();
    QUIET(OBL_strnclone(&clone, 3, "abc"), 14);
    EXPECT_EQ(clone, nullptr);
    for (const size_t limit : {3u, 6u, 99u}) {
        QUIET(OBL_strnclone(&clone, limit, "abcdef"), 0);
        QUIET(OBL_strnclone(&clone, limit, "xyz"), 8);
        EXPECT_EQ(clone, std::string("abcdef").substr(0, limit));
        free(std::exchange(clone, nullptr));
    }
}

TEST_F(Support, SmallTextRoutines) {
    char text[32] = "Ab";
    QUIET(OBL_strncat(text, 3, "CDEF"), 0);
    QUIET(OBL_strncat(text, 9, "-\xC4\xFF"), 0);
    QUIET(OBL_str2lower(text), 8);
    EXPECT_STREQ(text, "abcde-\xC4\xFF");
    EXPECT_LT(OBL_strncmp("abc", 3, "abd"), 0);
    EXPECT_EQ(OBL_strncmp(nullptr, 3, "abd"), 0) << "a missing text equals every text";
    EXPECT_EQ(OBL_strncmp("abc", 3, nullptr), 0);
    char name[OBL_NAME_BYTES] = {};
    QUIET(OBL_SetDescription(name, nullptr), 0);
    EXPECT_STREQ(name, "un-named");
    QUIET(OBL_SetDescription(name, std::string(200, 'n').c_str()), 0);
    EXPECT_EQ(name, std::string(127, 'n'));
    EXPECT_EQ(OBL_snprintf(name, 5, "%s-%d", "abc", 17), 6) << "what it needs";
    EXPECT_STREQ(name, "abc-");
}

TEST_F(Support, PrintRefusesWritesOfItsOwn) {
    if (sanitized) GTEST_SKIP() << "the sanitizers print by themselves";
    char out[5], format[] = "%n";
    int32_t (*const print)(char*, uint64_t, const char*, ...) = &OBL_snprintf;  // unchecked format
    int written = 0;
    EXPECT_DEATH(print(out, 5, format, &written), "%n in writable");
}

TEST_F(Support, SearchAgreesWithPlainSearch) {
    std::vector<std::string> words = {""};
    for (size_t i = 0; words[i].size() < 6; ++i)
        for (const char c : {'a', 'b'}) words.push_back(words[i] + c);
    for (const std::string& text : words)
        for (const std::string& wanted : words)
            for (size_t limit = 0; limit < 8; ++limit) {
                const size_t at = text.substr(0, limit).find(wanted);
                const char* found = OBL_strnstr(text.c_str(), limit, wanted.c_str());
                ASSERT_EQ(found, at == std::string::npos ? nullptr : text.c_str() + at)
                    << wanted << " in " << limit << " of " << text;
            }
}

// Tokens of "text" by commas, each followed by where the cursor is and what the count has become.
std::string Tokens(std::string text, uint64_t count) {
    std::string all;
    char* cursor = text.data();
    for (const char* token = ""; token != nullptr;) {
        token = OBL_StringToToken(&cursor, &count, ",");
        all += (token == nullptr ? "-" : token) + ("@" + std::to_string(cursor - text.data())) +
               ":" + std::to_string(static_cast<int64_t>(count)) + " ";
    }
    return all;
}

TEST_F(Support, TokensAndTheirCounting) {
    EXPECT_EQ(Tokens(",,ab,c", 100), "ab@5:95 c@6:94 -@6:94 ");
    EXPECT_EQ(Tokens(",,ab,c", 3), "-@2:0 ") << "used up by the token's first byte";
    EXPECT_EQ(Tokens(",,ab,c", 4), "-@3:0 ") << "used up inside the token";
    EXPECT_EQ(Tokens(",,ab,c", 2), "-@2:0 ") << "used up by delimiters";
    EXPECT_EQ(Tokens("ab,", 3), "ab@3:0 -@3:0 ") << "a delimiter may be the last byte";
    EXPECT_EQ(Tokens("ab,c", 0), "ab@3:-3 c@4:-4 -@4:-4 ") << "0 is endless";
}

}  // namespace
