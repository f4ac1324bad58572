// The error record and its callbacks.
#include "tests/support/fakes.h"

namespace {

uint32_t Decode(uint32_t status, const char* message) {
    Hear("decode", status, message);
    return 0;
}

void Log(const char* function, uint32_t status, const char* message) {
    Hear((std::string("log ") + function).c_str(), status, message);
}

TEST_F(Support, ReportsOverwriteAsAWhole) {
    const auto stored = [this] {
        return Line(info->szFunction, info->nErrorCode, info->szMessage);
    };
    EXPECT_EQ(stored(), " 0 No Error\n");
    EXPECT_STREQ(info->psMutex->szName, "ErrorMutex");
    OBL_SetErrInfo(info, "Who", 15, "Failed [%s] %d", "x", 7);
    EXPECT_EQ(stored(), "Who 15 Failed [x] 7\n");
    OBL_SetErrInfo(info, nullptr, 8, "%s", std::string(600, 'm').c_str());
    EXPECT_EQ(stored(), "Who 8 " + std::string(511, 'm') + "\n") << "null keeps the name";
    OBL_SetErrInfo(info, std::string(600, 'f').c_str(), 7, "m");
    EXPECT_EQ(stored(), std::string(511, 'f') + " 7 m\n");
    OBL_SetErrInfo(nullptr, "Who", 15, "nobody hears %d", 1);
    const char* message = nullptr;
    uint32_t status = 0;
    EXPECT_EQ(OBL_GetErrInfo(info, &message, &status), 0u);
    EXPECT_EQ(message, info->szMessage) << "no copy";
    EXPECT_EQ(status, 7u);
}

TEST_F(Support, CallbacksAreKeptAndCalledInOrder) {
    OBL_DecodeCallback decode = &Decode;
    OBL_HandlerCallback handler = nullptr;
    QUIET(OBL_ErrInfoSetDecode(info, &decode), 0);
    decode = nullptr;
    QUIET(OBL_ErrInfoGetDecode(info, &decode), 0);
    EXPECT_EQ(decode, &Decode);
    QUIET(OBL_ErrInfoGetHandler(info, &handler), 0);
    EXPECT_EQ(handler, &Hear);
    QUIET(OBL_ErrInfoSetLoggingHandler(info, &Log), 0);
    OBL_SetErrInfo(info, "Who", 15, "a");
    EXPECT_EQ(Said(), "Who 15 a\nlog Who 15 a\n") << "the decode callback is not called";
    QUIET(OBL_ErrInfoGetDecode(info, nullptr), 8);
    QUIET(OBL_ErrInfoSetDecode(info, nullptr), 8);
    QUIET(OBL_ErrInfoGetHandler(info, nullptr), 8);
    QUIET(OBL_GetErrInfo(nullptr, nullptr, nullptr), 8);
    QUIET(OBL_ErrInfoSetHandler(info, nullptr), 0);
    OBL_SetErrInfo(info, "Who", 15, "b");
    EXPECT_EQ(Said(), "log Who 15 b\n");
}

OBL_ErrInfo* shared;

TEST_F(Support, CallbacksRunUnlockedOnTheMembersThemselves) {
    calls.clock_stands = true;
    shared = info;
    const OBL_HandlerCallback again = [](const char* function, uint32_t status, const char* text) {
        EXPECT_TRUE(function == shared->szFunction && text == shared->szMessage);
        Hear(function, status, text);
        if (status == 1) OBL_SetErrInfo(shared, function, 2, "again");
    };
    OBL_ErrInfoSetHandler(info, &again);
    OBL_ErrInfoSetLoggingHandler(info, &Log);
    OBL_SetErrInfo(info, "Who", 1, "first");
    EXPECT_EQ(Said(), "Who 1 first\nWho 2 again\nlog Who 2 again\nlog Who 2 again\n");
    EXPECT_EQ(calls.nanosleep.count, 0) << "nobody waited for the lock";
}

TEST_F(Support, AHeldRecordDropsReportsAfter100Milliseconds) {
    calls.clock_stands = true;
    ASSERT_EQ(OBL_MutexAcquire(info->psMutex, UINT32_MAX, nullptr), 0u);
    OBL_SetErrInfo(info, "Who", 15, "dropped");
    EXPECT_EQ(calls.nanosleep.count, 100);
    QUIET(OBL_GetErrInfo(info, nullptr, nullptr), 0x8000);
    EXPECT_STREQ(info->szMessage, "No Error");
    OBL_Mutex* mutex = info->psMutex;
    QUIET(OBL_ErrInfoDestroy(&info), 8);
    EXPECT_EQ(info, nullptr) << "freed without its mutex";
    OBL_MutexRelease(mutex, nullptr);
    QUIET(OBL_MutexDestroy(&mutex, nullptr), 0);
}

TEST_F(Support, FailedCreationTellsTheGivenCallbacks) {
    const std::string no_memory = " 0 Failed to allocate memory for ErrInfo structure\n";
    const std::string no_mutex = " Failed to create mutex for ErrInfo structure\n";
    OBL_ErrInfo* made = info;
    calls.malloc.fail = {1, 2, 4};
    EXPECT_EQ(OBL_ErrInfoCreate(&made, &Decode, &Hear), 0u) << "counts as success";
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Said(), "decode" + no_memory + "OBL_ErrInfoCreate" + no_memory);
    QUIET(OBL_ErrInfoCreate(&made, &Decode, nullptr), 0);
    EXPECT_EQ(OBL_ErrInfoCreate(&made, &Decode, &Hear), 14u);
    EXPECT_EQ(Said(), "decode 14" + no_mutex + "OBL_ErrInfoCreate 14" + no_mutex);
    ASSERT_NE(made, nullptr) << "the record stays";
    OBL_SetErrInfo(made, "Who", 15, "dropped");
    QUIET(OBL_GetErrInfo(made, nullptr, nullptr), 8);
    QUIET(OBL_ErrInfoDestroy(&made), 8);
    calls.pthread_mutex_init.FailNext();
    SAYS(OBL_ErrInfoCreate(&made, nullptr, &Hear), 15,
         "Failed to create mutex for ErrInfo structure");
    OBL_ErrInfoDestroy(&made);
}

TEST_F(Support, ReportingAllocatesNothing) {
    if (sanitized) GTEST_SKIP() << "allocations are not counted under a sanitizer";
    OBL_ErrInfoSetHandler(info, nullptr);
    const int before = all_mallocs;
    for (int i = 0; i < 100; ++i) OBL_SetErrInfo(info, "Who", 15, "%s %d %f", "text", i, 0.5);
    EXPECT_EQ(all_mallocs, before);
    void* volatile block = malloc(1);
    free(block);
    EXPECT_GT(all_mallocs, before) << "they are counted";
}

}  // namespace
