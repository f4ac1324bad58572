#include "bench/peers/frames.h"

#include <algorithm>
#include <cstring>

namespace peers {
namespace {

// What lies after a picture and may be read or written by candidates that overrun.
constexpr size_t slack = 256;

bool has_words(const trv::Format& format) {
    return format.significant > 8 && format.stored % 16 == 0 && format.family != trv::Family::word;
}

void fill_noise(const trv::Format& format, size_t bytes, uint8_t* memory) {
    const bool words = has_words(format);
    const uint64_t mask =
        words ? ((uint64_t{1} << format.significant) - 1) * 0x0001000100010001u : ~uint64_t{0};
    uint64_t state = 0x9E3779B97F4A7C15u;
    for (size_t i = 0; i < bytes; i += 8) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        const uint64_t samples = (state * 0x2545F4914F6CDD1Du) & mask;
        std::memcpy(memory + i, &samples, std::min<size_t>(8, bytes - i));
    }
}

// Slopes whose colours differ, so that an exchange of two channels shows; 8 bits and a fraction.
unsigned slope(uint32_t x, uint32_t y, unsigned channel, unsigned fraction_bits) {
    static constexpr unsigned base[] = {20, 60, 100, 40};
    const unsigned fraction = (7 * x + 13 * y) & ((1u << fraction_bits) - 1);
    return (base[channel] + (x + 2 * y) / 2 % 128) << fraction_bits | fraction;
}

unsigned channel_at(const trv::Format& format, uint32_t x, uint32_t y, unsigned sample) {
    if (format.family == trv::Family::bayer) return x % 2 + y % 2;
    if (format.family == trv::Family::yuv) return sample * (1 + x % 2);
    return sample;
}

void fill_smooth(const trv::Format& format, Size size, uint8_t* memory) {
    const unsigned bytes = has_words(format) ? 2 : 1;
    const unsigned fraction_bits = has_words(format) ? format.significant - 8u : 0;
    for (uint32_t y = 0; y < size.height; ++y)
        for (uint32_t x = 0; x < size.width; ++x)
            for (unsigned sample = 0; sample < format.stored / 8u / bytes; ++sample) {
                const unsigned channel = channel_at(format, x, y, sample);
                const unsigned value = slope(x, y, channel, fraction_bits);
                std::memcpy(memory, &value, bytes);
                memory += bytes;
            }
}

}  // namespace

void fill(Content content, const trv::Format& format, Size size, uint8_t* memory) {
    if (content == Content::smooth) return fill_smooth(format, size, memory);
    fill_noise(format, trv::line_bytes(format, size.width) * size.height, memory);
}

Frame::Frame(const Task& task, Size size, size_t capacity, Content content)
    : to_at_((from_bytes(task, size) + 64 + 4095) / 4096 * 4096),
      copy_bytes_((from_bytes(task, size) + to_bytes(task, size)) / 2),
      memory_(to_at_ + capacity + slack),
      from_(bench::buffer_of(task.from(), task.from_size(size), memory_.data())),
      to_(bench::buffer_of(task.to(), size, memory_.data() + to_at_)),
      job_{memory_.data(), memory_.data() + to_at_, from_.handle(), to_.handle()} {
    std::memset(job_.to, 0x55, capacity);
    fill(content, task.from(), task.from_size(size), memory_.data());
}

void Frame::copy() const {
    const size_t to = (copy_bytes_ + 63) / 64 * 64;
    std::memcpy(memory_.data() + to, memory_.data(), copy_bytes_);
}

size_t from_bytes(const Task& task, Size size) {
    const Size from = task.from_size(size);
    return trv::line_bytes(task.from(), from.width) * from.height;
}

size_t to_bytes(const Task& task, Size size) {
    return trv::line_bytes(task.to(), size.width) * size.height;
}

size_t capacity_for(const Task& task, Size size, const Candidates& candidates) {
    size_t capacity = to_bytes(task, size);
    for (const Candidate& candidate : candidates)
        if (candidate.tolerance.channels)
            capacity = std::max(capacity, size_t{size.width} * size.height *
                                              candidate.tolerance.channels->pixel_bits / 8);
    return capacity;
}

}  // namespace peers
