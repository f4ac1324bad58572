#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/foreign.h"
#include "tool/routes.h"

namespace trv::tool {
namespace {

std::string picture_of(const Format& format) {
    const auto path = find_path(format, Kind::png, {}, Via::automatic);
    return path ? path->back()->name : "-";
}

void put_row(const std::string& name, const std::string& code, const std::string& stored,
             const std::string& significant, const std::string& family, const std::string& phase,
             const std::string& picture) {
    std::cout << std::left << std::setw(11) << name << std::setw(12) << code << std::right
              << std::setw(6) << stored << std::setw(7) << significant << "  " << std::left
              << std::setw(8) << family << std::setw(7) << phase << picture << '\n';
}

std::string hexadecimal(uint32_t code) {
    std::ostringstream out;
    out << "0x" << std::hex << std::uppercase << code;
    return out.str();
}

void list_formats() {
    put_row("NAME", "CODE", "STORED", "DEPTH", "FAMILY", "PHASE", "PICTURE");
    for (const Format& format : formats)
        put_row(format.name, hexadecimal(whole_code(format)), text(unsigned{format.stored}),
                text(unsigned{format.significant}), family_name(format.family),
                phase_name(format.phase), picture_of(format));
}

void put_names(const std::string& name, const std::vector<std::string>& cells) {
    std::cout << std::left << std::setw(11) << name;
    for (size_t i = 0; i < cells.size(); ++i)
        std::cout << std::setw(i + 1 < cells.size() ? 14 : 0) << cells[i];
    std::cout << '\n';
}

void list_names() {
    put_names("NAME", {"PFNC", "V4L2", "GST", "ROS"});
    for (const Format& format : formats) {
        std::vector<std::string> cells;
        for (const char* world : {"pfnc", "v4l2", "gst", "ros"}) {
            const std::string cell = list(foreign_names(format, world));
            cells.push_back(cell.empty() ? "-" : cell);
        }
        put_names(format.name, cells);
    }
    std::cout << "\nPHASE\n";
    for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
        put_names(phase_name(phase), {list(foreign_names(phase))});
}

Json as_json(const Format& format) {
    Json names;
    for (const std::string& world : worlds()) names[world] = foreign_names(format, world);
    const std::string picture = picture_of(format);
    return {{"name", format.name},
            {"code", whole_code(format)},
            {"bits_per_pixel", format.stored},
            {"depth", format.significant},
            {"family", family_name(format.family)},
            {"phase", format.phase == Phase::none ? Json() : Json(phase_name(format.phase))},
            {"pixels_per_group", format.group},
            {"picture", picture == "-" ? Json() : Json(picture)},
            {"foreign_names", names}};
}

struct Options {
    bool names = false, json = false;
};

void run_formats(const Options& o) {
    if (!o.json) return o.names ? list_names() : list_formats();
    Json list = Json::array();
    for (const Format& format : formats) list.push_back(as_json(format));
    print_json(list);
}

}  // namespace

void add_formats(CLI::App* app) {
    CLI::App* command = app->add_subcommand("formats", "List the pixel formats");
    const auto o = std::make_shared<Options>();
    command->add_flag("--names", o->names, "What other projects call them");
    add_json_flag(command, &o->json);
    command->footer(
        "STORED is bits of memory per pixel, DEPTH the bits of a sample that carry the value,\n"
        "PICTURE the format in which a PNG holds it, or - where there is no way to one.\n\n"
        "All names are understood, with the prefix of their world (v4l2:RG10) or without. By "
        "itself a\n"
        "name of this library's own is that: RGB16 has 16 bits per pixel, pfnc:RGB16 48.");
    command->callback([o] { run_formats(*o); });
}

}  // namespace trv::tool
