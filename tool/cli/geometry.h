// The size and shape of a picture as the command line gives them, and what fits a file's length.
#pragma once

#include <optional>
#include <string>

#include "tool/cli/catalogue.h"
#include "tool/picture/frame.h"

namespace trv::tool {

struct Size {
    uint32_t width;
    uint32_t height;
};

// "1920x1080". Throws Failure.
Size size_named(const std::string& name);

// Lines of `stride` bytes, or without padding. Throws Failure for a stride that cannot be.
Geometry source_geometry(const Pixels& pixels, const Size& size, std::optional<uint64_t> stride);

// What could be meant when only `available` bytes follow the `skipped` ones.
std::string advice_for_short(const Geometry& wanted, uint64_t available, uint64_t skipped);

// What could be meant when `surplus` bytes follow the picture.
std::string advice_for_surplus(const Geometry& wanted, uint64_t surplus, uint64_t skipped);

}  // namespace trv::tool
