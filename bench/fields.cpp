// Frames from fields by all four methods; a frame has the size of the options, its field half the
// lines.
#include "bench/task.h"
#include "image/exports/field_to_frame.h"

int main(int argc, char** argv) {
    const bench::Options options =
        bench::parse_against_copy("Frames from fields by all four methods", argc, argv);
    const bench::Size field{options.size.width, options.size.height / 2};
    const char* const methods[] = {"dup", "ave", "bilinear", "median"};
    std::vector<bench::Task> tasks;
    for (const trv::Code code :
         {trv::Code::Mono8, trv::Code::YUV422, trv::Code::BGR24, trv::Code::BGRX32})
        for (uint32_t method = 0; method < 4; ++method) {
            const trv::Format& format = trv::format_of(code);
            const trv::Level level = options.table();
            const auto run = [level, method](uint64_t source, uint64_t destination) {
                trv::field_to_frame(level, source, destination, method, 0);
            };
            tasks.push_back({std::string(format.name) + " " + methods[method], format, format,
                             field, options.size, run});
        }
    bench::run_all(tasks, options);
    return 0;
}
