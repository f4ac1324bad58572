// Routes that do what programs expect of them, which is not what a picture needs.
#pragma once

#include "image/format/format.h"

namespace trv {

// What is wrong with the picture, as the end of "this route ..."; null when nothing is.
constexpr const char* spoils(const Format& from, const Format& to) {
    const bool four_bytes = to.family == Family::colour && to.stored == 32;
    if (from.code == Code::Mono12P && four_bytes) return "takes the low 8 bits of each pixel";
    const bool short_word = to.family == Family::word && to.stored == 16;
    if ((from.code == Code::BGR48 || from.code == Code::BGR48_12) && short_word)
        return "keeps one channel and a flag";
    if (from.code == Code::RGB30 && to.code == Code::RGB48)
        return "takes green and blue from the next pixel";
    return nullptr;
}

}  // namespace trv
