// Pixels of three words, blue first.
#pragma once

#include "image/format/layout.h"

namespace trv::layout {

struct Bgr48 {
    static constexpr size_t bytes = format_of(Code::BGR48).stored / 8;

    static void store(uint8_t* out, const Rgb& c) {
        layout::store(out, static_cast<uint16_t>(c.blue));
        layout::store(out + 2, static_cast<uint16_t>(c.green));
        layout::store(out + 4, static_cast<uint16_t>(c.red));
    }
};

}  // namespace trv::layout
