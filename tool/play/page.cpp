#include "tool/play/page.h"

#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/png.h"
#include "tool/play/page_html.h"

namespace trv::tool {
namespace {

constexpr std::string_view frames_go_here = "{{frames}}\n";

std::string in_html(const std::string& words) {
    std::string safe;
    for (const char letter : printable(words)) {
        if (letter == '&')
            safe += "&amp;";
        else if (letter == '<')
            safe += "&lt;";
        else if (letter == '{')
            safe += "&#123;";  // or it could begin a place to be filled in
        else
            safe += letter;
    }
    return safe;
}

void fill_in(std::string* html, const std::string& name, const std::string& value) {
    const std::string place = text("{{", name, "}}");
    for (size_t at = 0; (at = html->find(place, at)) != std::string::npos; at += value.size())
        html->replace(at, place.size(), value);
}

std::string base64(const uint8_t* bytes, size_t count) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string coded;
    coded.reserve((count + 2) / 3 * 4);
    for (size_t i = 0; i < count; i += 3) {
        const size_t there = std::min<size_t>(3, count - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < there ? bytes[i + k] : 0U);
        for (size_t k = 0; k < 4; ++k)
            coded += k <= there ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return coded;
}

// A stream in memory, which write_png writes to.
class MemoryStream {
  public:
    MemoryStream() : file_(open_memstream(&bytes_, &count_)) {
        if (file_ == nullptr) throw std::bad_alloc();
    }
    ~MemoryStream() {
        std::fclose(file_);
        std::free(bytes_);
    }
    MemoryStream(const MemoryStream&) = delete;
    MemoryStream& operator=(const MemoryStream&) = delete;

    FILE* file() const { return file_; }
    std::string coded() const {
        if (std::fflush(file_) != 0) throw std::bad_alloc();
        return base64(reinterpret_cast<const uint8_t*>(bytes_), count_);
    }

  private:
    char* bytes_ = nullptr;
    size_t count_ = 0;
    FILE* file_;
};

}  // namespace

Page::Page(const std::string& output, bool force, std::string title, FrameRate rate,
           uint64_t most_bytes)
    : title_(std::move(title)),
      rate_(rate),
      most_bytes_(most_bytes),
      output_(output, force),
      file_(std::fopen(output_.path().c_str(), "wb")) {
    if (file_ == nullptr) fail(errno);
}

void Page::fail(int error) const {
    throw Failure(Exit::output, text("cannot write ", output_.target()), std::strerror(error),
                  "check the folder, its permissions and the space left");
}

void Page::write(std::string_view words) {
    errno = 0;
    if (std::fwrite(words.data(), 1, words.size(), file_.get()) != words.size())
        fail(errno == 0 ? EIO : errno);
    bytes_ += words.size();
}

void Page::begin(const Geometry& picture) {
    std::string head(page_html.substr(0, page_html.find(frames_go_here)));
    fill_in(&head, "title", in_html(title_));
    fill_in(&head, "about", text(picture.width, " x ", picture.height, " pixels"));
    fill_in(&head, "width", text(picture.width));
    fill_in(&head, "height", text(picture.height));
    fill_in(&head, "rate", text(rate_.frames, " / ", rate_.seconds));
    write(head);
}

void Page::made(StreamFrame* frame) {
    const MemoryStream png;
    write_png(*frame->picture, png.file(), nullptr);
    const std::string script = text("<script>add(", frame->index, ", \"data:image/png;base64,",
                                    png.coded(), "\");</script>\n");
    frame->bytes.assign(script.begin(), script.end());
}

void Page::put(const StreamFrame& frame) {
    if (frames_ == 0)
        begin(frame.picture->geometry());
    else if (bytes_ + frame.bytes.size() > most_bytes_)
        throw PageFull();
    write({reinterpret_cast<const char*>(frame.bytes.data()), frame.bytes.size()});
    ++frames_;
}

void Page::finish() {
    write(page_html.substr(page_html.find(frames_go_here) + frames_go_here.size()));
    errno = 0;
    if (std::fclose(file_.release()) != 0) fail(errno == 0 ? EIO : errno);
    output_.publish();
}

}  // namespace trv::tool
