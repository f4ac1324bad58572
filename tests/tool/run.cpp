#include "tests/tool/run.h"

#include <gtest/gtest.h>
#include <png.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace trv::test {
namespace fs = std::filesystem;

Folder::Folder() {
    std::string name = (fs::temp_directory_path() / "trvil-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
    path_ = name;
    fs::create_directory(path_ + "/in");
}

Folder::~Folder() {
    fs::remove_all(path_);
}

Result Folder::shell(const std::string& line) const {
    const std::string setting =
        "trvil() { \"" TRVIL_TOOL "\" \"$@\"; }; cd " + path_ + "/in || exit; ";
    std::ofstream(path_ + "/line") << setting << line << '\n';
    const std::string command = "sh " + path_ + "/line >" + path_ + "/out 2>" + path_ + "/err";
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    struct rusage used {};
    wait4(child, &status, 0, &used);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), read("../out"),
            read("../err"), passed.count(), static_cast<uint64_t>(used.ru_maxrss)};
}

std::string Folder::read(const std::string& name) const {
    std::ifstream in(path_ + "/in/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void Folder::write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ + "/in/" + name, std::ios::binary) << bytes;
}

std::set<std::string> Folder::names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_ + "/in"))
        names.insert(entry.path().filename().string());
    return names;
}

Picture Folder::read_png(const std::string& name) const {
    Picture picture;
    FILE* file = fopen((path_ + "/in/" + name).c_str(), "rb");
    if (file == nullptr) {
        ADD_FAILURE() << name << " is not there";
        return picture;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
    picture.width = png_get_image_width(png, info);
    picture.height = png_get_image_height(png, info);
    picture.channels = png_get_channels(png, info);
    const bool deep = png_get_bit_depth(png, info) == 16;
    for (uint32_t y = 0; y < picture.height; ++y) {
        const png_bytep row = png_get_rows(png, info)[y];
        for (size_t i = 0; i < size_t{picture.width} * picture.channels; ++i)
            picture.samples.push_back(deep ? static_cast<uint16_t>(row[2 * i] | row[2 * i + 1] << 8)
                                           : row[i]);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(file);
    return picture;
}

}  // namespace trv::test
