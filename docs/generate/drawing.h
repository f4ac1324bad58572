// A group of pixels as it lies in memory, drawn bit by bit.
#pragma once

#include <fstream>
#include <functional>
#include <string>

#include "docs/generate/bits.h"

namespace page {

struct Drawing {
    std::string name;
    std::string diagram;                  // the same in letters
    unsigned bytes;                       // of the group
    std::function<Bit(unsigned bit)> at;  // bit 0 is the lowest of the first byte
    std::function<const char*(char owner)> colour;
};

// Dark enough for white letters, and apart in brightness for eyes that see no hue.
inline const char* colour_of_pixel(unsigned pixel) {
    constexpr const char* colours[] = {"#1f4e79", "#b35c00", "#2e6b3e", "#7a3b78"};
    return colours[pixel % 4];
}

inline const char* colour_of_channel(char owner) {
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

class Canvas {
  public:
    Canvas(const Drawing& drawing, const std::string& path) : d_(drawing), out_(path) {}

    void draw() {
        const unsigned columns = d_.bytes < bytes_per_row ? d_.bytes : bytes_per_row;
        const unsigned rows = (d_.bytes + bytes_per_row - 1) / bytes_per_row;
        const unsigned width = columns * byte_width, tall = 8 + rows * row_height;
        out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << tall
             << "\" width=\"" << width << "\" height=\"" << tall << "\" role=\"img\">\n<title>"
             << d_.name << ": " << d_.diagram << "</title>\n"
             << "<style>text{font:13px monospace;text-anchor:middle;fill:#fff}"
             << "text[fill]{fill:#5f6368}.n{fill:#3c4043}</style>\n"
             << "<rect width=\"100%\" height=\"100%\" rx=\"6\" fill=\"#fff\"/>\n";
        for (unsigned byte = 0; byte < d_.bytes; ++byte) draw_byte(byte);
        out_ << "</svg>\n";
    }

  private:
    static constexpr unsigned cell = 30, height = 30, bytes_per_row = 2;
    static constexpr unsigned byte_width = 8 * cell + 16, row_height = height + 26;

    static std::string label(const Bit& bit) {
        if (bit.owner == '0') return "0";
        if (bit.owner == '-') return "-";
        return bit.owner + std::to_string(bit.index);
    }

    void draw_bit(unsigned x, unsigned y, unsigned bit) {
        const Bit found = d_.at(bit);
        const bool unused = found.owner == '0' || found.owner == '-';
        out_ << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << cell - 1 << "\" height=\""
             << height << "\" fill=\"" << (unused ? "#e4e6ea" : d_.colour(found.owner))
             << "\"/><text x=\"" << x + cell / 2 << "\" y=\"" << y + 20 << "\""
             << (unused ? " fill=\"#5f6368\"" : "") << ">" << label(found) << "</text>\n";
    }

    void draw_byte(unsigned byte) {
        const unsigned left = 8 + byte % bytes_per_row * byte_width;
        const unsigned top = 8 + byte / bytes_per_row * row_height;
        out_ << "<text class=\"n\" x=\"" << left + 4 * cell << "\" y=\"" << top + 12 << "\">byte "
             << byte << "</text>\n";
        for (unsigned bit = 8; bit-- > 0;)
            draw_bit(left + (7 - bit) * cell, top + 18, 8 * byte + bit);
    }

    const Drawing& d_;
    std::ofstream out_;
};

}  // namespace page
