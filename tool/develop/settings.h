// What a user says of developing: by options, and in a file of settings that options overrule.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/picture/balance.h"
#include "tool/picture/matrix.h"
#include "trvil/raw.h"

namespace trv::tool {

// As it is said; empty where nothing is.
struct SettingTexts {
    std::string black, white, dark, flat, defects, balance, matrix, curve, method;
};

// The same, understood.
struct Development {
    std::vector<uint32_t> black;      // none, one, or one of each site
    uint32_t white = 0;               // 0: as much as the format can tell
    std::string dark, flat, defects;  // names of files; empty for none
    std::optional<Matrix> matrix;
    uint32_t curve = TRW_CURVE_NONE;
    double gamma = 0;

    // Whether there is more to it than demosaicing and gains.
    bool needed = false;
};

// Throws Failure. White balance and method are left to who knows them.
Development understand(const SettingTexts& said);

// A file of settings is one JSON object whose members are called as the options are. Names of files
// in it start from its folder. Throws Failure with the names that it does not know.
SettingTexts read_settings(const std::string& path);

// What is said and where nothing is, what the file says.
SettingTexts overruled(SettingTexts file, const SettingTexts& said);

// Bytes of a file that says the same, for a place; read_settings makes the same texts of it.
std::string settings_file(const SettingTexts& said, const std::string& place);

// Writes such a file whole or not at all. Throws Failure.
void save_settings(const SettingTexts& said, const std::string& path, bool force);

// "1.5,1,2" as numbers; nothing where it is something else.
std::optional<std::vector<double>> numbers_in(const std::string& words);

// So that nothing of a number is lost: "0.1,2".
std::string numbers_text(const std::vector<double>& numbers);

}  // namespace trv::tool
