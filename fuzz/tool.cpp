// The tool's command line and files, in this process: any words, on dumps that are there, too short
// or missing. It ends with one of its exit codes, and leaves no file half-written behind.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#define main trvil_main
#include "tool/main.cpp"
#undef main

#include "fuzz/input.h"
#include "image/format/format.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Input;

constexpr size_t dump_bytes = 4096;

// A folder of our own, in memory where there is such, with two dumps; stdin is empty and what goes
// to stdout is dropped.
class Folder {
  public:
    Folder() {
        const fs::path root = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
        std::string name = (root / "trvil-fuzz-XXXXXX").string();
        fuzz::require(mkdtemp(name.data()) != nullptr, "a folder can be made");
        path_ = name;
        home_ = fs::current_path();
        fs::current_path(path_);
        const int nothing = open("/dev/null", O_RDWR);
        dup2(nothing, 0);
        dup2(nothing, 1);
        close(nothing);
        restore();
    }
    ~Folder() {
        fs::current_path(home_);
        fs::remove_all(path_);
    }

    // Removes what was made and returns whether all of it was whole files under their names. Words
    // have no number as long as a process has, so no output has a temporary file's name.
    bool tidy() {
        const std::string unfinished = ".trvil-" + std::to_string(getpid()) + "-";
        bool whole = true;
        for (const auto& entry : fs::directory_iterator(path_)) {
            const std::string name = entry.path().filename().string();
            if (name == "in.raw" || name == "short.raw") continue;
            whole = whole && !name.starts_with(unfinished);
            fs::remove_all(entry.path());
        }
        if (fs::file_size("in.raw") != dump_bytes || fs::file_size("short.raw") != 10) restore();
        return whole;
    }

  private:
    static void restore() {
        std::string bytes(dump_bytes, '\0');
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 37 >> 2);
        std::ofstream("in.raw", std::ios::binary) << bytes;
        std::ofstream("short.raw", std::ios::binary) << bytes.substr(0, 10);
    }

    fs::path path_, home_;
};

constexpr const char* words[] = {
    "convert", "formats",   "frame",     "phase",    "routes",      "sample",     "-s",
    "-f",      "-o",        "-m",        "-t",       "--phase",     "--wb",       "--scale",
    "--via",   "--as",      "--force",   "--stride", "--skip",      "--field",    "--names",
    "--help",  "--version", "--pattern", "in.raw",   "short.raw",   "no.raw",     "-",
    "out.png", "out.tif",   "out.ppm",   "out.pgm",  "out.raw",     "{name}.png", "8x4",
    "16x9",    "40x20",     "0x5",       "1x1",      "RGGB",        "grey",       "auto",
    "1,2,1.5", "never",     "dup",       "ave",      "med",         "BayerRG12p", "png",
    "tif",     "raw",       "odd",       "even",     "bilinear",    "median",     "--method",
    "info",    "guess",     "help",      "--json",   "--histogram", "--build",    "--true"};

// Numbers stay short, so that pictures stay small; folders are not for the taking.
std::string any_word(Input& in) {
    const uint32_t choice = in.byte();
    constexpr uint32_t known = sizeof words / sizeof words[0];
    if (choice < 3 * known) return words[choice % known];
    if (choice < 240) return trv::formats[in.below(trv::format_count)].name;
    std::string word(in.below(12), '\0');
    size_t digits = 0;
    for (char& c : word) {
        c = static_cast<char>(in.byte());
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (c == '/' || c == '\0' || digits > 2) c = '_';
    }
    return word;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Folder folder;
    Input in(data, size);
    std::vector<std::string> line{"trvil"};
    while (in.left() != 0 && line.size() < 14) line.push_back(any_word(in));
    std::vector<char*> pointers;
    for (std::string& word : line) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const int code = trvil_main(static_cast<int>(line.size()), pointers.data());
    fuzz::require(code >= 0 && code <= 5, "the exit code is a stated one");
    fuzz::require(folder.tidy(), "nothing is left half-written");
    return 0;
}
