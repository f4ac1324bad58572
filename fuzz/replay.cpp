// Runs a fuzz target on stored inputs: a corpus as a regression test, or a reproducer in a
// debugger. Corpora (NAME.hex) hold an input per line; any other file is one input.
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"

namespace {

uint8_t digit(char c) {
    const size_t value = std::string_view("0123456789abcdef").find(c);
    fuzz::require(value != std::string_view::npos, "a corpus consists of hexadecimal digits");
    return static_cast<uint8_t>(value);
}

std::vector<uint8_t> bytes_of(const std::string& line) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < line.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(digit(line[i]) << 4 | digit(line[i + 1])));
    return bytes;
}

size_t replay(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    fuzz::require(file.is_open(), path.c_str());
    size_t count = 0;
    if (path.ends_with(".hex")) {
        for (std::string line; std::getline(file, line); ++count) {
            const std::vector<uint8_t> input = bytes_of(line);
            LLVMFuzzerTestOneInput(input.data(), input.size());
        }
        return count;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return 1;
}

}  // namespace

int main(int count, char** words) {
    size_t inputs = 0;
    for (int i = 1; i < count; ++i) inputs += replay(words[i]);
    std::fprintf(stderr, "%zu inputs\n", inputs);
    return inputs == 0;
}
