// What a stack of dumps of the same view tells of a sensor.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/picture/frame.h"
#include "trvil/raw.h"

namespace trv::tool {

inline constexpr size_t fewest_frames = 2;

// The mean of each sample over all dumps, rounded, in words. Throws Failure for fewer than
// fewest_frames, files of different lengths, and what reading one fails with.
Frame mean_of(const std::vector<std::string>& paths, const Geometry& source, uint64_t skip,
              const std::string& what);

// A picture beside a dump in words, as read_reference takes it.
Frame read_words(const std::string& path, const Geometry& source, uint64_t skip);

// How far samples may be from the median of the eight nearest of their colour.
struct Tolerance {
    double in_the_dark = 0.02;  // as a part of the range that the format has
    double in_light = 0.20;     // as a part of that median, both less the dark level
};

struct Defects {
    std::vector<TRW_Defect> all;           // line by line
    size_t in_the_dark = 0, in_light = 0;  // some may be both
};

// By means in the dark and in even light; `level` is the dark level where there is no such mean.
Defects find_defects(const Frame* dark, const Frame* flat, uint32_t level, const Geometry& source,
                     const Tolerance& tolerance);

// The mean of all samples, and what part of them is `level` or above.
double mean_level(const Frame& words);
double part_from(const Frame& words, uint32_t level);

}  // namespace trv::tool
