// Developing, beside plain conversion of the same samples by the same method, and a copy of as many
// bytes.
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "bench/options.h"
#include "raw/convert/convert.h"
#include "raw/develop/develop.h"
#include "raw/packing.h"
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
    const char* name;
};

const Task tasks[] = {
    {0, Code::BAY8, Code::BGR24, TBL_BAYER_METHOD_AVE, "BAY8 BGR24 ave"},
    {0, Code::BAY12, Code::BGR24, TBL_BAYER_METHOD_AVE, "BAY12 BGR24 ave"},
    {0, Code::BAY12, Code::BGR24, TRW_METHOD_GRADIENT, "BAY12 BGR24 gradient"},
    {0, Code::BAY12, Code::RGB48, TBL_BAYER_METHOD_AVE, "BAY12 RGB48 ave"},
    {TRW_PACKING_12p, Code::BAY12, Code::RGB48, TBL_BAYER_METHOD_MED, "12p RGB48 med"},
    {0, Code::BAY12, Code::RGB48, TRW_METHOD_GRADIENT, "BAY12 RGB48 gradient"},
};

// What is switched on, one step more each.
enum Steps { levels, matrix, curve, references, steps_end };
const char* const step_names[] = {"black and gains", "matrix too", "curve too",
                                  "dark, flat, defects too"};

class Scene {
  public:
    Scene(const Task& task, Size size)
        : task_(task),
          from_(line(task, size.width) * size.height),
          to_(bench::bytes_of(trv::format_of(task.destination), size)),
          reference_(size_t{size.width} * size.height * 2),
          copy_bytes_((line(task, size.width) * size.height +
                       bench::bytes_of(trv::format_of(task.destination), size)) /
                      2),
          copy_from_(copy_bytes_),
          copy_to_(copy_bytes_),
          source_(bench::buffer_of(trv::format_of(task.packing == 0 ? task.samples : Code::BAY8),
                                   size, from_.data(), line(task, size.width))),
          destination_(bench::buffer_of(trv::format_of(task.destination), size, to_.data())),
          flat_(bench::buffer_of(trv::format_of(Code::Mono16), size, reference_.data())) {
        for (size_t i = 0; i < size_t{size.width} * size.height; ++i) {
            const auto word = static_cast<uint16_t>(200 + i % 50);
            std::memcpy(reference_.data() + 2 * i, &word, 2);
        }
        for (uint32_t i = 0; i < 200; ++i)
            defects_.push_back({i * 7919 % size.width, i * 104729 % size.height});
        for (unsigned i = 0; i < steps_end; ++i) make_recipe(static_cast<Steps>(i));
    }
    ~Scene() {
        for (TRW_Recipe* recipe : recipes_) TRW_RecipeDestroy(&recipe);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void copy() const { std::memcpy(copy_to_.data(), copy_from_.data(), copy_bytes_); }
    void convert(const trv::raw::Level& level, TRW_Pool* pool) const {
        TRW_Settings settings{};
        settings.size = sizeof settings;
        settings.method = task_.method;
        trv::raw::convert(level, source_.handle(), task_.packing, destination_.handle(), settings,
                          pool);
    }
    void develop(const trv::raw::Level& level, Steps steps, TRW_Pool* pool) const {
        trv::raw::develop(level, source_.handle(), destination_.handle(), *recipes_[steps], pool);
    }

  private:
    static uint64_t line(const Task& task, uint32_t width) {
        if (task.packing == 0) return trv::line_bytes(trv::format_of(task.samples), width);
        return trv::raw::line_bytes(*trv::raw::find_packing(task.packing), 0, width);
    }

    void make_recipe(Steps steps) {
        TRW_DevelopSettings s{};
        s.size = sizeof s;
        s.method = task_.method;
        for (uint32_t& black : s.black) black = 16;
        s.gains[0] = 1.9;
        s.gains[1] = 1;
        s.gains[2] = 1.5;
        const double colours[] = {1.62, -0.45, -0.17, -0.21, 1.48, -0.27, 0.02, -0.58, 1.56};
        if (steps >= matrix) std::memcpy(s.matrix, colours, sizeof colours);
        if (steps >= curve) s.curve = TRW_CURVE_SRGB;
        if (steps >= references) {
            s.dark = s.flat = flat_.handle();
            s.defects = defects_.data();
            s.defect_count = defects_.size();
        }
        const char* why = nullptr;
        if (TRW_RecipeCreate(&recipes_[steps], source_.handle(), task_.packing, &s, &why) != 0)
            std::fprintf(stderr, "%s: %s\n", task_.name, why), std::exit(1);
    }

    const Task& task_;
    Memory from_, to_, reference_;
    uint64_t copy_bytes_;
    Memory copy_from_, copy_to_;
    trvil::Buffer source_, destination_, flat_;
    std::vector<TRW_Defect> defects_;
    TRW_Recipe* recipes_[steps_end] = {};
};

void measure(const Task& task, const Options& options) {
    trv::raw::Level level = trv::raw::levels[options.level];
    level.image = trv::on_machine(level.image, *options.machine);
    const Scene scene(task, options.size);
    std::vector<std::function<void()>> candidates{[&] { scene.copy(); },
                                                  [&] { scene.convert(level, nullptr); }};
    for (unsigned i = 0; i < steps_end; ++i)
        candidates.emplace_back([&, i] { scene.develop(level, static_cast<Steps>(i), nullptr); });
    std::vector<std::vector<double>> times(candidates.size());
    for (unsigned round = 0; round < options.rules.rounds; ++round)
        for (size_t i = 0; i < candidates.size(); ++i)
            times[i].push_back(trv::timing::seconds(candidates[i]));
    std::vector<double> median;
    for (auto& list : times) median.push_back(trv::timing::median(list));
    std::printf("%-22s plain %5.2f x copy; of plain:", task.name, median[0] / median[1]);
    for (unsigned i = 0; i < steps_end; ++i)
        std::printf("  %s %4.2f", step_names[i], median[2 + i] / median[1]);
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = bench::parse_against_copy("Developing", argc, argv);
    for (const Task& task : tasks)
        if (std::string(task.name).find(options.only) != std::string::npos) measure(task, options);
    return 0;
}
