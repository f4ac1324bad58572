#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/alias.h"
#include "tool/cli/catalogue.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/path.h"

namespace trv::tool {
namespace {

std::string picture_of(const Format& format) {
    const auto path = find_path(format, Kind::png, {}, Via::automatic);
    return path ? path->back()->name : "-";
}

using Row = std::vector<std::string>;

void put_table(const std::vector<Row>& rows) {
    std::vector<size_t> widths;
    for (const Row& row : rows)
        for (size_t i = 0; i < row.size(); ++i) {
            if (i == widths.size()) widths.push_back(0);
            widths[i] = std::max(widths[i], row[i].size());
        }
    for (const Row& row : rows) {
        for (size_t i = 0; i + 1 < row.size(); ++i)
            std::cout << std::left << std::setw(static_cast<int>(widths[i]) + 2) << row[i];
        std::cout << row.back() << '\n';
    }
}

void list_packings() {
    std::vector<Row> rows = {{"PACKING", "DEPTH", "PIXELS IN BYTES", "UNPACKED TO"}};
    for (const Pixels& pixels : packings()) {
        const TRW_PackingInfo info = packing_info(pixels.packing, 0);
        rows.push_back({info.name, text(info.bits),
                        text(info.group_pixels, " in ", info.group_bytes), becomes(pixels)});
    }
    put_table(rows);
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
    std::cout << '\n';
    list_packings();
}

constexpr const char* columns[] = {"pfnc", "v4l2", "gst", "ros"};

Row alias_row(Row row, const Pixels& pixels) {
    for (const char* system : columns) {
        const std::string cell = list(aliases(pixels, system));
        row.push_back(cell.empty() ? "-" : cell);
    }
    return row;
}

void list_names() {
    std::vector<Row> rows = {{"NAME", "PFNC", "V4L2", "GST", "ROS"}};
    for (const Format& format : formats) rows.push_back(alias_row({format.name}, {&format}));
    put_table(rows);
    std::cout << '\n';
    rows = {{"UNPACKED TO", "FROM", "PFNC", "V4L2", "GST", "ROS"}};
    for (const Pixels& pixels : packed_pixels())
        rows.push_back(alias_row({pixels.format->name, packing_name(pixels.packing)}, pixels));
    put_table(rows);
    std::cout << "\nPHASE\n";
    for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
        std::cout << phase_name(phase) << "  " << list(aliases(phase)) << '\n';
}

Json all_aliases(const Pixels& pixels) {
    Json names;
    for (const std::string& system : systems()) names[system] = aliases(pixels, system);
    return names;
}

Json as_json(const Format& format) {
    const std::string picture = picture_of(format);
    Json packed = Json::object();
    for (const Pixels& pixels : packed_pixels())
        if (pixels.format == &format) packed[packing_name(pixels.packing)] = all_aliases(pixels);
    return {{"name", format.name},
            {"code", whole_code(format)},
            {"bits_per_pixel", format.stored},
            {"depth", format.significant},
            {"family", family_name(format.family)},
            {"phase", format.phase == Phase::none ? Json() : Json(phase_name(format.phase))},
            {"pixels_per_group", format.group},
            {"picture", picture == "-" ? Json() : Json(picture)},
            {"aliases", all_aliases({&format})},
            {"packed_aliases", packed}};
}

Json packing_as_json(const Pixels& pixels) {
    const TRW_PackingInfo info = packing_info(pixels.packing, 0);
    std::vector<std::string> unpacked = {pixels.format->name};
    if (pixels.mosaic != nullptr) unpacked.emplace_back(pixels.mosaic->name);
    return {{"name", info.name},
            {"code", pixels.packing},
            {"depth", info.bits},
            {"pixels_per_group", info.group_pixels},
            {"bytes_per_group", info.group_bytes},
            {"unpacked_to", unpacked}};
}

struct Options {
    bool names = false, json = false;
};

void run_formats(const Options& o) {
    if (!o.json) return o.names ? list_names() : list_formats();
    Json list = Json::array();
    for (const Format& format : formats) list.push_back(as_json(format));
    Json packed = Json::array();
    for (const Pixels& pixels : packings()) packed.push_back(packing_as_json(pixels));
    print_json({{"formats", list}, {"packings", packed}});
}

}  // namespace

void add_formats(CLI::App* app) {
    CLI::App* command = app->add_subcommand("formats", "List the pixel formats and packings");
    const auto o = std::make_shared<Options>();
    command->add_flag("--names", o->names, "What other systems call them");
    add_json_flag(command, &o->json);
    command->footer(
        "STORED is bits of memory per pixel, DEPTH the bits of a sample that carry the value,\n"
        "PICTURE the format in which a PNG holds it, or - where there is no way to one.\n\n"
        "All names are understood, with the prefix of their system (v4l2:RG10) or without, and "
        "PFNC values\n"
        "(pfnc:0x010C002B). By itself a name of this library's own is that: RGB16 has 16 bits per "
        "pixel,\n"
        "pfnc:RGB16 48.\n\n"
        "A packing is read like a format: 12Packed is grey, with --phase a mosaic.");
    command->callback([o] { run_formats(*o); });
}

}  // namespace trv::tool
