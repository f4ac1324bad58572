#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/catalogue.h"
#include "tool/command.h"
#include "tool/error.h"
#include "tool/routes.h"
#include "tool/text.h"

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

// By the first method that there is, so that no way is missed.
std::optional<Path> some_way(const Format& from, const Format& to) {
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

bool describe(const Format& from, const Format& to) {
    const bool direct = converts(from, to);
    const char* what = direct ? spoils(from, to) : nullptr;
    const auto path = some_way(from, to);
    if (direct)
        put_line(to.name, text("direct", methods_note(from, to),
                               what == nullptr ? "" : text(", but ", what)));
    if (path && path->size() > 2) put_line(direct ? "" : to.name, path_text(*path));
    return direct || path.has_value();
}

void list_from(const Format& from) {
    bool any = false;
    for (const Format& to : formats)
        if (to.code != from.code) any = describe(from, to) || any;
    if (!any)
        throw Failure(Exit::no_route, text("no way from ", from.name, " to anything"), "",
                      "`trvil routes` lists where there is one");
}

void list_between(const Format& from, const Format& to) {
    if (describe(from, to)) return;
    const std::string why =
        from.code == to.code ? "it is the same format, and this one is not copied" : "";
    throw Failure(Exit::no_route, text("no way from ", from.name, " to ", to.name), why,
                  text("`trvil routes ", from.name, "` lists what there is"));
}

struct Options {
    std::string from, to;
};

void list_routes(const Options& o) {
    if (o.from.empty()) return list_direct();
    const Format& from = format_named(o.from);
    if (o.to.empty()) return list_from(from);
    list_between(from, format_named(o.to));
}

}  // namespace

void add_routes(CLI::App* app) {
    CLI::App* command = app->add_subcommand("routes", "List which format becomes which");
    const auto o = std::make_shared<Options>();
    command->add_option("from", o->from, "Ways from this format, over several steps too");
    command->add_option("to", o->to, "Only to this format");
    command->footer(
        "Without formats: all direct routes. Chains are the shortest on which nothing is lost "
        "before\n"
        "the last step; `trvil convert` takes them by itself and says so.");
    command->callback([o] { list_routes(*o); });
}

}  // namespace trv::tool
