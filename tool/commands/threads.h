// The threads that convert a picture together.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>

#include "trvil/raw.h"

namespace trv::tool {

// Those that this process may run on.
uint32_t processors();

// Adds --threads: as many as there are processors where it is left out, or 0.
void add_threads(CLI::App* command, uint32_t* threads, const char* group);

// `threads` in all, those of `jobs` pictures at a time among them: what is left helps all jobs. So
// the two do not multiply, and with as many jobs as threads each works alone.
class Helpers {
  public:
    explicit Helpers(uint32_t threads, uint32_t jobs = 1);
    ~Helpers();
    Helpers(const Helpers&) = delete;
    Helpers& operator=(const Helpers&) = delete;

    TRW_Pool* pool() const { return pool_; }

  private:
    TRW_Pool* pool_ = nullptr;  // null where every job works alone
};

}  // namespace trv::tool
