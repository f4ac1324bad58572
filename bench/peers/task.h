// The tasks, made from tasks.inc, and the pictures they are about.
#pragma once

#include <string>
#include <vector>

#include "bench/memory.h"
#include "image/format/format.h"

namespace peers {

using bench::Size;
using trv::Code;

enum class Method { none, dup, ave, med, line_dup, line_ave, bilinear, median };

struct Task {
    const char* family;
    Code from_code, to_code;
    Method method;

    const trv::Format& from() const { return trv::format_of(from_code); }
    const trv::Format& to() const { return trv::format_of(to_code); }
    bool is_mosaic() const { return method >= Method::dup && method <= Method::med; }
    bool is_field() const { return method >= Method::line_dup; }
    bool is(Code from_is, Code to_is) const {
        return !is_mosaic() && !is_field() && from_code == from_is && to_code == to_is;
    }
    // A field has half the lines of its frame.
    Size from_size(Size size) const {
        return {size.width, is_field() ? size.height / 2 : size.height};
    }
    std::string name() const;
};

const std::vector<Task>& all_tasks();

}  // namespace peers
