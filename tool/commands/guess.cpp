#include <algorithm>
#include <array>
#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/files/input.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"
#include "tool/guess/commands.h"
#include "tool/guess/proposal.h"
#include "tool/picture/preview.h"
#include "tool/picture/sheet.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(Neighbouring pixels of a picture are alike. So every line length, packing and pattern of colours is
tried that the bytes hint at, and those under which neighbours are most alike are proposed; 100
would be perfectly smooth, pictures reach 70 to 99. Proposals with nearly the same score cannot be
told apart by arithmetic: red and blue may be exchanged, a dark picture may be a shallow one. Look
at the sheet, and decide.

Not tried: words of three colours (RGB16, RGB30), Mono32, several pictures in one dump.)";

constexpr uint64_t most_bytes = uint64_t{64} << 20;
constexpr uint64_t longest_stream = uint64_t{128} << 20;
constexpr uint32_t most_width = 480, most_height = 360;

struct Options {
    std::string input, output;
    uint32_t most = 6;
    bool force = false, json = false;
};

// What begins like this is no dump.
void refuse_known_file(const guess::Dump& dump) {
    struct Known {
        const char* start;
        const char* what;
    };
    constexpr Known known[] = {{"\x89PNG", "a PNG picture"},
                               {"\xFF\xD8\xFF", "a JPEG picture"},
                               {"GIF8", "a GIF picture"},
                               {"\x1F\x8B", "compressed by gzip"},
                               {"PK\x03\x04", "a zip archive"},
                               {"\xFD"
                                "7zXZ",
                                "compressed by xz"},
                               {"\x28\xB5\x2F\xFD", "compressed by zstd"}};
    for (const Known& file : known) {
        const std::string start = file.start;
        if (dump.known > start.size() &&
            std::equal(start.begin(), start.end(), dump.bytes.begin(),
                       [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; }))
            throw Failure(Exit::input, text(dump.name, " is no raw dump"),
                          text("it is ", file.what), "unpack it first, or open it as what it is");
    }
}

guess::Dump read_dump(const std::string& path) {
    Contents contents = read_contents(path, most_bytes, longest_stream);
    guess::Dump dump{path == "-" ? "stdin" : path, std::move(contents.bytes), 0, contents.length};
    dump.known = dump.bytes.size();
    dump.bytes.resize(dump.bytes.size() + guess::read_ahead);
    refuse_known_file(dump);
    return dump;
}

Failure nothing_found(const guess::Dump& dump) {
    std::array<bool, 256> seen{};
    for (uint64_t i = 0; i < dump.known; ++i) seen[dump.bytes[i]] = true;
    const auto values = std::count(seen.begin(), seen.end(), true);
    const std::string next = "if you know the size and format, `trvil convert -s -f` shows it";
    const std::string what = text("cannot tell what ", dump.name, " holds");
    if (dump.known < 1024)
        return {Exit::conversion, what, text("it has only ", dump.length, " bytes"), next};
    if (values < 2)
        return {Exit::conversion, what, "all of its bytes are equal", "take one with a picture"};
    return {Exit::conversion, what,
            "under no line length, packing and pattern tried are neighbours much alike: it may be "
            "compressed, encrypted, noise, or of a kind that is not tried",
            next};
}

std::string title(const guess::Proposal& p) {
    std::string words = text(p.width, "x", p.height, " ", description({p.format, p.packing}));
    if (p.phase != Phase::none) words += text(" ", phase_name(p.phase));
    return p.swapped ? words + ", bytes swapped" : words;
}

void print(const guess::Dump& dump, const std::vector<guess::Proposal>& proposals) {
    for (size_t i = 0; i < proposals.size(); ++i) {
        const guess::Proposal& p = proposals[i];
        std::cout << (i == 0 ? "" : "\n") << i + 1 << "  score " << std::lround(p.score) << "  "
                  << title(p) << "\n   " << p.reason << '\n';
        for (const std::string& command : commands_for(dump, p))
            std::cout << "   " << command << '\n';
    }
}

Json as_json(const guess::Dump& dump, const guess::Proposal& p) {
    const bool mosaic = p.phase != Phase::none;
    return {{"score", std::round(p.score * 10) / 10},
            {"width", p.width},
            {"height", p.height},
            {"format", p.format->name},
            {"packing", p.packing == 0 ? Json() : Json(packing_name(p.packing))},
            {"other_names", p.other_names},
            {"phase", mosaic ? Json(phase_name(p.phase)) : Json()},
            {"stride", p.stride},
            {"skip", p.skip},
            {"trailing", p.trailing},
            {"bytes_swapped", p.swapped},
            {"bits_in_use", p.used_bits},
            {"reason", p.reason},
            {"commands", commands_for(dump, p)}};
}

void print_as_json(const guess::Dump& dump, const std::vector<guess::Proposal>& proposals) {
    Json list = Json::array();
    for (const guess::Proposal& p : proposals) list.push_back(as_json(dump, p));
    print_json({{"file", dump.name}, {"bytes", dump.length}, {"proposals", list}});
}

void write_sheet(const guess::Dump& dump, const std::vector<guess::Proposal>& proposals,
                 const Options& o) {
    const Sheet sheet(most_width, most_height, static_cast<uint32_t>(proposals.size()));
    Progress progress(1);
    progress.start(o.output);
    for (uint32_t i = 0; i < proposals.size(); ++i) {
        const guess::Proposal& p = proposals[i];
        const auto frame = read_as(dump, p);
        const auto picture = frame ? preview(*frame, p.phase == Phase::none ? Phase::A : p.phase,
                                             most_width, most_height)
                                   : std::nullopt;
        const std::string phase = p.phase == Phase::none ? "" : text(" ", phase_name(p.phase));
        const Frame none(tight(format_of(Code::BGR24), 1, 1));
        sheet.put(i, picture ? *picture : none,
                  text(i + 1, " ", p.packing == 0 ? p.format->name : packing_name(p.packing), phase,
                       " ", p.width, "x", p.height),
                  false);
        progress.part(i + 1, proposals.size());
    }
    Output file(o.output, o.force);
    write_picture(sheet.frame(), Kind::png, &file, &progress);
}

void check_output(const Options& o) {
    if (!o.output.empty() && (o.output == "-" || kind_of_output(o.output, "") != Kind::png))
        throw Failure(Exit::usage, "a sheet is a PNG file", "stdout has the proposals",
                      "end the name of the output in .png");
    check_files({o.input}, as_list(o.output), o.force);
}

void run_guess(const Options& o) {
    check_output(o);
    const guess::Dump dump = read_dump(o.input);
    const std::vector<guess::Proposal> proposals = guess::propose(dump, o.most);
    if (proposals.empty()) throw nothing_found(dump);
    if (!o.output.empty()) write_sheet(dump, proposals, o);
    if (o.json) return print_as_json(dump, proposals);
    print(dump, proposals);
}

}  // namespace

void add_guess(CLI::App* app) {
    CLI::App* command = app->add_subcommand("guess", "Propose how to read an unknown dump");
    const auto o = std::make_shared<Options>();
    command->add_option("input", o->input, "The dump; - is stdin")->required()->type_name("FILE");
    command->add_option("-o,--output", o->output, "Sheet of the proposals, FILE.png [none]")
        ->type_name("FILE");
    command->add_option("--top", o->most, "How many proposals at most [6]")
        ->check(CLI::Range(1, 20))
        ->type_name("N");
    add_json_flag(command, &o->json);
    command->add_flag("--force", o->force, "Replace an existing sheet");
    command->footer(footer);
    command->callback([o] { run_guess(*o); });
}

}  // namespace trv::tool
