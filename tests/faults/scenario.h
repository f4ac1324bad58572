// A function of the libraries, run once for each library call that it makes, with that call
// failing.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/interpose.h"
#include "trvil/status.h"

namespace test {

// What follows when `call` fails, "call#2" for its second time. The expected status of every call
// that a function makes must be known: one that is not listed fails the test.
struct Outcome {
    std::string call;
    uint32_t status;
    long blocks = 0;  // that stay allocated
    long files = 0;   // that stay open
};

struct Scenario {
    const char* name;
    int groups;
    std::function<uint32_t()> run;
    std::vector<Outcome> outcomes;
    long blocks = 0;  // what success leaves
    std::function<void()> prepare = [] {};
    std::function<void()> clean = [] {};
};

inline void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

class EveryCall : public testing::TestWithParam<Scenario> {};

std::string name_of(const testing::TestParamInfo<Scenario>& scenario);
long open_files();

// Said by a status that no function has: a failing expectation would itself allocate.
constexpr uint32_t output_is_wrong = 9999;

}  // namespace test
