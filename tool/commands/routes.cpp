#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/path.h"

namespace trv::tool {
namespace {

void put_line(const std::string& name, const std::string& words) {
    std::cout << std::left << std::setw(11) << name << words << '\n';
}

void list_direct() {
    for (const Format& from : formats)
        if (const auto known = reachable(from); !known.empty())
            put_line(from.name, names_of(known));
}

// By the first method that there is, so that none is missed.
std::optional<Path> some_path(const Format& from, const Format& to) {
    const Phase phase = from.phase == Phase::none ? Phase::A : from.phase;
    for (const uint32_t method : {TBL_BAYER_METHOD_AVE, TBL_BAYER_METHOD_DUP})
        if (auto path = find_chain(from, to, {method, phase})) return path;
    return std::nullopt;
}

std::string methods_note(const Format& from, const Format& to) {
    if (from.family != Family::bayer || to.family == Family::bayer) return "";
    std::vector<std::string> words;
    for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
        if (const auto methods = methods_between(from, to, phase); !methods.empty())
            words.push_back(text(phase_name(phase), " by ", list(methods)));
    return text(" (", list(words, "; "), ")");
}

// What there is from one format to another.
struct Routes {
    const Format& from;
    const Format& to;
    bool direct;
    const char* lossy;  // what the direct one loses of a picture, or null
    std::optional<Path> path;

    bool any() const { return direct || path.has_value(); }
};

Routes find_routes(const Format& from, const Format& to) {
    const bool direct = converts(from, to);
    return {from, to, direct, direct ? lossy(from, to) : nullptr, some_path(from, to)};
}

void describe(const Routes& r) {
    if (r.direct)
        put_line(r.to.name, text("direct", methods_note(r.from, r.to),
                                 r.lossy == nullptr ? "" : text(", but ", r.lossy)));
    if (r.path && r.path->size() > 2) put_line(r.direct ? "" : r.to.name, path_text(*r.path));
}

Json as_json(const Routes& r) {
    Json path;
    if (r.path)
        for (const Format* step : *r.path) path.push_back(step->name);
    Json methods;
    if (r.direct && r.from.family == Family::bayer && r.to.family != Family::bayer)
        for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
            methods[phase_name(phase)] = methods_between(r.from, r.to, phase);
    return {{"from", r.from.name}, {"to", r.to.name},
            {"direct", r.direct},  {"lossy", r.lossy == nullptr ? Json() : Json(r.lossy)},
            {"path", path},        {"methods_by_phase", methods}};
}

std::vector<Routes> routes_from(const Format& from) {
    std::vector<Routes> all;
    for (const Format& to : formats)
        if (to.code != from.code)
            if (Routes routes = find_routes(from, to); routes.any())
                all.push_back(std::move(routes));
    if (all.empty())
        throw Failure(Exit::no_route, text("no way from ", from.name, " to anything"), "",
                      "`trvil routes` lists where there is one");
    return all;
}

std::vector<Routes> routes_between(const Format& from, const Format& to) {
    if (Routes routes = find_routes(from, to); routes.any()) return {std::move(routes)};
    const std::string why =
        from.code == to.code ? "it is the same format, and this one is not copied" : "";
    throw Failure(Exit::no_route, text("no way from ", from.name, " to ", to.name), why,
                  text("`trvil routes ", from.name, "` lists what there is"));
}

struct Options {
    std::string from, to;
    bool json = false;
};

void print_direct_as_json() {
    Json list = Json::array();
    for (const Format& from : formats)
        for (const Format* to : reachable(from))
            list.push_back({{"from", from.name}, {"to", to->name}});
    print_json(list);
}

void list_routes(const Options& o) {
    if (o.from.empty()) return o.json ? print_direct_as_json() : list_direct();
    const Format& from = *pixels_named(o.from).format;
    const auto all = o.to.empty() ? routes_from(from) : routes_between(from, format_named(o.to));
    Json list = Json::array();
    for (const Routes& routes : all) o.json ? list.push_back(as_json(routes)) : describe(routes);
    if (o.json) print_json(list);
}

}  // namespace

void add_routes(CLI::App* app) {
    CLI::App* command = app->add_subcommand("routes", "List which format becomes which");
    const auto o = std::make_shared<Options>();
    command->add_option("from", o->from, "Routes from this format, over several steps too")
        ->type_name("FORMAT");
    command->add_option("to", o->to, "Only to this format")->type_name("FORMAT");
    add_json_flag(command, &o->json);
    command->footer(
        "Without formats: all direct routes. Chains are the shortest on which nothing is lost "
        "before\n"
        "the last step; `trvil convert` takes them by itself and says so.");
    command->callback([o] { list_routes(*o); });
}

}  // namespace trv::tool
