// The accepted pairs as text, kept apart from the library's table so that a slip in one shows.
#pragma once

#include <map>
#include <set>
#include <sstream>
#include <string>

namespace reference {

inline const char* const route_text =
    "Mono8: Mono8 Mono16 Mono32 RGB15 RGB16 XBGR32 BGRX32 BGR48 BGR15 BGR16 XRGB32 RGBX32 RGB48 "
    "RGB30 BGR30 BGR24 RGB24 Mono10 Mono12 Mono14 BGR48_12 RGB48_12\n"
    "Mono16: Mono16 Mono8 Mono32 RGB15 RGB16 BGR48 BGR15 BGR16 RGB48 RGB30 BGR30 BGR24 RGB24 "
    "XBGR32 BGRX32 XRGB32 RGBX32\n"
    "Mono10 Mono12 Mono12B Mono14: Mono8 Mono16 Mono32 RGB15 RGB16 BGR48 BGR15 BGR16 RGB48 RGB30 "
    "BGR30 BGR24 RGB24 XBGR32 BGRX32 XRGB32 RGBX32\n"
    "BGR48 BGR48_12 RGB30 BGR24: RGB15 RGB16 XBGR32 BGRX32 BGR48 BGR15 BGR16 XRGB32 RGBX32 RGB48 "
    "RGB30 BGR30 BGR24 RGB24\n"
    "BGRX32: BGRX32 BGR24\n"
    "RGB24 RGBA32: BGRX32\n"
    "RGB48 RGB48_12 RGB48_10 RGB48_14 BGR48_10 BGR48_14: BGRX32 RGB24\n"
    "RGBA64_10 RGBA64_12 RGBA64_14 RGBA64: BGRX32 RGBA32\n"
    "Mono12MP: RGB16 XBGR32 BGRX32 BGR16 XRGB32 RGBX32 BGR24 RGB24\n"
    "YUV422: XBGR32 BGRX32 XRGB32 RGBX32 BGR24 RGB24\n"
    "Mono10P: Mono10 XBGR32 BGRX32 XRGB32 RGBX32\n"
    "Mono12P: Mono12 XBGR32 BGRX32 XRGB32 RGBX32\n"
    "Mono14P: Mono14 XBGR32 BGRX32 XRGB32 RGBX32\n";

// Every accepted destination by source.
inline std::map<std::string, std::set<std::string>> routes() {
    std::map<std::string, std::set<std::string>> all;
    std::istringstream lines(route_text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream left(line.substr(0, line.find(':')));
        for (std::string source; left >> source;) {
            std::istringstream right(line.substr(line.find(':') + 1));
            for (std::string destination; right >> destination;) all[source].insert(destination);
        }
    }
    for (const std::string depth : {"10", "12", "14"})
        for (const std::string letter : {"_A", "_B", "_C", "_D"})
            all["BAY" + depth + "P" + letter].insert("BAY" + depth + letter);
    for (const std::string depth : {"8", "10", "12", "14", "16"})
        for (const std::string letter : {"", "_A", "_B", "_C", "_D"}) {
            all["BAY" + depth + letter] = {"RGB16", "BGR24", "BGRX32", "RGBX32"};
            if (depth == "8") all["BAY8" + letter].insert("BGR16");
        }
    return all;
}

}  // namespace reference
