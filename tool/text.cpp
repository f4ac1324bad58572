#include "tool/text.h"

#include <algorithm>
#include <numeric>

namespace trv::tool {
namespace {

// Letters to insert, remove or replace until one word is the other.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

}  // namespace

std::string lower(std::string_view word) {
    std::string result(word);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

std::string list(const std::vector<std::string>& words, std::string_view separator) {
    std::string result;
    for (const std::string& word : words) {
        if (!result.empty()) result += separator;
        result += word;
    }
    return result;
}

std::string shell_word(const std::string& word) {
    constexpr const char* harmless =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./,:=@%+-";
    if (!word.empty() && word.find_first_not_of(harmless) == std::string::npos) return word;
    std::string quoted = "'";
    for (const char letter : word)
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return quoted + "'";
}

std::vector<std::string> nearest(const std::string& wanted, const std::vector<std::string>& words,
                                 size_t count) {
    std::vector<std::string> sorted = words;
    const auto far = [&](const std::string& word) { return distance(lower(wanted), lower(word)); };
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const auto& a, const auto& b) { return far(a) < far(b); });
    sorted.resize(std::min(count, sorted.size()));
    return sorted;
}

}  // namespace trv::tool
