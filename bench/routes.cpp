// Time of every route over the time of a memory copy of the same bytes: half of what the route
// reads and writes together. Warm: one frame again and again. Cold: a ring of frames beyond the
// caches.
#include <cstdio>
#include <memory>
#include <string>

#include "bench/measure.h"
#include "bench/ring.h"
#include "image/api/convert.h"
#include "image/api/routes.h"

namespace {

using bench::Frame;
using bench::Size;
using trv::Format;

struct Task {
    const Format& from;
    const Format& to;
    uint32_t method;
    std::string name;
};

struct Options {
    Size size{1920, 1080};
    bool cold = false;
    unsigned level = trv::best_level();
    int rounds = 31;
    std::string only;
};

struct Frames {
    std::vector<std::unique_ptr<Frame>> from, to;

    Frames(const Task& task, const Options& options) {
        const uint64_t pair = trv::line_bytes(task.from, options.size.width) * options.size.height +
                              trv::line_bytes(task.to, options.size.width) * options.size.height;
        const size_t count = options.cold ? std::max<size_t>(4, (size_t{400} << 20) / pair) : 1;
        for (size_t i = 0; i < count; ++i) {
            from.push_back(std::make_unique<Frame>(task.from, options.size));
            to.push_back(std::make_unique<Frame>(task.to, options.size));
            TBS_BufferParameterSet(from.back()->handle(), TBL_PARAMETER_BAYER_METHOD, task.method);
        }
    }
};

double ratio(const Task& task, const Options& options, double* megapixels) {
    const Frames frames(task, options);
    const uint64_t half = (frames.from[0]->bytes() + frames.to[0]->bytes()) / 2;
    // The copy has frames of its own, as many, of half the bytes each.
    const Size copy_size{static_cast<uint32_t>(half / options.size.height), options.size.height};
    std::vector<std::unique_ptr<Frame>> copy_from, copy_to;
    for (size_t i = 0; i < frames.from.size(); ++i) {
        copy_from.push_back(std::make_unique<Frame>(trv::format_of(trv::Code::Mono8), copy_size));
        copy_to.push_back(std::make_unique<Frame>(trv::format_of(trv::Code::Mono8), copy_size));
    }
    size_t turn = 0, copy_turn = 0;
    const auto convert = [&] {
        const size_t i = turn++ % frames.from.size();
        trv::convert(trv::levels[options.level], frames.from[i]->handle(), frames.to[i]->handle());
    };
    const auto copy = [&] {
        const size_t i = copy_turn++ % copy_from.size();
        std::memcpy(copy_to[i]->memory(), copy_from[i]->memory(), copy_from[i]->bytes());
    };
    const auto times = bench::race({convert, copy}, options.rounds);
    *megapixels = options.size.width * 1e-6 * options.size.height / times[0];
    return times[0] / times[1];
}

std::vector<Task> all_tasks() {
    std::vector<Task> tasks;
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats) {
            const trv::Way way =
                trv::find_way(static_cast<uint8_t>(from.code), static_cast<uint8_t>(to.code));
            const std::string name = std::string(from.name) + " " + to.name;
            if (way == trv::Way::none) continue;
            if (way != trv::Way::bayer) {
                tasks.push_back({from, to, TBL_BAYER_METHOD_AVE, name});
                continue;
            }
            if (from.phase != trv::Phase::none)
                continue;  // the lettered codes run the same kernels
            const bool dup_only = to.code == trv::Code::RGBX32 || to.code == trv::Code::BGR16;
            tasks.push_back({from, to, TBL_BAYER_METHOD_DUP, name + " dup"});
            if (dup_only) continue;
            tasks.push_back({from, to, TBL_BAYER_METHOD_AVE, name + " ave"});
            tasks.push_back({from, to, TBL_BAYER_METHOD_MED, name + " med"});
        }
    return tasks;
}

bool parse(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool has_value = i + 1 < argc;
        if (word == "--cold") {
            options->cold = true;
            options->size = {4096, 3072};
            options->rounds = 9;
        } else if (word == "--level" && has_value) {
            const std::string name = argv[++i];
            for (unsigned l = 0; l <= trv::best_level(); ++l)
                if (name == trv::levels[l].name) options->level = l;
        } else if (word == "--size" && has_value) {
            const std::string size = argv[++i];
            options->size = {static_cast<uint32_t>(std::atoi(size.c_str())),
                             static_cast<uint32_t>(std::atoi(size.c_str() + size.find('x') + 1))};
        } else if (word == "--rounds" && has_value) {
            options->rounds = std::atoi(argv[++i]);
        } else if (word == "--only" && has_value) {
            options->only = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, &options)) {
        std::fprintf(stderr,
                     "usage: bench_routes [--cold] [--size WxH] [--level scalar|v2|v3|v4] "
                     "[--rounds N] [--only TEXT]\n");
        return 2;
    }
    std::printf("# level %s, %ux%u %s, time over a memory copy of the same bytes\n",
                trv::levels[options.level].name, options.size.width, options.size.height,
                options.cold ? "cold" : "warm");
    std::vector<std::pair<double, std::string>> results;
    for (const Task& task : all_tasks()) {
        if (task.name.find(options.only) == std::string::npos) continue;
        double megapixels = 0;
        const double r = ratio(task, options, &megapixels);
        std::printf("%-28s %6.3f %8.0f Mpx/s\n", task.name.c_str(), r, megapixels);
        std::fflush(stdout);
        results.emplace_back(r, task.name);
    }
    std::sort(results.rbegin(), results.rend());
    std::printf("# the ten slowest\n");
    for (size_t i = 0; i < std::min<size_t>(10, results.size()); ++i)
        std::printf("# %-28s %6.3f\n", results[i].second.c_str(), results[i].first);
    return 0;
}
