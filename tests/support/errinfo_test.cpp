// The error record and its callbacks.
#include "support/relaxed.h"
#include "tests/support/fakes.h"

namespace {

class ErrInfoTest : public SupportTest {
  protected:
    std::string Stored() const {
        const char* message = nullptr;
        uint32_t status = 0;
        EXPECT_EQ(OBL_GetErrInfo(info, &message, &status), 0u);
        EXPECT_EQ(OBL_GetErrInfo(info, nullptr, nullptr), 0u);
        EXPECT_EQ(message, info->szMessage) << "no copy";
        return std::to_string(status) + " " + message;
    }
    static uint32_t Decode(uint32_t status, const char* message) {
        Hear("decode", status, message);
        return 0;
    }
    static void Log(const char* function, uint32_t status, const char* message) {
        Hear((std::string("log ") + function).c_str(), status, message);
    }
};

TEST_F(ErrInfoTest, ReportsOverwriteAsAWhole) {
    EXPECT_EQ(Stored(), "0 No Error");
    EXPECT_STREQ(info->szFunction, "");
    EXPECT_STREQ(info->psMutex->szName, "ErrorMutex");
    EXPECT_STREQ(info->psMutex->szDescription, "un-named");
    OBL_SetErrInfo(info, "Who", 15, "Failed [%s] %d", "x", 7);
    EXPECT_EQ(Stored(), "15 Failed [x] 7");
    OBL_SetErrInfo(info, nullptr, 8, "%s", std::string(600, 'm').c_str());
    EXPECT_EQ(Stored(), "8 " + std::string(511, 'm'));
    EXPECT_STREQ(info->szFunction, "Who") << "a null name keeps the former one";
    OBL_SetErrInfo(info, std::string(600, 'f').c_str(), 8, "m");
    EXPECT_EQ(info->szFunction, std::string(511, 'f'));
    OBL_SetErrInfo(nullptr, "Who", 15, "nobody hears %d", 1);
}

TEST_F(ErrInfoTest, CallbacksAreKeptAndCalledInOrder) {
    OBL_DecodeCallback decode = &Decode;
    OBL_HandlerCallback handler = nullptr;
    EXPECT_EQ(OBL_ErrInfoSetDecode(info, &decode), 0u);
    decode = nullptr;
    EXPECT_EQ(OBL_ErrInfoGetDecode(info, &decode), 0u);
    EXPECT_EQ(decode, &Decode);
    EXPECT_EQ(OBL_ErrInfoGetHandler(info, &handler), 0u);
    EXPECT_EQ(handler, &Hear);
    EXPECT_EQ(OBL_ErrInfoSetLoggingHandler(info, &Log), 0u);
    OBL_SetErrInfo(info, "Who", 15, "a");
    EXPECT_EQ(Said(), "Who 15 a\nlog Who 15 a\n") << "the decode callback is not called";
    EXPECT_EQ(OBL_ErrInfoSetHandler(info, nullptr), 0u);
    OBL_SetErrInfo(info, "Who", 15, "b");
    EXPECT_EQ(Said(), "log Who 15 b\n");
    EXPECT_EQ(OBL_ErrInfoSetHandler(info, &handler), 0u);
    EXPECT_EQ(OBL_ErrInfoSetLoggingHandler(info, nullptr), 0u);
    OBL_SetErrInfo(info, "Who", 15, "c");
    EXPECT_EQ(Said(), "Who 15 c\n");
    EXPECT_EQ(OBL_ErrInfoGetHandler(nullptr, &handler), 8u);
    EXPECT_EQ(OBL_ErrInfoGetHandler(info, nullptr), 8u);
    EXPECT_EQ(OBL_ErrInfoGetDecode(info, nullptr), 8u);
    EXPECT_EQ(OBL_ErrInfoSetDecode(info, nullptr), 8u);
}

OBL_ErrInfo* shared;

TEST_F(ErrInfoTest, CallbacksRunUnlockedAndSeeTheMembersThemselves) {
    calls.clock_stands = true;
    shared = info;
    const OBL_HandlerCallback again = [](const char* function, uint32_t status, const char* text) {
        EXPECT_EQ(function, shared->szFunction);
        EXPECT_EQ(text, shared->szMessage);
        Hear(function, status, text);
        if (status == 1) OBL_SetErrInfo(shared, function, 2, "again");
    };
    OBL_ErrInfoSetHandler(info, &again);
    OBL_ErrInfoSetLoggingHandler(info, &Log);
    OBL_SetErrInfo(info, "Who", 1, "first");
    EXPECT_EQ(Said(), "Who 1 first\nWho 2 again\nlog Who 2 again\nlog Who 2 again\n");
    EXPECT_EQ(calls.nanosleep.count, 0) << "nobody waited for the lock";
}

TEST_F(ErrInfoTest, AHeldRecordDropsReportsAfter100Milliseconds) {
    calls.clock_stands = true;
    ASSERT_EQ(OBL_MutexAcquire(info->psMutex, UINT32_MAX, nullptr), 0u);
    OBL_SetErrInfo(info, "Who", 15, "dropped");
    EXPECT_EQ(calls.nanosleep.count, 100);
    const OBL_HandlerCallback none = nullptr;
    uint32_t status = 99;
    EXPECT_EQ(OBL_GetErrInfo(info, nullptr, &status), 0x8000u);
    EXPECT_EQ(OBL_ErrInfoSetHandler(info, &none), 0x8000u);
    EXPECT_EQ(status, 99u);
    ASSERT_EQ(OBL_MutexRelease(info->psMutex, nullptr), 0u);
    EXPECT_EQ(Stored(), "0 No Error");
    EXPECT_EQ(Said(), "");
    info->psMutex->fDestroying = 1;
    EXPECT_EQ(OBL_GetErrInfo(info, nullptr, &status), 26u);
    info->psMutex->fDestroying = 0;
}

TEST_F(ErrInfoTest, FailedCreationTellsTheGivenCallbacks) {
    const std::string no_memory = " 0 Failed to allocate memory for ErrInfo structure\n";
    const std::string no_mutex = " Failed to create mutex for ErrInfo structure\n";
    OBL_ErrInfo* made = info;
    calls.malloc.fail = {1, 2, 3, 5};
    EXPECT_EQ(OBL_ErrInfoCreate(&made, &Decode, &Hear), 0u) << "counts as success";
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Said(), "decode" + no_memory + "OBL_ErrInfoCreate" + no_memory);
    EXPECT_EQ(OBL_ErrInfoCreate(&made, nullptr, &Hear), 0u);
    EXPECT_EQ(Said(), "OBL_ErrInfoCreate" + no_memory);
    EXPECT_EQ(OBL_ErrInfoCreate(&made, &Decode, nullptr), 0u);
    EXPECT_EQ(Said(), "");

    EXPECT_EQ(OBL_ErrInfoCreate(&made, &Decode, &Hear), 14u);
    ASSERT_NE(made, nullptr) << "the record stays";
    EXPECT_EQ(Said(), "decode 14" + no_mutex + "OBL_ErrInfoCreate 14" + no_mutex);
    OBL_SetErrInfo(made, "Who", 15, "dropped");
    EXPECT_EQ(OBL_GetErrInfo(made, nullptr, nullptr), 8u);
    EXPECT_EQ(OBL_ErrInfoDestroy(&made), 8u);
    EXPECT_EQ(made, nullptr);

    calls.pthread_mutex_init.fail = {1};
    EXPECT_EQ(OBL_ErrInfoCreate(&made, nullptr, &Hear), 15u);
    EXPECT_EQ(Said(), "OBL_ErrInfoCreate 15" + no_mutex);
    OBL_ErrInfoDestroy(&made);
}

TEST_F(ErrInfoTest, DestructionFreesTheRecordThoughItsMutexIsHeld) {
    OBL_Mutex* mutex = info->psMutex;
    ASSERT_EQ(OBL_MutexAcquire(mutex, 0, nullptr), 0u);
    EXPECT_EQ(OBL_ErrInfoDestroy(&info), 8u);
    EXPECT_EQ(info, nullptr);
    OBL_MutexRelease(mutex, nullptr);
    EXPECT_EQ(OBL_MutexDestroy(&mutex, nullptr), 0u);
}

TEST_F(ErrInfoTest, ReportingAllocatesNothing) {
    OBL_ErrInfoSetHandler(info, nullptr);
    const int before = all_mallocs;
    for (int i = 0; i < 100; ++i) OBL_SetErrInfo(info, "Who", 15, "%s %d %f", "text", i, 0.5);
    EXPECT_EQ(all_mallocs, before);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "allocations are not counted under a sanitizer";
#endif
    void* volatile block = malloc(1);
    free(block);
    EXPECT_GT(all_mallocs, before) << "they are counted";
}

}  // namespace
