// Developing dumps of one kind, with everything that is known of their sensor.
#pragma once

#include <memory>
#include <optional>

#include "tool/commands/path.h"
#include "tool/develop/settings.h"
#include "tool/files/dng.h"
#include "tool/picture/balance.h"
#include "tool/picture/frame.h"
#include "trvil/raw.h"

namespace trv::tool {

// Whether dumps of such pixels are developed: mosaics, and grey.
bool is_developed(const Format& format);

// What a dump is developed to where nobody names a format.
const Format& developed_format(const Format& source, bool deep);

class Developer {
  public:
    // Reads the files that the settings name. Throws Failure for settings that do not fit together
    // or to the source.
    Developer(const Development& settings, const Tuning& tuning, const Geometry& source,
              uint64_t skip, const Demosaic& how);

    struct Destroy {
        void operator()(TRW_Recipe* recipe) const { TRW_RecipeDestroy(&recipe); }
    };
    using Recipe = std::unique_ptr<TRW_Recipe, Destroy>;

    // A dump, as its bytes are where it is packed, as a picture in a format. Threads may share it.
    Frame develop(const Frame& dump, const Format& to, TRW_Pool* pool) const;

    // The same into a picture of that size, by what recipe_for made of this dump or of another.
    void develop(const Frame& dump, const TRW_Recipe* recipe, const Frame& to,
                 TRW_Pool* pool) const;

    // With the gains of a dump.
    Recipe recipe_for(const Frame& dump, TRW_Pool* pool) const;

    bool has_white() const { return settings_.white != 0; }

    // The gains of a dump, none of them below 1 where they are worked out: where the sensor was
    // saturated in all colours, white would turn pink.
    Gains gains(const Frame& dump, TRW_Pool* pool) const;

    // What a DNG says of it.
    DngColours colours(const Frame& dump, TRW_Pool* pool) const;

  private:
    void read_dark(const std::string& path, uint64_t skip);
    bool is_mosaic() const { return source_.format->family == Family::bayer; }
    Recipe recipe(const Gains& gains, bool finished) const;
    Frame run(const TRW_Recipe* recipe, const Frame& dump, const Format& to, TRW_Pool* pool) const;
    Frame corrected(const Frame& dump, TRW_Pool* pool) const;

    Development settings_;
    Tuning tuning_;
    Geometry source_;
    Demosaic how_;
    std::array<uint32_t, 4> black_{};
    std::optional<Frame> dark_, flat_;
    std::vector<TRW_Defect> defects_;
    Recipe fixed_;  // where no picture has a say in it
};

}  // namespace trv::tool
