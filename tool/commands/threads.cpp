#include "tool/commands/threads.h"

#include <sched.h>

#include <algorithm>
#include <thread>

namespace trv::tool {
namespace {

constexpr int most_threads = 1024;  // that a pool may have

}  // namespace

uint32_t processors() {
    cpu_set_t set;
    const int count = sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 0;
    // Machines with more processors than a set holds.
    return count > 0 ? static_cast<uint32_t>(count)
                     : std::max(1u, std::thread::hardware_concurrency());
}

void add_threads(CLI::App* command, uint32_t* threads, const char* group) {
    command
        ->add_option("--threads", *threads,
                     "Threads that convert, all jobs together; 0: one per processor [0]")
        ->check(CLI::Range(0, most_threads))
        ->type_name("N")
        ->group(group);
}

Helpers::Helpers(uint32_t threads, uint32_t jobs) {
    const uint32_t all = threads != 0 ? threads : std::min<uint32_t>(processors(), most_threads);
    // Where the machine starts no more threads, each job works alone.
    if (all > jobs) TRW_PoolCreate(&pool_, all - jobs + 1);
}

Helpers::~Helpers() {
    if (pool_ != nullptr) TRW_PoolDestroy(&pool_);
}

}  // namespace trv::tool
