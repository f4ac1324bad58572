// Mosaics that keep their depth, and the method `gradient`: speed as a part of a memory copy's of
// the same bytes (half of what is read and written together), beside OpenCV on one thread where it
// was found, in turns and in one process.
#include <cstdio>
#include <cstring>
#include <memory>

#include "bench/options.h"
#include "raw/convert/convert.h"

#ifdef TRV_PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using bench::Options;
using bench::Size;
using trv::Code;
using trv::Format;
using trv::timing::Candidate;

struct Task {
    Code samples, destination;
    uint32_t method;
};

const Task tasks[] = {
    {Code::BAY16, Code::BGR48, TBL_BAYER_METHOD_DUP},
    {Code::BAY16, Code::BGR48, TBL_BAYER_METHOD_AVE},
    {Code::BAY16, Code::BGR48, TBL_BAYER_METHOD_MED},
    {Code::BAY12, Code::RGB48_12, TBL_BAYER_METHOD_AVE},
    {Code::BAY8, Code::BGR48, TBL_BAYER_METHOD_AVE},
    {Code::BAY8, Code::BGR24, TRW_METHOD_GRADIENT},
    {Code::BAY8, Code::BGRX32, TRW_METHOD_GRADIENT},
    {Code::BAY12, Code::BGR24, TRW_METHOD_GRADIENT},
    {Code::BAY12, Code::BGR48, TRW_METHOD_GRADIENT},
    {Code::BAY16, Code::BGR48, TRW_METHOD_GRADIENT},
};

std::string name_of(const Task& task) {
    const char* method = task.method == TBL_BAYER_METHOD_DUP   ? "dup"
                         : task.method == TBL_BAYER_METHOD_AVE ? "ave"
                         : task.method == TBL_BAYER_METHOD_MED ? "med"
                                                               : "gradient";
    return std::string(trv::format_of(task.samples).name) + " " +
           trv::format_of(task.destination).name + " " + method;
}

// What one call works on: memory of both sides, and of a copy of as many bytes.
class Frame {
  public:
    Frame(const Task& task, Size size)
        : size_(size),
          half_(bytes(task, size) / 2),
          from_(bench::bytes_of(trv::format_of(task.samples), size)),
          to_(bench::bytes_of(trv::format_of(task.destination), size)),
          copy_from_(half_),
          copy_to_(half_),
          source_(bench::buffer_of(trv::format_of(task.samples), size, from_.data())),
          destination_(bench::buffer_of(trv::format_of(task.destination), size, to_.data())) {
        const Format& samples = trv::format_of(task.samples);
        if (samples.stored == 8) return;
        for (uint64_t i = 1; i < bench::bytes_of(samples, size); i += 2)
            from_.data()[i] &= static_cast<uint8_t>((1u << (samples.significant - 8)) - 1);
    }

    static uint64_t bytes(const Task& task, Size size) {
        return bench::bytes_of(trv::format_of(task.samples), size) +
               bench::bytes_of(trv::format_of(task.destination), size);
    }
    void copy() const { std::memcpy(copy_to_.data(), copy_from_.data(), half_); }
    uint64_t source() const { return source_.handle(); }
    uint64_t destination() const { return destination_.handle(); }

#ifdef TRV_PEER_OPENCV
    void by_opencv(const Task& task, int code) const {
        const bool deep = trv::format_of(task.samples).stored == 16;
        const int channels = task.destination == Code::BGRX32 ? 4 : 3;
        const cv::Size size(static_cast<int>(size_.width), static_cast<int>(size_.height));
        const cv::Mat from(size, deep ? CV_16U : CV_8U, from_.data());
        // Bytes of deep samples are not made by one of its calls: words are made.
        cv::Mat to(size, CV_MAKETYPE(deep ? CV_16U : CV_8U, channels), to_.data());
        if (deep && trv::format_of(task.destination).stored != 48) to = cv::Mat();
        cv::cvtColor(from, to, code);
    }
#endif

  private:
    Size size_;
    uint64_t half_;
    bench::Memory from_, to_, copy_from_, copy_to_;
    trvil::Buffer source_, destination_;
};

// A candidate that goes through frames of its own: others would find them warmed.
template <typename Run>
Candidate candidate(const Task& task, const Options& options, Run run) {
    const auto ring = std::make_shared<std::vector<Frame>>();
    for (size_t i = trv::timing::sets_of(Frame::bytes(task, options.size), options.rules); i > 0;
         --i)
        ring->emplace_back(task, options.size);
    return [ring, run, turn = size_t{0}](unsigned) mutable { run((*ring)[turn++ % ring->size()]); };
}

struct Peer {
    const char* name;
    int code;
};

// What a user of OpenCV would take for as good a picture.
std::vector<Peer> peers_of([[maybe_unused]] const Task& task) {
#ifdef TRV_PEER_OPENCV
    if (task.destination == Code::BGRX32) return {{"bilinear", cv::COLOR_BayerRGGB2BGRA}};
    if (task.method == TRW_METHOD_GRADIENT)
        return {{"edge-aware", cv::COLOR_BayerRGGB2BGR_EA}, {"bilinear", cv::COLOR_BayerRGGB2BGR}};
    if (task.samples != Code::BAY8) return {{"bilinear", cv::COLOR_BayerRGGB2BGR}};
#endif
    return {};
}

void measure(const Task& task, const Options& options) {
    trv::raw::Level level = trv::raw::levels[options.level];
    level.image = trv::on_machine(level.image, *options.machine);
    TRW_Settings settings{};
    settings.method = task.method;
    std::vector<Candidate> candidates;
    const auto add = [&](auto run) { candidates.push_back(candidate(task, options, run)); };
    add([](const Frame& f) { f.copy(); });
    add([&](const Frame& f) {
        trv::raw::convert(level, f.source(), 0, f.destination(), settings, nullptr);
    });
    const std::vector<Peer> peers = peers_of(task);
#ifdef TRV_PEER_OPENCV
    for (const Peer& peer : peers)
        add([&task, code = peer.code](const Frame& f) { f.by_opencv(task, code); });
#endif
    const std::vector<double> times = trv::timing::compare(candidates, options.rules);
    const double pixels = 1e-6 * options.size.width * options.size.height;
    std::printf("%-24s %5.2f x copy %6.0f Mpx/s", name_of(task).c_str(), times[0] / times[1],
                pixels / times[1]);
    for (size_t i = 0; i < peers.size(); ++i)
        std::printf("   %5.2f times OpenCV's %s", times[2 + i] / times[1], peers[i].name);
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = bench::parse_against_copy(
        "Mosaics to words of colour and by gradient, beside OpenCV", argc, argv);
#ifdef TRV_PEER_OPENCV
    cv::setNumThreads(1);
#endif
    for (const Task& task : tasks)
        if (name_of(task).find(options.only) != std::string::npos) measure(task, options);
    return 0;
}
