// Chains of direct routes.
#include <algorithm>
#include <tuple>

#include "tool/cli/text.h"
#include "tool/routes.h"

namespace trv::tool {
namespace {

constexpr size_t most_steps = 3;

uint32_t depth(const Format& format) {
    return format.significant;
}

// Values are not scaled when they grow, so what grew once must not be narrowed: it would be black.
bool narrows_after_growing(const Path& path) {
    bool grew = false;
    for (size_t i = 1; i < path.size(); ++i) {
        if (grew && depth(*path[i]) < depth(*path[i - 1])) return true;
        grew = grew || depth(*path[i]) > depth(*path[i - 1]);
    }
    return false;
}

bool loses_before_the_end(const Path& path) {
    const uint32_t needed = std::min(depth(*path.front()), depth(*path.back()));
    for (size_t i = 1; i + 1 < path.size(); ++i)
        if (depth(*path[i]) < needed) return true;
    return false;
}

bool keeps_the_picture(const Path& path) {
    return !narrows_after_growing(path) && !loses_before_the_end(path);
}

bool leads(const Format& from, const Format& to, const Demosaic& how) {
    if (!converts(from, to) || spoils(from, to) != nullptr) return false;
    if (from.family != Family::bayer || to.family == Family::bayer) return true;
    const std::vector<std::string> methods = methods_between(from, to, how.phase);
    return std::find(methods.begin(), methods.end(), method_name(how.method)) != methods.end();
}

// Of chains of one length: whole bytes and words before bit fields, then the smaller pictures.
using Merit = std::tuple<uint32_t, uint32_t>;
Merit merit(const Path& path) {
    Merit sum{0, 0};
    for (const Format* format : path) {
        std::get<0>(sum) += format->family == Family::word ? 1 : 0;
        std::get<1>(sum) += format->stored;
    }
    return sum;
}

void extend(const Path& path, const Format& to, size_t steps, const Demosaic& how,
            std::optional<Path>* best) {
    const Format& from = *path.back();
    for (const Format& next : formats) {
        const bool last = steps == 1;
        if (last != (next.code == to.code) ||
            std::find(path.begin(), path.end(), &next) != path.end())
            continue;
        Path longer = path;
        longer.push_back(&next);
        if (last && !keeps_the_picture(longer)) continue;
        if (!leads(from, next, how)) continue;
        if (!last)
            extend(longer, to, steps - 1, how, best);
        else if (!*best || merit(longer) < merit(**best))
            *best = longer;
    }
}

}  // namespace

std::string path_text(const Path& path) {
    std::vector<std::string> names;
    for (const Format* format : path) names.emplace_back(format->name);
    return list(names, " > ");
}

std::optional<Path> find_chain(const Format& from, const Format& to, const Demosaic& how) {
    if (from.code == to.code) return Path{&from};
    std::optional<Path> best;
    for (size_t steps = 1; steps <= most_steps && !best; ++steps)
        extend({&from}, to, steps, how, &best);
    return best;
}

}  // namespace trv::tool
