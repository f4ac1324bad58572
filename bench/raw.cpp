// Unpacking at every level: speed as a part of a memory copy's of the same bytes (half of what is
// read and written together), beside a plain loop, in turns and in one process.
#include <cstdio>
#include <cstring>
#include <memory>

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
using trv::timing::Candidate;

// What one call works on: memory of both sides, and of a copy of as many bytes.
class Frame {
  public:
    Frame(const Packing& packing, Size size)
        : line_(trv::raw::line_bytes(packing, 0, size.width)),
          half_(bytes(packing, size) / 2),
          from_(line_ * size.height),
          to_(uint64_t{size.width} * 2 * size.height),
          copy_from_(half_),
          copy_to_(half_),
          source_(bench::buffer_of(trv::format_of(trv::Code::Mono8), size, from_.data(), line_)),
          destination_(bench::buffer_of(words_of(packing), size, to_.data())) {}

    static uint64_t bytes(const Packing& packing, Size size) {
        return (trv::raw::line_bytes(packing, 0, size.width) + 2 * uint64_t{size.width}) *
               size.height;
    }
    void copy() const { std::memcpy(copy_to_.data(), copy_from_.data(), half_); }
    const uint8_t* from() const { return from_.data(); }
    uint8_t* to() const { return to_.data(); }
    uint64_t source() const { return source_.handle(); }
    uint64_t destination() const { return destination_.handle(); }

  private:
    static const trv::Format& words_of(const Packing& packing) {
        return trv::format_of(packing.bits == 8    ? trv::Code::YUV422
                              : packing.bits == 10 ? trv::Code::Mono10
                              : packing.bits == 12 ? trv::Code::Mono12
                              : packing.bits == 14 ? trv::Code::Mono14
                                                   : trv::Code::Mono16);
    }

    uint64_t line_, half_;
    bench::Memory from_, to_, copy_from_, copy_to_;
    trvil::Buffer source_, destination_;
};

// A candidate that goes through frames of its own. Candidates that shared frames would find them in
// the cache, warmed by the one before.
template <typename Run>
Candidate candidate(const Packing& packing, const Options& options, Run run) {
    const auto ring = std::make_shared<std::vector<Frame>>();
    const uint64_t bytes = Frame::bytes(packing, options.size);
    for (size_t i = trv::timing::sets_of(bytes, options.rules); i > 0; --i)
        ring->emplace_back(packing, options.size);
    return [ring, run, turn = size_t{0}](unsigned) mutable { run((*ring)[turn++ % ring->size()]); };
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
    std::vector<Candidate> candidates;
    const auto add = [&](auto run) { candidates.push_back(candidate(packing, options, run)); };
    add([](const Frame& f) { f.copy(); });
    add([&](const Frame& f) {
        trv::raw::unpack(level, f.source(), packing.code, f.destination());
    });
    add([&](const Frame& f) {
        bench::unpack_plainly(packing.code, f.from(), f.to(), options.size);
    });
#ifdef TRV_PEER_YUV
    if (is_shuffle(packing)) add([&](const Frame& f) { shuffle(f, options.size); });
#endif
    const std::vector<double> times = trv::timing::compare(candidates, options.rules);
    const double pixels = 1e-6 * options.size.width * options.size.height;
    std::printf("%-10s %6.2f x copy %8.0f Mpx/s   plain loop %5.2f", packing.name,
                times[0] / times[1], pixels / times[1], times[0] / times[2]);
    if (times.size() > 3) std::printf("   libyuv %5.2f", times[0] / times[3]);
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = bench::parse_against_copy("Unpacking at every level", argc, argv);
    std::printf("# below: speed as a part of that copy's\n");
    for (const Packing& packing : trv::raw::packings)
        if (std::string(packing.name).find(options.only) != std::string::npos)
            measure(packing, options);
    return 0;
}
