// layouts FOLDER: draws every stored layout into FOLDER and prints docs/layouts.md, which shows
// them.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "docs/generate/bits.h"
#include "docs/generate/drawing.h"

namespace {

using page::Bit;
using page::Format;

struct Layout {
    const Format* first;
    std::string names;  // of all formats that are stored so
};

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

const char* colour(const Format& f, char owner) {
    return trv::is_packed(f) ? page::colour_of_pixel(static_cast<unsigned>(owner - 'a'))
                             : page::colour_of_channel(owner);
}

void draw(const Format& f, const std::string& path) {
    const page::Drawing drawing{f.name, page::diagram(f), page::group_bytes(f),
                                [&](unsigned bit) { return drawn_bit(f, bit); },
                                [&](char owner) { return colour(f, owner); }};
    page::Canvas(drawing, path).draw();
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
