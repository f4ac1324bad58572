#include "tool/play/contact_sheet.h"

#include <algorithm>
#include <cstring>

#include "tool/cli/text.h"
#include "tool/files/picture_write.h"
#include "tool/picture/sheet.h"

namespace trv::tool {
namespace {

constexpr uint64_t most_pictures = 24;
constexpr uint32_t most_columns = 4, most_width = 320, most_height = 240;

// From red, green, blue.
Frame as_bgr(Frame picture) {
    for (uint32_t y = 0; y < picture.geometry().height; ++y)
        for (uint32_t x = 0; x < picture.geometry().width; ++x)
            std::swap(picture.line(y)[size_t{x} * 3], picture.line(y)[size_t{x} * 3 + 2]);
    return std::move(picture).as(format_of(Code::BGR24));
}

}  // namespace

ContactSheet::ContactSheet(std::string output, bool force, std::optional<uint64_t> frames)
    : output_(std::move(output)),
      force_(force),
      step_((std::max<uint64_t>(1, frames.value_or(1)) + most_pictures - 1) / most_pictures) {}

// Steps only grow to multiples: what is wanted when it is put was wanted when it was made.
void ContactSheet::made(StreamFrame* frame) {
    frame->bytes.clear();
    if (frame->place % step_ != 0) return;
    const Frame small = shrunk(*frame->picture, most_width, most_height);
    frame->bytes.assign(small.line(0), small.line(0) + small.geometry().bytes());
}

void ContactSheet::put(const StreamFrame& frame) {
    if (frame.place % step_ != 0) return;
    if (kept_.size() == most_pictures) {
        for (size_t i = 2; i < kept_.size(); i += 2) std::swap(kept_[i / 2], kept_[i]);
        kept_.erase(kept_.begin() + most_pictures / 2, kept_.end());
        step_ = step_ * 2;
        if (frame.place % step_ != 0) return;
    }
    Frame small(shrunk_geometry(frame.picture->geometry(), most_width, most_height));
    std::memcpy(small.line(0), frame.bytes.data(), frame.bytes.size());
    kept_.push_back({frame.index, as_bgr(std::move(small))});
}

void ContactSheet::finish() {
    const Geometry& g = kept_.front().picture.geometry();
    const auto count = static_cast<uint32_t>(kept_.size());
    const Sheet sheet(g.width, g.height, count, std::min(count, most_columns));
    for (uint32_t i = 0; i < count; ++i)
        sheet.put(i, kept_[i].picture, text("FRAME ", kept_[i].index), false);
    Output output(output_, force_);
    write_picture(sheet.frame(), Kind::png, &output, nullptr);
}

}  // namespace trv::tool
