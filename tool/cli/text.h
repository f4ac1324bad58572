// Small text tools: building messages, and finding what a mistyped word may have meant.
#pragma once

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace trv::tool {

// The arguments one after the other, as << writes them.
template <typename... Parts>
std::string text(const Parts&... parts) {
    std::ostringstream out;
    (out << ... << parts);
    return out.str();
}

std::string lower(std::string_view word);

std::string list(const std::vector<std::string>& words, std::string_view separator = ", ");

// As a terminal may be shown it: what would steer it, and bytes that are no UTF-8, as \n, \t or
// three octal digits.
std::string printable(std::string_view words);

// A word as a shell takes it: in quotes where it has to be, with nothing in it that printable would
// change.
std::string shell_word(const std::string& word);

// Those of `words` that differ least from `wanted`, nearest first, at most `count`.
std::vector<std::string> nearest(const std::string& wanted, const std::vector<std::string>& words,
                                 size_t count);

}  // namespace trv::tool
