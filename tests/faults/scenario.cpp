#include "tests/faults/scenario.h"

#include <algorithm>
#include <filesystem>

namespace test {
namespace {

namespace fs = std::filesystem;

const Outcome* find_outcome(const Scenario& s, const Fault& fault) {
    const std::string numbered = fault.call + ("#" + std::to_string(fault.number));
    for (const std::string& name : {numbered, std::string(fault.call)})
        for (const Outcome& outcome : s.outcomes)
            if (outcome.call == name) return &outcome;
    ADD_FAILURE() << "nobody said what follows when " << numbered << " fails";
    return nullptr;
}

// Runs with the k-th call failing. False when there was no k-th call any more.
bool run_with_fault(const Scenario& s, int k) {
    s.prepare();
    const long files_before = open_files();
    FaultArm(k, s.groups);
    const uint32_t status = s.run();
    const Fault fault = FaultDisarm();
    const long files = open_files() - files_before;
    s.clean();
    const Outcome success = {"", TRV_STATUS_OK, s.blocks};
    const Outcome* expected = fault.call == nullptr ? &success : find_outcome(s, fault);
    if (expected == nullptr) return false;
    SCOPED_TRACE(testing::Message()
                 << (fault.call == nullptr ? "no fault" : fault.call) << " " << fault.number);
    EXPECT_EQ(status, expected->status);
    EXPECT_EQ(fault.blocks, expected->blocks) << "blocks left";
    EXPECT_EQ(files, expected->files) << "descriptors left";
    return fault.call != nullptr;
}

TEST_P(EveryCall, ThatFailsHasTheStatedStatusAndLeavesNothing) {
    int k = 1;
    while (k < 1000 && run_with_fault(GetParam(), k)) ++k;
    EXPECT_GT(k, 1) << "nothing was watched";
    EXPECT_LT(k, 1000);
}

}  // namespace

long open_files() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

std::string name_of(const testing::TestParamInfo<Scenario>& scenario) {
    std::string name = scenario.param.name;
    std::erase_if(name, [](char c) { return isalnum(c) == 0; });
    return name;
}

}  // namespace test
