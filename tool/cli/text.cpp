#include "tool/cli/text.h"

#include <algorithm>
#include <cstdint>
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

// Bytes of the UTF-8 character at the front, and its number; 0 where there is none.
size_t decode(std::string_view words, uint32_t* number) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(words[i]); };
    const uint8_t first = byte(0);
    const size_t length = first < 0x80         ? 1
                          : first >> 5 == 0x06 ? 2
                          : first >> 4 == 0x0E ? 3
                          : first >> 3 == 0x1E ? 4
                                               : 0;
    if (length == 0 || length > words.size()) return 0;
    *number = length == 1 ? first : first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if (byte(i) >> 6 != 2) return 0;
        *number = *number << 6 | (byte(i) & 0x3F);
    }
    constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = *number >= 0xD800 && *number < 0xE000;
    return *number < least[length] || *number > 0x10FFFF || surrogate ? 0 : length;
}

// Control characters, and those that end lines or change the direction of writing.
bool steers(uint32_t number) {
    return number < 0x20 || (number >= 0x7F && number < 0xA0) || number == 0x200E ||
           number == 0x200F || (number >= 0x2028 && number < 0x202F) ||
           (number >= 0x2066 && number < 0x206A);
}

// How many bytes at the front can be shown as they are: a character, or none.
size_t shown(std::string_view words) {
    uint32_t number = 0;
    const size_t length = decode(words, &number);
    return steers(number) ? 0 : length;
}

std::string escaped(char byte) {
    if (byte == '\n') return "\\n";
    if (byte == '\t') return "\\t";
    const auto value = static_cast<uint8_t>(byte);
    const auto digit = [&](int shift) { return static_cast<char>('0' + (value >> shift & 7)); };
    return {'\\', digit(6), digit(3), digit(0)};
}

// $'...', in which bash, zsh and newer others know the escapes.
std::string dollar_quoted(const std::string& word) {
    std::string quoted = "$'";
    for (const char letter : word)
        quoted += letter == '\'' || letter == '\\' ? std::string{'\\', letter}
                                                   : printable(std::string(1, letter));
    return quoted + "'";
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

std::string printable(std::string_view words) {
    std::string result;
    while (!words.empty()) {
        const size_t length = shown(words);
        result += length == 0 ? escaped(words[0]) : std::string(words.substr(0, length));
        words.remove_prefix(std::max<size_t>(1, length));
    }
    return result;
}

std::string shell_word(const std::string& word) {
    constexpr const char* harmless =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./,:=@%+-";
    if (!word.empty() && word.find_first_not_of(harmless) == std::string::npos) return word;
    if (printable(word) != word) return dollar_quoted(word);
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
