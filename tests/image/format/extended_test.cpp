// One row makes a format and one more its routes: nothing else names Mono9 or BGRA32.
#include <functional>

#include "image/direct/run.h"
#include "tests/harness.h"

namespace {

using test::Guarded;
using trv::Code;

static_assert(trv::format_count == 76);
static_assert(trv::routing::table.pairs == 338);

// The library's own table of levels has its own rows, so these are named here.
const trv::direct::Rows* const extended[] = {
#define TRV_LEVEL_ROW(level) &trv::level::direct_rows,
#include "image/simd/levels.inc"
};

// Byte `i` of a destination pixel, of the pixel that begins at `in`; less than 0: as it was.
using Byte = std::function<int(const uint8_t* in, uint32_t i)>;

struct Case {
    Code from, to;
    Byte byte;
};

int nine_to_eight(const uint8_t* in, uint32_t) {
    return (in[0] | in[1] << 8) >> 1 & 0xFF;
}

const Case cases[] = {
    {Code::Mono9, Code::Mono8, nine_to_eight},
    {Code::Mono9, Code::BGR24, nine_to_eight},
    {Code::BGRA32, Code::RGBA32,
     [](const uint8_t* in, uint32_t i) { return in[i < 3 ? 2 - i : 3]; }},
    {Code::BGRA32, Code::RGB24, [](const uint8_t* in, uint32_t i) { return in[2 - i]; }},
    {Code::BGRA32, Code::XRGB32,
     [](const uint8_t* in, uint32_t i) { return in[i == 0 ? 3 : 3 - i]; }},
};

void compare(const Case& c, uint32_t width, unsigned level, test::Random& random) {
    const trv::Format &from = trv::format_of(c.from), &to = trv::format_of(c.to);
    const uint32_t from_bytes = from.stored / 8u, to_bytes = to.stored / 8u;
    const Guarded source(size_t{width} * from_bytes, test::any_side(random));
    const Guarded destination(size_t{width} * to_bytes, test::any_side(random));
    for (size_t i = 0; i < source.size(); ++i)
        source.data()[i] = static_cast<uint8_t>(random.bits());
    const auto side = [&](const Guarded& memory, Code code, uint32_t bytes) {
        return trv::Side{trv::format_prefix + static_cast<uint32_t>(code), memory.data(),
                         width * bytes, width, 1};
    };
    const trv::Job job{side(source, c.from, from_bytes), side(destination, c.to, to_bytes), 0, 0,
                       0};
    const trv::Decision decision = trv::decide(job);
    ASSERT_EQ(decision.refusal, trv::Refusal::none);
    trv::convert_lines(*extended[level], job, decision, {0, 1},
                       {.fetch_streams = width % 2 == 0, .past_caches = width % 3 == 0});
    for (uint32_t x = 0; x < width; ++x)
        for (uint32_t i = 0; i < to_bytes; ++i)
            ASSERT_EQ(destination.data()[x * to_bytes + i],
                      c.byte(source.data() + x * from_bytes, i))
                << from.name << " to " << to.name << " level " << trv::level_names[level]
                << " width " << width << " pixel " << x;
}

TEST(OneRowMore, ConvertsAtEveryLevel) {
    test::Random random(test::seed());
    for (unsigned level = 0; level <= trv::highest_level(); ++level)
        for (const Case& c : cases)
            for (uint32_t width = 1; width < 260; ++width) {
                compare(c, width, level, random);
                ASSERT_FALSE(HasFatalFailure());
            }
}

}  // namespace
