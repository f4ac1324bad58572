#include "tool/streams/progress.h"

#include <cmath>

#include "tool/cli/json.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds first_after{400};  // shorter work needs no progress line
constexpr milliseconds again_after{200};

std::string time_text(double seconds) {
    const auto whole = static_cast<uint64_t>(std::ceil(seconds));
    const auto two = [](uint64_t number) { return text(number < 10 ? "0" : "", number); };
    if (whole >= 3600) return text(whole / 3600, ":", two(whole / 60 % 60), ":", two(whole % 60));
    return text(whole / 60, ":", two(whole % 60));
}

}  // namespace

StreamProgress::StreamProgress(std::string name, std::optional<uint64_t> frames, bool json)
    : name_(std::move(name)),
      frames_(frames),
      json_(json),
      watched_(json || is_watched()),
      begun_(Clock::now()),
      next_(begun_ + first_after) {}

StreamProgress::~StreamProgress() {
    clear_progress();
}

double StreamProgress::rate() const {
    const double seconds = std::chrono::duration<double>(Clock::now() - begun_).count();
    return seconds > 0 ? static_cast<double>(done_) / seconds : 0;
}

void StreamProgress::step() {
    ++done_;
    if (!watched_ || Clock::now() < next_) return;
    next_ = Clock::now() + again_after;
    json_ ? print_json(false) : show();
}

void StreamProgress::finish() {
    if (json_) print_json(true);
}

void StreamProgress::show() {
    const double fps = rate();
    std::string line = text(name_, ": frame ", done_);
    if (frames_) line += text(" of ", *frames_);
    line += text(", ", std::round(fps * 10) / 10, " frames/s");
    if (frames_ && fps > 0 && done_ <= *frames_)
        line += text(", ", time_text(static_cast<double>(*frames_ - done_) / fps), " left");
    show_progress(line);
}

void StreamProgress::print_json(bool is_done) {
    const double fps = rate();
    Json json;
    json["file"] = name_;
    json["frames"] = done_;
    json["of"] = frames_ ? Json(*frames_) : Json(nullptr);
    json["frames_per_second"] = std::round(fps * 10) / 10;
    if (frames_ && fps > 0 && done_ <= *frames_)
        json["seconds_left"] = std::round(static_cast<double>(*frames_ - done_) / fps * 10) / 10;
    else
        json["seconds_left"] = nullptr;
    json["done"] = is_done;
    say_line(json_line(json));
}

}  // namespace trv::tool
