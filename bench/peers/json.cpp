#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>

#include "bench/peers/report.h"
#include "image/dispatch/level.h"

namespace peers {
namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        if (static_cast<unsigned char>(c) >= ' ') result += c;
    }
    return result + '"';
}

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

void write_machine(std::ostream& out) {
    utsname system{};
    uname(&system);
    out << "\"machine\": {\"processor\": " << quoted(processor())
        << ", \"processors\": " << sysconf(_SC_NPROCESSORS_ONLN)
        << ", \"system\": " << quoted(std::string(system.sysname) + " " + system.release)
        << ", \"l2_bytes\": " << sysconf(_SC_LEVEL2_CACHE_SIZE)
        << ", \"l3_bytes\": " << sysconf(_SC_LEVEL3_CACHE_SIZE)
        << ", \"compiler\": " << quoted(std::string(TRV_COMPILER) + " " + __VERSION__)
        << ", \"level\": " << quoted(trv::current_level().name) << ", \"load\": " << load()
        << ", \"date\": " << quoted(today()) << "},\n\"versions\": {";
    const char* comma = "";
    for (const Version& version : versions()) {
        out << comma << quoted(version.name) << ": " << quoted(version.version);
        comma = ", ";
    }
    out << "},\n";
}

void write_result(std::ostream& out, const Result& result) {
    out << "{\"task\": " << quoted(result.task->name())
        << ", \"family\": " << quoted(result.task->family) << ", \"pixels\": " << result.pixels
        << ", \"bytes\": " << result.bytes << ", \"copy_seconds\": " << result.copy_seconds
        << ",\n  \"contestants\": [";
    const char* comma = "";
    for (const Entry& entry : result.entries) {
        out << comma << "{\"name\": " << quoted(entry.name) << ", \"seconds\": " << entry.seconds
            << ", \"near\": " << (entry.near != nullptr ? quoted(entry.near) : "null") << "}";
        comma = ",\n    ";
    }
    out << "]}";
}

}  // namespace

bool write_json(const std::string& path, const Rules& rules, const std::vector<Result>& results) {
    std::ostringstream text;
    text.precision(9);
    text << "{";
    write_machine(text);
    text << "\"run\": {\"width\": " << rules.size.width << ", \"height\": " << rules.size.height
         << ", \"cold\": " << (rules.cold ? "true" : "false") << ", \"threads\": " << rules.threads
         << ", \"rounds\": " << rules.rounds << "},\n\"results\": [\n";
    for (size_t i = 0; i < results.size(); ++i) {
        if (i > 0) text << ",\n";
        write_result(text, results[i]);
    }
    text << "]}\n";
    std::ofstream file(path);
    file << text.str();
    return file.flush().good();
}

}  // namespace peers
