// Runs a fuzz target on the files of the folders named: the corpus as a regression test, and a
// reproducer under a debugger.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    // A copy of the exact size, so that reading past the end is noticed.
    const std::vector<uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int count, char** words) {
    size_t files = 0;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::is_directory(words[i])) {
            replay(words[i]);
            ++files;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(words[i])) {
            replay(entry.path());
            ++files;
        }
    }
    std::fprintf(stderr, "%zu inputs\n", files);
    return files == 0;
}
