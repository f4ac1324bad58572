// Pictures straight from what cameras send: what a second thread gains, beside what it gains two
// copies of as many bytes, and what it is worth to unpack and convert in one pass.
#include <cstdio>
#include <cstring>
#include <functional>
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

// Medians by the clock on the wall: the calling thread's own time says nothing of its helpers.
std::vector<double> compare(const std::vector<std::function<void()>>& candidates,
                            const trv::timing::Rules& rules) {
    std::vector<std::vector<double>> times(candidates.size());
    for (const auto& run : candidates) run();
    for (unsigned round = 0; round < rules.rounds; ++round)
        for (size_t i = 0; i < candidates.size(); ++i) {
            if (!rules.cold) candidates[i]();  // brings its pictures into the caches
            times[i].push_back(trv::timing::seconds(candidates[i]));
        }
    std::vector<double> medians;
    for (auto& list : times) medians.push_back(trv::timing::median(list));
    return medians;
}

// Every call takes the next pictures: when cold, there are more than the caches hold.
void measure(const Task& task, const Options& options, const Means& means) {
    trv::raw::Level level = trv::raw::levels[options.level];
    level.image = trv::on_machine(level.image, *options.machine);
    std::vector<Pictures> ring;
    const uint64_t bytes = Pictures::bytes(task, options.size);
    for (size_t i = trv::timing::sets_of(bytes, options.rules); i > 0; --i)
        ring.emplace_back(task, options.size);
    size_t turn = 0;
    const auto next = [&]() -> const Pictures& { return ring[turn++ % ring.size()]; };
    const auto convert = [&](TRW_Pool* pool) {
        const Pictures& p = next();
        trv::raw::convert(level, p.source(), task.packing, p.destination(), {}, pool, means.cut);
    };
    std::vector<std::function<void()>> candidates{
        [&] { next().copy(means.one); },
        [&] { next().copy(means.two); },
        [&] { convert(means.one); },
        [&] { convert(means.two); },
    };
    if (task.packing != 0)
        candidates.emplace_back([&] {
            const Pictures& p = next();
            trv::raw::unpack(level, p.source(), task.packing, p.between());
            trv::convert(options.table(), p.between(), p.destination());
        });
    const std::vector<double> times = compare(candidates, options.rules);
    const double copies = times[0] / times[1], gain = times[2] / times[3];
    std::printf("%-24s %5.2f x copy, two threads %5.2f times (copies %5.2f: %4.2f of that)",
                name_of(task).c_str(), times[0] / times[2], gain, copies, gain / copies);
    if (times.size() > 4) std::printf("   %5.2f times two passes", times[4] / times[2]);
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
