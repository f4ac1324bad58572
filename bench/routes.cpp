// Every route of TIL_Convert, every method of the mosaics.
#include "image/format/routes.h"
#include "bench/task.h"
#include "image/exports/convert.h"

namespace {

using bench::Options;
using bench::Task;
using trv::Format;

Task make_task(const Format& from, const Format& to, const char* method_name, uint32_t method,
               const Options& options) {
    const trv::Level level = options.table();
    const auto run = [level, method](uint64_t source, uint64_t destination) {
        TBS_BufferParameterSet(source, TBL_PARAMETER_BAYER_METHOD, method);
        trv::convert(level, source, destination);
    };
    return {std::string(from.name) + " " + to.name + method_name,
            from,
            to,
            options.size,
            options.size,
            run};
}

void add_tasks(const Format& from, const Format& to, const Options& options,
               std::vector<Task>* tasks) {
    const trv::RouteKind kind = trv::route_kind(from, to);
    if (kind == trv::RouteKind::none) return;
    const auto add = [&](const char* name, uint32_t method) {
        tasks->push_back(make_task(from, to, name, method, options));
    };
    if (kind != trv::RouteKind::bayer) return add("", TBL_BAYER_METHOD_AVE);
    if (from.phase != trv::Phase::none) return;  // the lettered codes run the same kernels
    add(" dup", TBL_BAYER_METHOD_DUP);
    if (to.code == trv::Code::RGBX32 || to.code == trv::Code::BGR16) return;
    add(" ave", TBL_BAYER_METHOD_AVE);
    add(" med", TBL_BAYER_METHOD_MED);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = bench::parse_against_copy(
        "Every route of TIL_Convert, every method of the mosaics", argc, argv);
    std::vector<Task> tasks;
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats) add_tasks(from, to, options, &tasks);
    bench::run_all(tasks, options);
    return 0;
}
