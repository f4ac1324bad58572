// Unpacking at every level: speed as a part of a memory copy's of the same bytes (half of what is
// read and written together), beside a plain loop, in turns and in one process.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "bench/measure.h"
#include "bench/options.h"
#include "bench/raw_plain.h"
#include "raw/unpack/unpack.h"

#ifdef TRV_PEER_YUV
#include <libyuv.h>
#endif

namespace {

using bench::Options;
using bench::Size;
using trv::raw::Packing;

// Memory of both sides, and of a copy of as many bytes.
class Frame {
  public:
    Frame(const Packing& packing, Size size)
        : line_(static_cast<uint32_t>(trv::raw::line_bytes(packing, 0, size.width))),
          from_(bytes(uint64_t{line_} * size.height)),
          to_(bytes(uint64_t{size.width} * 2 * size.height)),
          half_((uint64_t{line_} + 2 * size.width) * size.height / 2),
          copy_from_(bytes(half_)),
          copy_to_(bytes(half_)) {
        const uint32_t words = packing.bits == 10   ? TBL_FORMAT(Mono10)
                               : packing.bits == 12 ? TBL_FORMAT(Mono12)
                               : packing.bits == 14 ? TBL_FORMAT(Mono14)
                                                    : TBL_FORMAT(Mono16);
        TBS_BufferWrap(&source, size.width, size.height, TBL_FORMAT(Mono8), from_.get(),
                       uint64_t{line_} * size.height, line_, nullptr, nullptr);
        TBS_BufferWrap(&destination, size.width, size.height,
                       packing.bits == 8 ? TBL_FORMAT(YUV422) : words, to_.get(),
                       uint64_t{size.width} * 2 * size.height, 0, nullptr, nullptr);
    }
    ~Frame() {
        TBS_BufferRelease(&source);
        TBS_BufferRelease(&destination);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    void copy() const { std::memcpy(copy_to_.get(), copy_from_.get(), half_); }
    uint64_t all_bytes() const { return 4 * half_; }
    const uint8_t* from() const { return from_.get(); }
    uint8_t* to() const { return to_.get(); }

    uint64_t source = 0, destination = 0;

  private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    using Bytes = std::unique_ptr<uint8_t, Free>;

    static Bytes bytes(uint64_t count) {
        const uint64_t room = (count + 64 + 4095) / 4096 * 4096;
        Bytes made(static_cast<uint8_t*>(std::aligned_alloc(4096, room)));
        for (uint64_t i = 0; i < room; ++i)
            made.get()[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
        return made;
    }

    uint32_t line_;
    Bytes from_, to_;
    uint64_t half_;
    Bytes copy_from_, copy_to_;
};

// Frames of one contestant: one of them when warm, more than the caches hold when cold. Contestants
// that shared frames would find them in the cache, warmed by the one before.
class Ring {
  public:
    Ring(const Packing& packing, const Options& options) {
        do frames_.push_back(std::make_unique<Frame>(packing, options.size));
        while (options.cold && frames_.size() * frames_[0]->all_bytes() < size_t{800} << 20);
    }
    const Frame& next() { return *frames_[turn_++ % frames_.size()]; }

  private:
    std::vector<std::unique_ptr<Frame>> frames_;
    size_t turn_ = 0;
};

template <typename Run>
std::function<void()> contestant(const Packing& packing, const Options& options, Run run) {
    return [ring = std::make_shared<Ring>(packing, options), run] { run(ring->next()); };
}

#ifdef TRV_PEER_YUV
// libyuv changes the places of four bytes, which is UYVY to YUV422 and 16be to words.
bool is_shuffle(const Packing& packing) {
    const std::string name = packing.name;
    return name == "UYVY" || name == "16be";
}

void shuffle(const Frame& frame, Size size) {
    static const uint8_t order[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
    const int line = static_cast<int>(size.width) * 2;
    libyuv::ARGBShuffle(frame.from(), line, frame.to(), line, order,
                        static_cast<int>(size.width / 2), static_cast<int>(size.height));
}
#endif

void measure(const Packing& packing, const Options& options) {
    const auto level = trv::raw::levels[options.level];
    std::vector<std::function<void()>> contestants;
    const auto add = [&](auto run) { contestants.push_back(contestant(packing, options, run)); };
    add([](const Frame& f) { f.copy(); });
    add([&](const Frame& f) { trv::raw::unpack(level, f.source, packing.code, f.destination); });
    add([&](const Frame& f) {
        bench::unpack_plainly(packing.code, f.from(), f.to(), options.size);
    });
#ifdef TRV_PEER_YUV
    if (is_shuffle(packing)) add([&](const Frame& f) { shuffle(f, options.size); });
#endif
    const std::vector<double> times = bench::race(contestants, options.rounds);
    const double pixels = 1e-6 * options.size.width * options.size.height;
    std::printf("%-10s %6.2f x copy %8.0f Mpx/s   plain loop %5.2f", packing.name,
                times[0] / times[1], pixels / times[1], times[0] / times[2]);
    if (times.size() > 3) std::printf("   libyuv %5.2f", times[0] / times[3]);
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = bench::parse(argc, argv);
    std::printf("# below: speed as a part of that copy's\n");
    for (const Packing& packing : trv::raw::packings)
        if (std::string(packing.name).find(options.only) != std::string::npos)
            measure(packing, options);
    return 0;
}
