#include "raw/explain/writer.h"

#include <stdarg.h>
#include <stdio.h>

namespace trv::raw {

void Writer::add(const char* format, ...) {
    if (text_ == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    const int added = vsnprintf(text_ + length_, size_ - length_, format, arguments);
    va_end(arguments);
    if (added > 0) length_ += static_cast<uint64_t>(added);
    if (length_ >= size_) length_ = size_ - 1;
}

void Writer::begin(const char* kind) {
    add("%s%s: ", length_ == 0 ? "" : "\n", kind);
}

}  // namespace trv::raw
