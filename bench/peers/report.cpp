#include "bench/peers/report.h"

#include <cstdio>

namespace peers {

bool is_ours(const Entry& entry) {
    return entry.name.rfind("trvil", 0) == 0;
}

const Entry* Result::best_peer() const {
    const Entry* best = nullptr;
    for (const Entry& entry : entries)
        if (!is_ours(entry) && (best == nullptr || entry.seconds < best->seconds)) best = &entry;
    return best;
}

void print_heading(const bench::Options& options) {
    const Size size = options.size;
    const trv::timing::Rules& rules = options.rules;
    std::printf("# %ux%u, %s, %u thread%s, %u rounds; x copy: speed as a part of a memory copy's\n",
                size.width, size.height, rules.cold ? "cold" : "warm", rules.threads,
                rules.threads == 1 ? "" : "s", rules.rounds);
    std::printf("%-26s %8s %6s %6s %6s  %s\n", "task", "Mpx/s", "GB/s", "x copy", "x best",
                "others, x copy (~ another operation: how)");
}

void print(const Result& result) {
    const Entry& own = result.entries.front();
    const Entry* best = result.best_peer();
    std::printf("%-26s %8.0f %6.1f %6.2f ", result.task->name().c_str(), result.megapixels(own),
                result.bytes / own.seconds * 1e-9, result.of_copy(own));
    if (best != nullptr)
        std::printf("%6.2f ", best->seconds / own.seconds);
    else
        std::printf("%6s ", "-");
    for (size_t i = 1; i < result.entries.size(); ++i) {
        const Entry& entry = result.entries[i];
        std::printf(" %s%s%s %.2f", &entry == best ? "*" : "", entry.name.c_str(),
                    entry.differs != nullptr ? "~" : "", result.of_copy(entry));
        if (entry.differs != nullptr) std::printf(" (%s)", entry.differs);
    }
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace peers
