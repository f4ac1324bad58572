// The options that say how to read a dump, the same for every command that reads one.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tool/cli/geometry.h"

namespace trv::tool {

struct Reading {
    std::string size, format;
    std::optional<uint64_t> stride;
    uint64_t skip = 0;

    // A packing by its own name is that of grey, or of a mosaic.
    Geometry geometry(bool is_mosaic = false) const;
};

inline constexpr const char* reading_group = "How to read the dump";

void add_reading(CLI::App* command, Reading* reading, const std::string& what = "Pixels",
                 bool required = true);

}  // namespace trv::tool
