// What was measured: a line a task for people, a file for programs.
#pragma once

#include <string>
#include <vector>

#include "bench/options.h"
#include "bench/peers/task.h"

namespace peers {

struct Entry {
    std::string name;
    const char* differs;  // why; null: the same operation
    double seconds;       // per frame, or per as many frames as there are threads
};

struct Result {
    const Task* task;
    double pixels, bytes;  // of all threads
    double copy_seconds;
    std::vector<Entry> entries;  // ourselves first, then our other levels, then the peers

    double megapixels(const Entry& entry) const { return pixels / entry.seconds * 1e-6; }
    double of_copy(const Entry& entry) const { return copy_seconds / entry.seconds; }
    const Entry* best_peer() const;  // null when there is none
};

bool is_ours(const Entry& entry);

void print_heading(const bench::Options& options);
void print(const Result& result);

// Writes all results with the machine they were measured on; false when the file cannot be written.
bool write_json(const std::string& path, const bench::Options& options,
                const std::vector<Result>& results);

}  // namespace peers
