// Pictures straight from what cameras send: what a second thread gains, beside what it gains two
// copies of as many bytes, and what it is worth to unpack and convert in one pass.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include "bench/options.h"
#include "image/exports/convert.h"
#include "raw/convert/convert.h"
#include "raw/packing.h"
#include "raw/pool/pool.h"
#include "raw/unpack/unpack.h"
#include "trvil/raw.h"

namespace {

using bench::Memory;
using bench::Options;
using bench::Size;
using trv::Code;

struct Task {
    uint32_t packing;  // 0: none
    Code samples, destination;
    uint32_t method;
};

const Task tasks[] = {
    {0, Code::BAY8, Code::BGR24, TBL_BAYER_METHOD_AVE},
    {0, Code::BAY8, Code::BGRX32, TBL_BAYER_METHOD_MED},
    {0, Code::BAY12, Code::BGR24, TBL_BAYER_METHOD_AVE},
    {TRW_PACKING_12p, Code::BAY12, Code::BGR24, TBL_BAYER_METHOD_DUP},
    {TRW_PACKING_12p, Code::BAY12, Code::BGR24, TBL_BAYER_METHOD_AVE},
    {TRW_PACKING_RAW10, Code::BAY10, Code::BGRX32, TBL_BAYER_METHOD_MED},
    {TRW_PACKING_10p, Code::Mono10, Code::Mono8, 0},
};

std::string name_of(const Task& task) {
    const char* method = task.method == TBL_BAYER_METHOD_DUP   ? " dup"
                         : task.method == TBL_BAYER_METHOD_AVE ? " ave"
                         : task.method == TBL_BAYER_METHOD_MED ? " med"
                                                               : "";
    const std::string packing =
        task.packing == 0 ? "" : std::string(trv::raw::find_packing(task.packing)->name) + " ";
    return packing + trv::format_of(task.samples).name + " " +
           trv::format_of(task.destination).name + method;
}

uint64_t source_line(const Task& task, uint32_t width) {
    if (task.packing == 0) return trv::line_bytes(trv::format_of(task.samples), width);
    return trv::raw::line_bytes(*trv::raw::find_packing(task.packing), 0, width);
}

// What a source is wrapped as: of a packing, whether it is a mosaic is all that counts.
const trv::Format& source_format(const Task& task) {
    const trv::Format& samples = trv::format_of(task.samples);
    if (task.packing == 0) return samples;
    return trv::format_of(samples.family == trv::Family::bayer ? Code::BAY8 : Code::Mono8);
}

// What one call works on: both pictures, the one between them, and a copy of as many bytes.
class Pictures {
  public:
    Pictures(const Task& task, Size size)
        : half_(bytes(task, size) / 2),
          from_(source_line(task, size.width) * size.height),
          middle_(bench::bytes_of(trv::format_of(task.samples), size)),
          to_(bench::bytes_of(trv::format_of(task.destination), size)),
          copy_from_(half_),
          copy_to_(half_),
          source_(bench::buffer_of(source_format(task), size, from_.data(),
                                   source_line(task, size.width))),
          between_(bench::buffer_of(trv::format_of(task.samples), size, middle_.data())),
          destination_(bench::buffer_of(trv::format_of(task.destination), size, to_.data())) {
        if (task.method == 0) return;
        for (const uint64_t handle : {source(), between()})
            TBS_BufferParameterSet(handle, TBL_PARAMETER_BAYER_METHOD, task.method);
    }

    static uint64_t bytes(const Task& task, Size size) {
        return source_line(task, size.width) * size.height +
               bench::bytes_of(trv::format_of(task.destination), size);
    }
    uint64_t source() const { return source_.handle(); }
    uint64_t between() const { return between_.handle(); }
    uint64_t destination() const { return destination_.handle(); }

    // Each thread of the pool copies its share.
    void copy(TRW_Pool* pool) const {
        Copying copying{this, trv::raw::threads_of(pool)};
        trv::raw::run(pool, {Copying::make, &copying, copying.parts, copying.parts});
    }

  private:
    struct Copying {
        const Pictures* pictures;
        uint32_t parts;

        static void make(void* context, uint32_t part, uint32_t) {
            const auto& c = *static_cast<const Copying*>(context);
            const Pictures& p = *c.pictures;
            const uint64_t share = p.half_ / c.parts, first = share * part;
            const uint64_t bytes = part + 1 == c.parts ? p.half_ - first : share;
            std::memcpy(p.copy_to_.data() + first, p.copy_from_.data() + first, bytes);
        }
    };

    uint64_t half_;
    Memory from_, middle_, to_, copy_from_, copy_to_;
    trvil::Buffer source_, between_, destination_;
};

struct Means {
    TRW_Pool *one = nullptr, *two = nullptr;
    trv::raw::Cut cut = trv::raw::usual_cut;
};

using Way = std::function<void(const Pictures&)>;

// All ways go through the same pictures: where in memory they lie matters as much as the way does.
// When cold there are more of them than the caches hold.
class Comparison {
  public:
    Comparison(const Task& task, const Options& options) : rules_(options.rules) {
        const uint64_t bytes = Pictures::bytes(task, options.size);
        for (size_t i = trv::timing::sets_of(bytes, rules_); i > 0; --i)
            ring_.emplace_back(task, options.size);
    }

    // Seconds by the clock on the wall: the calling thread's own time says nothing of its helpers.
    // What a way finds in the caches depends on the one before it for several calls; so rounds are
    // in any order, and when warm it calls a few times first.
    void run(const std::vector<Way>& ways) {
        times_.assign(ways.size(), {});
        std::vector<size_t> order(ways.size());
        std::iota(order.begin(), order.end(), size_t{0});
        std::mt19937 random(1);
        for (const Way& way : ways) call(way, 1);
        for (unsigned round = 0; round < rules_.rounds; ++round) {
            std::shuffle(order.begin(), order.end(), random);
            for (const size_t i : order) {
                if (!rules_.cold) call(ways[i], settling_calls);
                times_[i].push_back(trv::timing::seconds([&] { call(ways[i], timed_calls); }));
            }
        }
    }

    // How many times as fast one way is as another: the median of the rounds' ratios, as what the
    // machine does to a way it does to the others of the round.
    double ratio(size_t way, size_t other) const {
        std::vector<double> ratios;
        for (size_t round = 0; round < rules_.rounds; ++round)
            ratios.push_back(times_[other][round] / times_[way][round]);
        return trv::timing::median(ratios);
    }

  private:
    static constexpr unsigned settling_calls = 8, timed_calls = 3;

    void call(const Way& way, unsigned times) {
        for (; times > 0; --times) way(ring_[turn_++ % ring_.size()]);
    }

    trv::timing::Rules rules_;
    std::vector<Pictures> ring_;
    size_t turn_ = 0;
    std::vector<std::vector<double>> times_;
};

void measure(const Task& task, const Options& options, const Means& means) {
    trv::raw::Level level = trv::raw::levels[options.level];
    level.image = trv::on_machine(level.image, *options.machine);
    const auto convert = [&](const Pictures& p, TRW_Pool* pool) {
        trv::raw::convert(level, p.source(), task.packing, p.destination(), {}, pool, means.cut);
    };
    enum : size_t { copy, copies, one, two, passes };
    std::vector<Way> ways{
        [&](const Pictures& p) { p.copy(means.one); },
        [&](const Pictures& p) { p.copy(means.two); },
        [&](const Pictures& p) { convert(p, means.one); },
        [&](const Pictures& p) { convert(p, means.two); },
    };
    if (task.packing != 0)
        ways.emplace_back([&](const Pictures& p) {
            trv::raw::unpack(level, p.source(), task.packing, p.between());
            trv::convert(options.table(), p.between(), p.destination());
        });
    Comparison comparison(task, options);
    comparison.run(ways);
    const double gain = comparison.ratio(two, one), of_copies = comparison.ratio(copies, copy);
    std::printf("%-24s %5.2f x copy, two threads %5.2f times (copies %5.2f: %4.2f of that)",
                name_of(task).c_str(), comparison.ratio(one, copy), gain, of_copies,
                gain / of_copies);
    if (task.packing != 0) std::printf("   %5.2f times two passes", comparison.ratio(one, passes));
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    Means means;
    CLI::App app("Straight to the picture, on two threads");
    bench::add_common(&app, &options);
    bench::add_level(&app, &options);
    app.add_option_function<uint64_t>(
           "--strip", [&](uint64_t kib) { means.cut.strip_bytes = kib * 1024; },
           "Unpacked samples of a strip")
        ->type_name("KIB");
    bench::parse(&app, argc, argv);
    bench::say_conditions(options);
    if (TRW_PoolCreate(&means.one, 1) != 0 || TRW_PoolCreate(&means.two, 2) != 0) return 1;
    for (const Task& task : tasks)
        if (name_of(task).find(options.only) != std::string::npos) measure(task, options, means);
    TRW_PoolDestroy(&means.two);
    TRW_PoolDestroy(&means.one);
    return 0;
}
