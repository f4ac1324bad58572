#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

#include "bench/peers/candidate.h"
#include "bench/peers/report.h"
#include "image/dispatch/level.h"

namespace peers {
namespace {

using Json = nlohmann::ordered_json;

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", gmtime_r(&now, &parts));
    return text;
}

// Of the last minute; negative where the system does not tell.
double load() {
    double average = -1;
    getloadavg(&average, 1);
    return average;
}

Json machine() {
    utsname system{};
    uname(&system);
    return {{"processor", processor()},
            {"processors", sysconf(_SC_NPROCESSORS_ONLN)},
            {"system", std::string(system.sysname) + " " + system.release},
            {"l2_bytes", sysconf(_SC_LEVEL2_CACHE_SIZE)},
            {"l3_bytes", sysconf(_SC_LEVEL3_CACHE_SIZE)},
            {"compiler", std::string(TRV_COMPILER) + " " + __VERSION__},
            {"level", trv::current_level().name},
            {"load", load()},
            {"date", today()}};
}

Json result_of(const Result& result) {
    Json candidates = Json::array();
    for (const Entry& entry : result.entries)
        candidates.push_back({{"name", entry.name},
                              {"seconds", entry.seconds},
                              {"differs", entry.differs ? Json(entry.differs) : Json()}});
    return {{"task", result.task->name()},
            {"family", result.task->family},
            {"pixels", result.pixels},
            {"bytes", result.bytes},
            {"copy_seconds", result.copy_seconds},
            {"candidates", candidates}};
}

}  // namespace

bool write_json(const std::string& path, const bench::Options& options,
                const std::vector<Result>& results) {
    Json names = Json::object(), list = Json::array();
    for (const Version& version : versions()) names[version.name] = version.version;
    for (const Result& result : results) list.push_back(result_of(result));
    const Json run = {{"width", options.size.width},
                      {"height", options.size.height},
                      {"cold", options.rules.cold},
                      {"threads", options.rules.threads},
                      {"rounds", options.rules.rounds}};
    std::ofstream file(path);
    file << Json{{"machine", machine()}, {"versions", names}, {"run", run}, {"results", list}}.dump(
                1)
         << '\n';
    return file.flush().good();
}

}  // namespace peers
