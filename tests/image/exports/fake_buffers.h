// A buffer library for tests: answers from a table and writes down what it was asked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "trvil/tbl.h"

namespace test {

constexpr uint64_t source_handle = 0x5EED, destination_handle = 0xDE57;

struct Query {
    uint64_t handle;
    uint32_t id;
    bool operator==(const Query&) const = default;
};

struct FakeBuffers {
    std::map<std::pair<uint64_t, uint32_t>, uint64_t> values;  // what is missing is not filled
    std::vector<Query> asked;
    size_t presence_answers = SIZE_MAX;  // after so many, handles are no longer present
    uint32_t answer = 0;                 // returned by every query

    void set(uint64_t handle, uint32_t id, uint64_t value) { values[{handle, id}] = value; }
    void set_picture(uint64_t handle, uint32_t format, const void* address, uint32_t width,
                     uint32_t height, uint32_t stride);
};

FakeBuffers& fake();

}  // namespace test
