#include <iomanip>
#include <iostream>

#include "tool/catalogue.h"
#include "tool/command.h"
#include "tool/routes.h"
#include "tool/text.h"

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

}  // namespace

void add_formats(CLI::App* app) {
    CLI::App* command = app->add_subcommand("formats", "List the pixel formats");
    command->footer(
        "STORED is bits of memory per pixel, DEPTH the bits of a sample that carry the value,\n"
        "PICTURE the format in which a PNG holds it, or - where there is no way to one.");
    command->callback(list_formats);
}

}  // namespace trv::tool
