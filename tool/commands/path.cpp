#include "tool/commands/path.h"

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::tool {
namespace {

TRW_Route route_between(const Format& from, const Format& to, uint32_t method, uint32_t phase) {
    TRW_Route route{};
    route.size = sizeof route;
    TRW_PlanRoute(whole_code(from), whole_code(to), method, phase, &route);
    return route;
}

// What TRW_Convert demosaics beyond the routes that TIL_Convert has.
bool demosaics_anew(const Format& from, const Format& to, uint32_t method) {
    if (from.family != Family::bayer || to.family != Family::colour) return false;
    if (to.stored == 48) return to.significant == 16 || to.significant == from.significant;
    return method == TRW_METHOD_GRADIENT && (to.stored == 24 || to.stored == 32) &&
           !has(to, trv::Channel::A);
}

// The mosaic whose samples are those of this one, whole.
std::vector<const Format*> whole_mosaics(const Format& source) {
    std::vector<const Format*> result;
    for (const Format& format : formats)
        if (format.significant == source.significant && format.phase == source.phase &&
            holds(Kind::dng, format))
            result.push_back(&format);
    return result;
}

// Best first. A picture that needs no conversion beats all others.
std::vector<const Format*> candidates(const Format& source, Kind kind) {
    if (kind == Kind::dng)
        return source.family == Family::bayer ? whole_mosaics(source)
                                              : std::vector<const Format*>{};
    if (const Format* video = video_format(kind)) return {video};
    if (kind == Kind::y4m) {
        const bool grey = source.family == Family::grey;
        return {&format_of(grey ? Code::Mono8 : Code::BGRX32)};
    }
    const Format* colour[] = {&format_of(Code::BGR24), &format_of(Code::BGRX32)};
    if (source.family == Family::grey)
        return {&source, &format_of(Code::Mono8), colour[0], colour[1]};
    return {&source, colour[0], colour[1]};
}

std::optional<Path> direct_path(const Format& source, const Format& target) {
    if (source.code == target.code) return Path{&source};
    if (demosaics_anew(source, target, default_method)) return Path{&source, &target};
    if (converts(source, target)) return Path{&source, &target};
    return std::nullopt;
}

Failure no_route(const Format& source, const std::string& target, const std::string& next) {
    const std::vector<const Format*> known = reachable(source);
    const std::string why = known.empty()
                                ? text("this library converts ", source.name, " to nothing else")
                                : text(source.name, " converts directly to ", names_of(known));
    return {Exit::no_route, text("no way from ", source.name, " to ", target), why, next};
}

Failure only_chain(const Path& chain, const std::string& target) {
    return {Exit::no_route, text("no direct way from ", chain.front()->name, " to ", target),
            "--via never forbids a longer one",
            text("leave it out to go ", path_text(chain), ", or convert step by step")};
}

Failure no_way_to_file(const Format& source, Kind kind, const Demosaic& how) {
    if (kind == Kind::dng && source.family != Family::bayer)
        return {Exit::no_route, text("no .dng of ", source.name),
                "a DNG holds a mosaic, and this is none",
                "check -f, say --phase if it is packed, or write a .png"};
    std::vector<std::string> kinds;
    for (const Kind other : {Kind::png, Kind::tif, Kind::ppm, Kind::pgm})
        if (find_path(source, other, how, Via::automatic))
            kinds.push_back(text(".", kind_name(other)));
    return no_route(source, text("a .", kind_name(kind)),
                    kinds.empty() ? "`trvil routes FROM` shows what there is"
                                  : text("write ", list(kinds, " or ")));
}

Failure unsuited(const Format& wanted, Kind kind) {
    return {Exit::usage, text("a .", kind_name(kind), " file cannot hold ", wanted.name),
            text("it holds ", list(names_where([&](const Format& f) { return holds(kind, f); }))),
            "choose one of them with -t, or write a .raw file"};
}

}  // namespace

bool converts(const Format& from, const Format& to) {
    return route_between(from, to, 0, 0).direct != 0;
}

std::vector<const Format*> reachable(const Format& from) {
    std::vector<const Format*> result;
    for (const Format& to : formats)
        if (to.code != from.code && converts(from, to)) result.push_back(&to);
    return result;
}

std::vector<std::string> methods_between(const Format& from, const Format& to, Phase phase) {
    const uint32_t direct = route_between(from, to, 0, phase_parameter(phase)).direct;
    std::vector<std::string> names;
    if (direct & TRW_DIRECT_DUP) names.emplace_back(method_name(TBL_BAYER_METHOD_DUP));
    if (direct & TRW_DIRECT_AVE) names.emplace_back(method_name(TBL_BAYER_METHOD_AVE));
    if (direct & TRW_DIRECT_MED) names.emplace_back(method_name(TBL_BAYER_METHOD_MED));
    if (to.stored == 48 && demosaics_anew(from, to, TRW_METHOD_GRADIENT))
        names = {"dup", "ave", "med"};
    if (demosaics_anew(from, to, TRW_METHOD_GRADIENT)) names.emplace_back("gradient");
    return names;
}

const char* lossy(const Format& from, const Format& to) {
    return route_between(from, to, 0, 0).remark;
}

std::string path_text(const Path& path) {
    std::vector<std::string> names;
    for (const Format* format : path) names.emplace_back(format->name);
    return list(names, " > ");
}

std::optional<Path> find_chain(const Format& from, const Format& to, const Demosaic& how) {
    const bool is_gradient = how.method == TRW_METHOD_GRADIENT;
    if (demosaics_anew(from, to, how.method)) return Path{&from, &to};
    if (is_gradient && from.family == Family::bayer && to.family != Family::bayer) {
        const Format& colour = format_of(Code::BGR24);
        return converts(colour, to) ? std::optional(Path{&from, &colour, &to}) : std::nullopt;
    }
    const TRW_Route route =
        route_between(from, to, is_gradient ? 0 : how.method, phase_parameter(how.phase));
    if (route.format[0] == 0) return std::nullopt;
    Path path;
    for (uint32_t i = 0; i <= route.steps; ++i) path.push_back(find_whole_format(route.format[i]));
    return path;
}

std::optional<Path> find_path(const Format& source, Kind kind, const Demosaic& how, Via via) {
    for (const Format* candidate : candidates(source, kind)) {
        // Raw files hold anything, but without a word from the user they hold a picture.
        if (!holds(kind == Kind::raw ? Kind::png : kind, *candidate)) continue;
        auto path = find_chain(source, *candidate, how);
        if (path && (via == Via::automatic || path->size() <= 2)) return path;
    }
    return std::nullopt;
}

bool passes_over(const Path& path, size_t step) {
    if (step + 2 >= path.size()) return false;
    const Format &from = *path[step], &samples = *path[step + 1];
    return is_packed(from) && from.family == Family::bayer && samples.family == Family::bayer &&
           !is_packed(samples);
}

Path plan(const Format& source, const Format* wanted, Kind kind, const Demosaic& how, Via via) {
    if (wanted != nullptr && !holds(kind, *wanted)) throw unsuited(*wanted, kind);
    const std::string target = wanted != nullptr ? wanted->name : text("a .", kind_name(kind));
    const auto find = [&](Via allowed) {
        return wanted != nullptr ? find_chain(source, *wanted, how)
                                 : find_path(source, kind, how, allowed);
    };
    const auto direct = wanted != nullptr ? direct_path(source, *wanted) : find(Via::never);
    if (via == Via::never && direct) return *direct;
    const auto path = find(Via::automatic);
    if (path && via == Via::never) throw only_chain(*path, target);
    if (path) return *path;
    if (direct) return *direct;
    if (wanted == nullptr) throw no_way_to_file(source, kind, how);
    throw no_route(source, target, "choose one of them with -t");
}

}  // namespace trv::tool
