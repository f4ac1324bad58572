// What a call costs beside the pixels: the time of a call on the smallest pictures, less the time
// of the same queries to the buffer library. The queries are those the call made when it was
// watched, so this program answers them in front of the buffer library, as any program may.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "bench/options.h"
#include "bench/peers/frames.h"
#include "image/dispatch/level.h"

namespace {

using Query = std::pair<uint64_t, uint32_t>;
using Get = uint32_t (*)(uint64_t, uint32_t, void*);

std::vector<Query>* watched = nullptr;
Get library = nullptr;

Get find_library() {
    void* const found = dlsym(RTLD_NEXT, "TBL_BufferParameterGet");
    if (found == nullptr) std::abort();
    return reinterpret_cast<Get>(found);
}

}  // namespace

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    if (library == nullptr) library = find_library();
    if (watched != nullptr) watched->emplace_back(handle, id);
    return library(handle, id, out);
}

namespace {

using namespace peers;

struct Cost {
    std::string name;
    Size size;
    size_t queries;
    double call_ns, queries_ns;
    double rest_ns() const { return call_ns - queries_ns; }
};

double nanoseconds(const std::function<void()>& run, int calls) {
    return 1e9 / calls * trv::timing::seconds([&] {
               for (int i = 0; i < calls; ++i) run();
           });
}

Cost measure(const Task& task, Size size, int rounds) {
    const Candidate own = ours(task, trv::current_level(), "trvil");
    const Frame frame(task, size, to_bytes(task, size), Content::noise);
    const Run run = own.prepare(task.from_size(size));
    std::vector<Query> queries;
    watched = &queries;
    run(frame.job());
    watched = nullptr;
    const auto call = [&] { run(frame.job()); };
    // Both go through the setting of the method, which is no part of a call.
    const auto ask = [&] {
        if (task.is_mosaic())
            TBS_BufferParameterSet(frame.job().from_handle, TBL_PARAMETER_BAYER_METHOD,
                                   TBL_BAYER_METHOD_AVE);
        uint64_t value = 0;
        for (const Query& query : queries)
            TBL_BufferParameterGet(query.first, query.second, &value);
    };
    std::vector<double> calls, asks;
    for (int i = 0; i < rounds; ++i) {
        calls.push_back(nanoseconds(call, 1000));
        asks.push_back(nanoseconds(ask, 1000));
    }
    return {task.name(), size, queries.size(), trv::timing::median(calls),
            trv::timing::median(asks)};
}

void write_json(const std::string& path, const std::vector<Cost>& costs) {
    auto list = nlohmann::ordered_json::array();
    for (const Cost& cost : costs)
        list.push_back({{"task", cost.name},
                        {"width", cost.size.width},
                        {"height", cost.size.height},
                        {"queries", cost.queries},
                        {"call_ns", cost.call_ns},
                        {"queries_ns", cost.queries_ns}});
    std::ofstream file(path);
    file << nlohmann::ordered_json{{"calls", list}}.dump(1) << '\n';
    if (file.flush().good()) return;
    std::fprintf(stderr, "bench_call: cannot write %s; the figures above are not saved\n",
                 path.c_str());
    std::exit(1);
}

const Task tasks[] = {
    {"", Code::Mono8, Code::Mono8, Method::none},     {"", Code::BGR24, Code::BGRX32, Method::none},
    {"", Code::BAY8, Code::BGR24, Method::ave},       {"", Code::BAY12, Code::BGRX32, Method::ave},
    {"", Code::Mono8, Code::Mono8, Method::bilinear},
};

}  // namespace

int main(int argc, char** argv) {
    int rounds = 200;
    std::string json;
    CLI::App app("What a call costs beside the pixels");
    app.add_option("--rounds", rounds, "So many rounds of 1000 calls [200]")
        ->check(CLI::Range(1, 100000));
    app.add_option("--json", json, "All figures")->type_name("FILE");
    bench::parse(&app, argc, argv);
    std::vector<Cost> costs;
    std::printf("%-24s %8s %9s %8s %8s %8s\n", "ns per call", "size", "queries", "call", "asking",
                "the rest");
    for (const Size size : {Size{2, 2}, Size{16, 16}, Size{64, 48}})
        for (const Task& task : tasks) {
            const Cost cost = measure(task, size, rounds);
            const std::string side = std::to_string(size.width) + "x" + std::to_string(size.height);
            std::printf("%-24s %8s %9zu %8.0f %8.0f %8.0f\n", cost.name.c_str(), side.c_str(),
                        cost.queries, cost.call_ns, cost.queries_ns, cost.rest_ns());
            costs.push_back(cost);
        }
    if (!json.empty()) write_json(json, costs);
    return 0;
}
