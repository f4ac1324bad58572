// The options of developing.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tool/develop/settings.h"

namespace trv::tool {

inline constexpr const char* develop_group = "How to develop it";

struct DevelopOptions {
    SettingTexts said;  // --wb and --method among them
    std::string settings, save;

    // With what the file of settings says beside them. Throws Failure.
    SettingTexts all() const;
    // The files that are read.
    std::vector<std::string> inputs(const SettingTexts& texts) const;
};

// Those that describe a sensor: --black, --white, --dark, --flat, --defects, --settings.
void add_sensor_options(CLI::App* command, DevelopOptions* o);

// Those that say what the picture is to look like: --ccm, --curve.
void add_look_options(CLI::App* command, DevelopOptions* o);

// --save-settings.
void add_save_option(CLI::App* command, DevelopOptions* o);

}  // namespace trv::tool
