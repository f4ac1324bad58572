#include "bench/peers/check.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "bench/peers/frames.h"

namespace peers {
namespace {

constexpr Size check_size{128, 48};

int channel(const Channels& channels, size_t index, const uint8_t* picture, size_t pixel) {
    const Channels::Field& field = channels.fields[index];
    const size_t bit = pixel * channels.pixel_bits + field.first_bit;
    uint64_t bits;
    std::memcpy(&bits, picture + bit / 8, 8);
    return static_cast<int>((bits >> bit % 8 & ((1u << field.bits) - 1)) >> field.down);
}

std::string differs_by(int difference, size_t pixel) {
    return "differs from ours by " + std::to_string(difference) + " at pixel " +
           std::to_string(pixel % check_size.width) + ", " +
           std::to_string(pixel / check_size.width);
}

bool is_inside(size_t pixel, size_t border) {
    const size_t x = pixel % check_size.width, y = pixel / check_size.width;
    return x >= border && y >= border && x + border < check_size.width &&
           y + border < check_size.height;
}

std::string compare(const Task& task, const Tolerance& tolerance, const uint8_t* own,
                    const uint8_t* theirs) {
    const Channels ours = channels_of(task.to());
    const Channels& other = tolerance.channels ? *tolerance.channels : ours;
    int worst = 0;
    size_t where = 0;
    for (size_t pixel = 0; pixel < size_t{check_size.width} * check_size.height; ++pixel)
        for (size_t c = 0; is_inside(pixel, tolerance.border) && c < ours.fields.size(); ++c) {
            const int difference =
                std::abs(channel(ours, c, own, pixel) - channel(other, c, theirs, pixel));
            if (difference > worst) where = pixel;
            worst = std::max(worst, difference);
        }
    return worst <= static_cast<int>(tolerance.within) ? "" : differs_by(worst, where);
}

std::string compare_bytes(const Task& task, const Frame& own, const Frame& theirs) {
    const uint8_t *a = own.job().to, *b = theirs.job().to;
    const size_t bytes = to_bytes(task, check_size);
    const size_t at = static_cast<size_t>(std::mismatch(a, a + bytes, b).first - a);
    if (at == bytes) return "";
    return differs_by(std::abs(a[at] - b[at]), at * 8 / task.to().stored);
}

}  // namespace

std::string check(const Task& task, const Candidate& own, const Candidate& candidate) {
    const bool exact = candidate.tolerance.why == nullptr;
    const size_t capacity = capacity_for(task, check_size, {candidate});
    const Content content = exact ? Content::noise : Content::smooth;
    const Frame ours(task, check_size, capacity, content),
        theirs(task, check_size, capacity, content);
    const Size size = task.from_size(check_size);
    own.prepare(size)(ours.job());
    candidate.prepare(size)(theirs.job());
    if (exact) return compare_bytes(task, ours, theirs);
    return compare(task, candidate.tolerance, ours.job().to, theirs.job().to);
}

// Of samples of their own all bits that they have in memory. U is V in every other pixel.
Channels channels_of(const trv::Format& format) {
    using trv::Channel;
    const unsigned sample = 8 * trv::sample_bytes(format);
    std::vector<Channels::Field> fields;
    for (const Channel channel :
         {Channel::M, Channel::S, Channel::B, Channel::G, Channel::R, Channel::Y, Channel::U})
        if (const trv::Field* field = trv::find_field(format, channel))
            fields.push_back({field->bit, sample != 0 ? sample : field->bits, 0});
    return {format.stored, fields};
}

Channels three_words(unsigned down) {
    return {48, {{0, 16, down}, {16, 16, down}, {32, 16, down}}};
}

}  // namespace peers
