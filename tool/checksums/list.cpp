#include "tool/checksums/list.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <vector>

#include "tool/checksums/crc32c.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr std::string_view first_line = "# trvil checksums 1";
constexpr std::string_view page_word = "page";
constexpr size_t words_of_line = 9;
constexpr int decimal = 10, hexadecimal = 16;

bool is_escaped(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte <= ' ' || letter == '%' || byte == 0x7F;
}

std::string escaped(const std::string& file) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string word;
    for (const char letter : file) {
        const auto byte = static_cast<unsigned char>(letter);
        if (is_escaped(letter))
            (word += '%').append({digits[byte / hexadecimal], digits[byte % hexadecimal]});
        else
            word += letter;
    }
    return word;
}

template <typename Number>
bool read_number(std::string_view digits, int base, Number* number) {
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, *number, base);
    return result.ec == std::errc() && result.ptr == end;
}

bool read_file(std::string_view word, std::string* file) {
    for (size_t i = 0; i < word.size(); ++i) {
        uint8_t byte = 0;
        if (word[i] != '%') {
            *file += word[i];
        } else {
            if (word.size() - i < 3 || !read_number(word.substr(i + 1, 2), hexadecimal, &byte))
                return false;
            *file += static_cast<char>(byte);
            i += 2;
        }
    }
    return !file->empty();
}

bool read_sum(std::string_view word, uint32_t* sum) {
    return word.size() == 2 * sizeof *sum && read_number(word, hexadecimal, sum);
}

// Three words: place, bytes, file.
bool read_place(const std::string_view* words, FramePlace* place) {
    const bool is_page = words[0].substr(0, page_word.size()) == page_word;
    if (is_page && !read_number(words[0].substr(page_word.size()), decimal, &place->page.emplace()))
        return false;
    return (is_page || read_number(words[0], decimal, &place->offset)) &&
           read_number(words[1], decimal, &place->bytes) && read_file(words[2], &place->file);
}

std::vector<std::string_view> words_of(std::string_view line) {
    std::vector<std::string_view> words;
    for (;;) {
        const size_t blank = line.find(' ');
        words.push_back(line.substr(0, blank));
        if (blank == std::string_view::npos) return words;
        line.remove_prefix(blank + 1);
    }
}

std::optional<ChecksumLine> understand(std::string_view text) {
    const std::vector<std::string_view> words = words_of(text);
    ChecksumLine line;
    const bool good =
        words.size() == words_of_line && read_number(words[0], decimal, &line.index) &&
        read_sum(words[1], &line.input.sum) && read_sum(words[2], &line.output.sum) &&
        read_place(&words[3], &line.input.place) && read_place(&words[6], &line.output.place);
    return good ? std::optional(line) : std::nullopt;
}

std::string place_text(const FramePlace& place) {
    const std::string where = place.page ? text(page_word, *place.page) : text(place.offset);
    return text(where, ' ', place.bytes, ' ', escaped(place.file));
}

}  // namespace

std::string checksum_text(const ChecksumLine& line) {
    return text(line.index, ' ', crc_text(line.input.sum), ' ', crc_text(line.output.sum), ' ',
                place_text(line.input.place), ' ', place_text(line.output.place), '\n');
}

std::string checksum_head() {
    return text(first_line,
                "\n# CRC-32C: frame, as read, as written; place, bytes and file of what was read; "
                "the same of what was written\n");
}

ChecksumReader::ChecksumReader(const std::string& path)
    : name_(path == "-" ? "stdin" : path), file_(path == "-" ? "/dev/stdin" : path) {
    if (!file_)
        throw Failure(Exit::input, text("cannot open ", name_), std::strerror(errno),
                      "check the file's name and permissions");
    std::string line;
    if (read_line(&line) && line == first_line) return;
    throw Failure(Exit::input, text(name_, " is no list of checksums"),
                  text("its first line is not \"", first_line, "\""),
                  "name the list first, which `trvil convert --checksums LIST` wrote");
}

bool ChecksumReader::read_line(std::string* line) {
    ++number_;
    return static_cast<bool>(std::getline(file_, *line));
}

void ChecksumReader::fail(const std::string& why) const {
    throw Failure(Exit::input, text("cannot use line ", number_, " of ", name_), why,
                  "take the list as `trvil convert --checksums LIST` wrote it");
}

std::optional<ChecksumLine> ChecksumReader::next() {
    std::string line;
    while (read_line(&line)) {
        if (!line.empty() && line.front() == '#') continue;
        if (auto understood = understand(line)) return understood;
        fail("it is no frame with its sums and places");
    }
    if (file_.bad()) fail("it cannot be read");
    return std::nullopt;
}

}  // namespace trv::tool
