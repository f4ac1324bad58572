// The pad byte of a picture's very last pixel, where it is not written, may lie in memory that
// nobody may touch: a page's end is put right in front of it.
#include "image/exports/convert.h"
#include "tests/harness.h"
#include "tests/reference/routes.h"
#include "trvil/til.h"

namespace {

struct Target {
    const trv::Format& format;
    uint32_t width, height;

    size_t bytes() const { return trv::line_bytes(format, width) * height; }

    // Converts into memory of which only `held` bytes may be touched, painted before.
    std::vector<uint8_t> convert(const trv::Level& level, uint64_t from, size_t held,
                                 uint8_t paint) const {
        const test::Guarded memory(held, test::Guarded::At::back);
        std::memset(memory.data(), paint, held);
        const test::Buffer to = test::wrap(format, width, height, memory.data(), bytes());
        EXPECT_EQ(trv::convert(level, from, to.handle()), 0u);
        return {memory.data(), memory.data() + held};
    }

    bool keeps_last_byte(const trv::Level& level, uint64_t from) const {
        return convert(level, from, bytes(), 0x11).back() == 0x11 &&
               convert(level, from, bytes(), 0x22).back() == 0x22;
    }
};

// How many levels were tried.
int check(const Target& target, uint64_t from, const std::string& what) {
    int tried = 0;
    for (const unsigned i : test::machine_levels()) {
        const trv::Level& level = trv::levels[i];
        if (!target.keeps_last_byte(level, from)) continue;
        ++tried;
        std::vector<uint8_t> whole = target.convert(level, from, target.bytes(), 0x33);
        whole.pop_back();
        EXPECT_TRUE(target.convert(level, from, target.bytes() - 1, 0x33) == whole)
            << what << " " << level.name;
    }
    return tried;
}

TEST(Pad, OfTheLastPixelIsNeverTouched) {
    test::Random random(test::seed());
    int tried = 0;
    for (const auto& [source, destinations] : reference::routes())
        for (const std::string& destination : destinations) {
            const trv::Format& format = test::format_named(destination);
            if (format.stored != 32) continue;
            for (const uint32_t width : {2u, 7u, 64u, 131u}) {
                test::Buffer from = test::create(test::format_named(source), width, 3);
                from.method(destination == "BGRX32" && random.one_in(2) ? trvil::Method::ave
                                                                        : trvil::Method::dup);
                tried += check({format, width, 3}, from.handle(),
                               source + " to " + destination + " " + std::to_string(width));
            }
        }
    EXPECT_GT(tried, 100);
}

}  // namespace
