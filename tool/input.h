// Raw dumps, read from a file or from stdin ("-").
#pragma once

#include <string>
#include <vector>

#include "tool/frame.h"

namespace trv::tool {

// Reads the picture that begins `skip` bytes into the input. Bytes behind it are left unread and,
// with a note, ignored. Throws Failure when the input is missing, unreadable or too short.
Frame read_frame(const std::string& path, const Geometry& geometry, uint64_t skip);

struct Contents {
    std::vector<uint8_t> bytes;
    uint64_t length;  // of the whole input
};

// The first bytes of an input, at most `most`. Throws Failure when it is missing or unreadable.
Contents read_contents(const std::string& path, uint64_t most);

// Throws Failure when there is no such input, before anything is done.
void check_input(const std::string& path);

}  // namespace trv::tool
