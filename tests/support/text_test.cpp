// Memory and bounded text.
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string_view>
#include <vector>

#include "tests/support/fakes.h"

namespace {

class MemoryTest : public SupportTest {};
class TextTest : public SupportTest {};

TEST_F(MemoryTest, BlocksComeAndGoThroughThePointer) {
    void* block = nullptr;
    ASSERT_EQ(OBL_StructAlloc(&block, 100), 0u);
    EXPECT_EQ(std::string(static_cast<char*>(block), 100), std::string(100, '\0'));
    EXPECT_EQ(OBL_StructDeAlloc(&block), 0u);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(OBL_MemoryDeAlloc(&block), 0u) << "a null block is fine";
    EXPECT_EQ(OBL_MemoryDeAlloc(nullptr), 8u);
    EXPECT_EQ(OBL_StructAlloc(nullptr, 1), 8u);
}

TEST_F(MemoryTest, FailuresLeaveNull) {
    for (const auto allocate : {&OBL_MemoryAlloc, &OBL_StructAlloc}) {
        int something = 0;
        void* block = &something;
        EXPECT_EQ(allocate(&block, 0), 8u);
        EXPECT_EQ(block, nullptr);
        block = &something;
        calls.malloc.fail = {calls.malloc.count + 1};
        EXPECT_EQ(allocate(&block, 10), 14u);
        EXPECT_EQ(block, nullptr);
    }
}

TEST_F(TextTest, CopyFitsAnySizeButZero) {
    for (uint64_t size = 0; size < 8; ++size) {
        char out[9] = "########";
        EXPECT_EQ(OBL_strncpy(out, size, "hello"), 0u);
        // A size of 0 bounds nothing.
        const std::string kept = std::string("hello").substr(0, size == 0 ? 5 : size - 1);
        EXPECT_EQ(std::string(out, 8), (kept + '\0' + "########").substr(0, 8)) << size;
    }
    char out[9] = "########";
    EXPECT_EQ(OBL_strncpy(out, 8, nullptr), 0xFFFFFFFFu);
    EXPECT_STREQ(out, "########");
}

// One page of letters seen again and again makes a text of 4 GiB and 5 characters.
TEST_F(TextTest, CopyCutsLengthsTo32Bits) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the shadow of 4 GiB is too much memory";
#endif
    constexpr size_t piece = 1 << 26, length = (size_t{1} << 32) + 5, mapped = length + piece - 5;
    const int file = memfd_create("letters", 0);
    ASSERT_EQ(ftruncate(file, piece), 0);
    char* text = static_cast<char*>(
        mmap(nullptr, mapped, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    ASSERT_NE(text, MAP_FAILED);
    for (size_t at = 0; at < mapped; at += piece)
        ASSERT_NE(mmap(text + at, piece, PROT_READ | PROT_WRITE,
                       MAP_FIXED | (at + piece < mapped ? MAP_SHARED : MAP_PRIVATE), file, 0),
                  MAP_FAILED);
    memset(text, 'x', piece);
    text[length] = '\0';  // in the last piece, a copy of its own
    char out[100] = {};
    EXPECT_EQ(OBL_strncpy(out, sizeof out, text), 0u);
    EXPECT_STREQ(out, "xxxxx");
    munmap(text, mapped);
    close(file);
}

TEST_F(TextTest, CloneIsALimitedCopyAndNothingForNothing) {
    char* clone = nullptr;
    EXPECT_EQ(OBL_strnclone(&clone, 9, ""), 0u);
    EXPECT_EQ(clone, nullptr);
    EXPECT_EQ(calls.malloc.count, 0);
    for (const auto& [limit, expected] : {std::pair{3, "abc"}, {6, "abcdef"}, {99, "abcdef"}}) {
        ASSERT_EQ(OBL_strnclone(&clone, static_cast<uint64_t>(limit), "abcdef"), 0u);
        EXPECT_STREQ(clone, expected);
        char* const before = clone;
        EXPECT_EQ(OBL_strnclone(&clone, 3, "xyz"), 8u);
        EXPECT_EQ(clone, before);
        void* block = clone;
        OBL_StructDeAlloc(&block);
        clone = nullptr;
    }
    EXPECT_EQ(OBL_strnclone(nullptr, 3, "x"), 8u);
    EXPECT_EQ(OBL_strnclone(&clone, 3, nullptr), 8u);
    calls.malloc.fail = {calls.malloc.count + 1};
    EXPECT_EQ(OBL_strnclone(&clone, 3, "abc"), 14u);
    EXPECT_EQ(clone, nullptr);
}

TEST_F(TextTest, SmallRoutines) {
    char text[32] = "ab";
    EXPECT_EQ(OBL_strncat(text, 3, "CDEF"), 0u) << "the limit bounds what is taken";
    EXPECT_STREQ(text, "abCDE");
    strcat(text, "-\xC4\xFF");
    EXPECT_EQ(OBL_str2lower(text), 8u);
    EXPECT_STREQ(text, "abcde-\xC4\xFF");
    EXPECT_EQ(OBL_str2lower(text + 8), 0u);
    EXPECT_EQ(OBL_strnlen(text, 3), 3u);
    EXPECT_EQ(OBL_strncmp("abc", 2, "abd"), 0);
    EXPECT_LT(OBL_strncmp("abc", 3, "abd"), 0);
    EXPECT_EQ(OBL_strncmp(nullptr, 3, "abd"), 0) << "a missing text equals every text";
    EXPECT_EQ(OBL_strncmp("abc", 3, nullptr), 0);
    char name[OBL_NAME_BYTES] = {};
    EXPECT_EQ(OBL_SetDescription(name, nullptr), 0u);
    EXPECT_STREQ(name, "un-named");
    EXPECT_EQ(OBL_SetDescription(name, std::string(200, 'n').c_str()), 0u);
    EXPECT_EQ(name, std::string(127, 'n'));
    EXPECT_EQ(OBL_SetDescription(nullptr, "n"), 0u);
}

TEST_F(TextTest, SearchAgreesWithPlainSearch) {
    std::vector<std::string> words = {""};
    for (size_t i = 0; words[i].size() < 6; ++i)
        for (const char c : {'a', 'b'}) words.push_back(words[i] + c);
    for (const std::string& text : words)
        for (const std::string& wanted : words)
            for (size_t limit = 0; limit < 8; ++limit) {
                const size_t at = std::string_view(text).substr(0, limit).find(wanted);
                const char* found = OBL_strnstr(text.c_str(), limit, wanted.c_str());
                ASSERT_EQ(found, at == std::string::npos ? nullptr : text.c_str() + at)
                    << wanted << " in " << limit << " of " << text;
            }
    EXPECT_STREQ(OBL_strnstr("abcabd", UINT64_MAX, "abd"), "abd");
}

// Tokens of "text" by commas, each followed by where the cursor is and what the count has become.
std::string Tokens(std::string text, uint64_t count) {
    std::string all;
    char* cursor = text.data();
    for (const char* token = ""; token != nullptr;) {
        token = OBL_StringToToken(&cursor, &count, ",");
        all += std::string(token == nullptr ? "-" : token) + "@" +
               std::to_string(cursor - text.data()) + ":" +
               std::to_string(static_cast<int64_t>(count)) + " ";
    }
    return all;
}

TEST_F(TextTest, TokensAndTheirCounting) {
    EXPECT_EQ(Tokens(",,ab,c", 100), "ab@5:95 c@6:94 -@6:94 ");
    EXPECT_EQ(Tokens(",,ab,c", 3), "-@2:0 ") << "used up by the token's first byte";
    EXPECT_EQ(Tokens(",,ab,c", 4), "-@3:0 ") << "used up inside the token";
    EXPECT_EQ(Tokens(",,ab,c", 2), "-@2:0 ") << "used up by delimiters";
    EXPECT_EQ(Tokens("ab,", 3), "ab@3:0 -@3:0 ") << "a delimiter may be the last byte";
    EXPECT_EQ(Tokens("ab,c", 0), "ab@3:-3 c@4:-4 -@4:-4 ") << "0 is endless";
    EXPECT_EQ(Tokens("", 5), "-@0:5 ");
}

TEST_F(TextTest, PrintTellsWhatItNeedsAndRefusesWrites) {
    char out[5];
    EXPECT_EQ(OBL_snprintf(out, sizeof out, "%s-%d", "abc", 17), 6);
    EXPECT_STREQ(out, "abc-");
    char format[] = "%n";
    int written = 0;
    // Called without its format attribute, which would refuse this text at compile time.
    int32_t (*const print)(char*, uint64_t, const char*, ...) = &OBL_snprintf;
    EXPECT_DEATH(print(out, sizeof out, format, &written), "%n in writable");
}

}  // namespace
