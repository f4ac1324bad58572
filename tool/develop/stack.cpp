#include "tool/develop/stack.h"

#include <cmath>
#include <cstring>
#include <filesystem>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/develop/reference.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

uint32_t sample_at(const Frame& frame, uint32_t bytes, uint32_t x, uint32_t y) {
    const uint8_t* sample = frame.line(y) + size_t{x} * bytes;
    return bytes == 1 ? sample[0] : sample[0] | uint32_t{sample[1]} << 8;
}

uint32_t word_at(const Frame& words, uint32_t x, uint32_t y) {
    return sample_at(words, 2, x, y);
}

void check_lengths(const std::vector<std::string>& paths) {
    std::error_code first_failed, failed;
    const uint64_t first = fs::file_size(paths.front(), first_failed);
    for (const std::string& path : paths) {
        const uint64_t length = fs::file_size(path, failed);
        if (first_failed || failed || length == first) continue;
        throw Failure(Exit::input, text(path, " differs in size from ", paths.front()),
                      text("it has ", length, " bytes and not ", first),
                      "take dumps of one sensor, with the same region of interest");
    }
}

void add(const Frame& frame, std::vector<uint32_t>* sums) {
    const Geometry& g = frame.geometry();
    const uint32_t bytes = sample_bytes(*g.format);
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x)
            (*sums)[size_t{g.width} * y + x] += sample_at(frame, bytes, x, y);
}

Frame mean_of_all(const std::vector<std::string>& paths, const Geometry& source, uint64_t skip) {
    std::vector<uint32_t> sums(size_t{source.width} * source.height);
    for (const std::string& path : paths) add(read_reference(path, source, skip), &sums);
    Frame mean(tight(format_of(Code::Mono16), source.width, source.height));
    const auto count = static_cast<uint32_t>(paths.size());
    for (uint32_t y = 0; y < source.height; ++y)
        for (uint32_t x = 0; x < source.width; ++x) {
            const uint32_t sum = sums[size_t{source.width} * y + x];
            const auto word = static_cast<uint16_t>((sum + count / 2) / count);
            std::memcpy(mean.line(y) + size_t{x} * 2, &word, sizeof word);
        }
    return mean;
}

// Samples less what they are in the dark.
class Lit {
  public:
    Lit(const Frame& words, const Frame* dark, uint32_t level)
        : words_(words), dark_(dark), level_(level) {}
    double at(uint32_t x, uint32_t y) const {
        const uint32_t black = dark_ == nullptr ? level_ : word_at(*dark_, x, y);
        const uint32_t word = word_at(words_, x, y);
        return word > black ? word - black : 0;
    }

  private:
    const Frame& words_;
    const Frame* dark_;
    uint32_t level_;
};

// Of the eight nearest places of the same colour, as far as the picture reaches.
template <typename Picture>
double median_around(const Picture& picture, const Geometry& g, uint32_t x, uint32_t y) {
    const int64_t step = g.format->family == Family::bayer ? 2 : 1;
    double values[8];
    size_t count = 0;
    for (int64_t dy = -step; dy <= step; dy += step)
        for (int64_t dx = -step; dx <= step; dx += step) {
            const int64_t there_x = x + dx, there_y = y + dy;
            const bool inside =
                there_x >= 0 && there_y >= 0 && there_x < g.width && there_y < g.height;
            if (!inside || (dx == 0 && dy == 0)) continue;
            const double value =
                picture.at(static_cast<uint32_t>(there_x), static_cast<uint32_t>(there_y));
            size_t place = count++;
            for (; place > 0 && values[place - 1] > value; --place)
                values[place] = values[place - 1];
            values[place] = value;
        }
    if (count == 0) return picture.at(x, y);
    return (values[(count - 1) / 2] + values[count / 2]) / 2;
}

}  // namespace

Frame read_words(const std::string& path, const Geometry& source, uint64_t skip) {
    return mean_of_all({path}, source, skip);
}

Frame mean_of(const std::vector<std::string>& paths, const Geometry& source, uint64_t skip,
              const std::string& what) {
    if (paths.size() < fewest_frames)
        throw Failure(Exit::usage, text("too few ", what, ": ", paths.size()),
                      text("the mean of ", fewest_frames, " is the least that takes noise away"),
                      "16 or more are better");
    check_lengths(paths);
    return mean_of_all(paths, source, skip);
}

Defects find_defects(const Frame* dark, const Frame* flat, uint32_t level, const Geometry& source,
                     const Tolerance& tolerance) {
    const double full = (1u << source.format->significant) - 1;
    Defects found;
    for (uint32_t y = 0; y < source.height; ++y)
        for (uint32_t x = 0; x < source.width; ++x) {
            bool hot = false, odd = false;
            if (dark != nullptr) {
                const Lit picture(*dark, nullptr, 0);
                const double usual = median_around(picture, source, x, y);
                hot = std::abs(picture.at(x, y) - usual) > tolerance.in_the_dark * full;
            }
            if (flat != nullptr) {
                const Lit picture(*flat, dark, level);
                const double usual = median_around(picture, source, x, y);
                odd = std::abs(picture.at(x, y) - usual) > tolerance.in_light * usual;
            }
            found.in_the_dark += hot;
            found.in_light += odd;
            if (hot || odd) found.all.push_back({x, y});
        }
    return found;
}

double mean_level(const Frame& words) {
    const Geometry& g = words.geometry();
    double sum = 0;
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x) sum += word_at(words, x, y);
    return sum / (double(g.width) * g.height);
}

double part_from(const Frame& words, uint32_t level) {
    const Geometry& g = words.geometry();
    uint64_t count = 0;
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x) count += word_at(words, x, y) >= level;
    return double(count) / (double(g.width) * g.height);
}

}  // namespace trv::tool
