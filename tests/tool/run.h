// Runs the real tool in a folder of its own, and looks at what it left there.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace trv::test {

struct Result {
    int exit;  // 128 + signal where a signal ended it, as shells say it
    std::string out;
    std::string err;
    double seconds;
    uint64_t peak;  // KiB of memory that the largest of its processes had at a time
};

struct Picture {
    uint32_t width = 0, height = 0;
    unsigned channels = 0;  // 1, or 3 as red, green, blue
    std::vector<uint16_t> samples;

    uint16_t at(uint32_t x, uint32_t y, unsigned channel) const {
        return samples.at((size_t{y} * width + x) * channels + channel);
    }
};

class Folder {
  public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // A line of shell, in which `trvil` is the tool.
    Result shell(const std::string& line) const;
    Result trvil(const std::string& words) const { return shell("trvil " + words); }

    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& bytes) const;
    std::set<std::string> names() const;

    // 8-bit samples as they are, 16-bit samples whole.
    Picture read_png(const std::string& name) const;

  private:
    std::string path_;
};

}  // namespace trv::test
