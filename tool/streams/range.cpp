#include "tool/streams/range.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

Failure no_range(const std::string& name, const std::string& why) {
    return {
        Exit::usage, text("cannot use the frames \"", name, "\""), why,
        "write --frames A:B:STEP: from frame A, before B; 0 is the first, as in 100:200 or ::10"};
}

std::vector<std::string> parts_of(const std::string& name) {
    std::vector<std::string> parts(1);
    for (const char letter : name)
        if (letter == ':')
            parts.emplace_back();
        else
            parts.back() += letter;
    return parts;
}

std::optional<uint64_t> number_in(const std::string& part, const std::string& name) {
    if (part.empty()) return std::nullopt;
    uint64_t number = 0;
    const char* end = part.data() + part.size();
    const auto read = std::from_chars(part.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end)
        throw no_range(name, text("\"", part, "\" is no whole number from 0"));
    return number;
}

}  // namespace

bool FrameRange::has(uint64_t index) const {
    return index >= first && !is_over(index) && (index - first) % step == 0;
}

uint64_t FrameRange::count(uint64_t total) const {
    const uint64_t stop = end ? std::min(*end, total) : total;
    return stop <= first ? 0 : (stop - first - 1) / step + 1;
}

FrameRange range_named(const std::string& name) {
    if (name.empty()) return {};
    const std::vector<std::string> parts = parts_of(name);
    if (parts.size() > 3) throw no_range(name, "it has more than three numbers");
    FrameRange range;
    range.first = number_in(parts[0], name).value_or(0);
    if (parts.size() == 1) range.end = range.first == UINT64_MAX ? range.first : range.first + 1;
    if (parts.size() > 1) range.end = number_in(parts[1], name);
    if (parts.size() > 2) range.step = number_in(parts[2], name).value_or(1);
    if (range.step == 0) throw no_range(name, "a step of 0 never ends");
    if (range.end && *range.end <= range.first) throw no_range(name, "it has no frames");
    return range;
}

}  // namespace trv::tool
