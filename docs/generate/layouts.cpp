// layouts FOLDER: draws every stored layout into FOLDER and prints docs/layouts.md, which shows
// them.
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "docs/generate/bits.h"

namespace {

using page::Bit;
using page::Format;

struct Layout {
    const Format* first;
    std::string names;  // of all formats that are stored so
};

constexpr unsigned cell = 30, height = 30, bytes_per_row = 2;
constexpr unsigned byte_width = 8 * cell + 16, row_height = height + 26;

// Mosaics are stored as grey is: one drawing serves both.
Bit drawn_bit(const Format& f, unsigned bit) {
    const Bit found = page::bit_of(f, bit);
    return {found.owner == 's' ? 'm' : found.owner, found.index};
}

std::string key(const Format& f) {
    std::string text;
    for (unsigned bit = 0; bit < 8 * page::group_bytes(f); ++bit) {
        const Bit found = drawn_bit(f, bit);
        text += found.owner + std::to_string(found.index);
    }
    return text;
}

std::vector<Layout> all_layouts() {
    std::vector<Layout> layouts;
    std::map<std::string, size_t> known;
    for (const Format& f : trv::formats) {
        const auto [place, is_new] = known.emplace(key(f), layouts.size());
        if (is_new)
            layouts.push_back({&f, f.name});
        else
            layouts[place->second].names += std::string(", ") + f.name;
    }
    return layouts;
}

// Dark enough for white letters, and apart in brightness for eyes that see no hue.
const char* fill(const Format& f, char owner) {
    if (owner == '0' || owner == '-') return "#e4e6ea";
    if (trv::is_packed(f))
        return owner == 'a'   ? "#1f4e79"
               : owner == 'b' ? "#b35c00"
               : owner == 'c' ? "#2e6b3e"
                              : "#7a3b78";
    switch (owner) {
        case 'r':
            return "#b3261e";
        case 'g':
            return "#2e7d32";
        case 'b':
            return "#1f4fa3";
        case 'a':
            return "#5f6368";
        case 'u':
            return "#2f6f9f";
        case 'v':
            return "#a34a5a";
        default:
            return owner == 'z' ? "#6b6f76" : "#3c4043";
    }
}

std::string label(const Bit& bit) {
    if (bit.owner == '0') return "0";
    if (bit.owner == '-') return "-";
    return bit.owner + std::to_string(bit.index);
}

unsigned rows_of(const Format& f) {
    return (page::group_bytes(f) + bytes_per_row - 1) / bytes_per_row;
}

void draw_bit(std::ostream& out, const Format& f, unsigned x, unsigned y, unsigned bit) {
    const Bit found = drawn_bit(f, bit);
    const bool unused = found.owner == '0' || found.owner == '-';
    out << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << cell - 1 << "\" height=\""
        << height << "\" fill=\"" << fill(f, found.owner) << "\"/><text x=\"" << x + cell / 2
        << "\" y=\"" << y + 20 << "\"" << (unused ? " fill=\"#5f6368\"" : "") << ">" << label(found)
        << "</text>\n";
}

void draw_byte(std::ostream& out, const Format& f, unsigned byte) {
    const unsigned left = 8 + byte % bytes_per_row * byte_width;
    const unsigned top = 8 + byte / bytes_per_row * row_height;
    out << "<text class=\"n\" x=\"" << left + 4 * cell << "\" y=\"" << top + 12 << "\">byte "
        << byte << "</text>\n";
    for (unsigned bit = 8; bit-- > 0;)
        draw_bit(out, f, left + (7 - bit) * cell, top + 18, 8 * byte + bit);
}

void draw(const Format& f, const std::string& path) {
    const unsigned bytes = page::group_bytes(f);
    const unsigned columns = bytes < bytes_per_row ? bytes : bytes_per_row;
    const unsigned width = columns * byte_width, tall = 8 + rows_of(f) * row_height;
    std::ofstream out(path);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << tall
        << "\" width=\"" << width << "\" height=\"" << tall << "\" role=\"img\">\n<title>" << f.name
        << ": " << page::diagram(f) << "</title>\n"
        << "<style>text{font:13px monospace;text-anchor:middle;fill:#fff}"
        << "text[fill]{fill:#5f6368}.n{fill:#3c4043}</style>\n"
        << "<rect width=\"100%\" height=\"100%\" rx=\"6\" fill=\"#fff\"/>\n";
    for (unsigned byte = 0; byte < bytes; ++byte) draw_byte(out, f, byte);
    out << "</svg>\n";
}

const char* const introduction = R"(# Layouts, bit by bit

<!-- Made by docs/generate/layouts.cpp from include/trvil/formats.inc. -->

Each picture is one group of pixels as it lies in memory: bytes from left to right in the order of their
addresses, each with its highest bit on the left. A bit says whose it is and which bit of that value, 0
being the lowest: `r7` is the highest bit of an 8-bit red.

| Letter | is a bit of |
|---|---|
| `r` `g` `b` | red, green, blue |
| `a` in RGBA | alpha |
| `m` | the pixel's one value: grey, or in a mosaic the colour that its site measures |
| `a` `b` `c` `d` in packed formats | the first to fourth pixel of a group |
| `y` `z` `u` `v` | luminance of the first and the second pixel, and the chrominance of both |
| `0` | no value |
| `-` | a pad byte |

[Formats and routes](formats.md) has the codes, and which format becomes which.
)";

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    const std::string folder = arguments[1];
    std::printf("%s", introduction);
    for (const Layout& layout : all_layouts()) {
        const Format& f = *layout.first;
        draw(f, folder + "/" + f.name + ".svg");
        std::printf("\n## %s\n\n", f.name);
        if (layout.names != f.name)
            std::printf("The same for %s.\n\n",
                        layout.names.c_str() + std::string(f.name).size() + 2);
        std::printf("![%s: %s](pictures/layouts/%s.svg)\n", f.name, page::diagram(f).c_str(),
                    f.name);
    }
    return 0;
}
