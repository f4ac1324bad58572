#include "grab/frames.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string_view>

#include "tool/cli/report.h"
#include "tool/cli/text.h"
#include "trvil/aravis.hpp"

namespace trv::grab {

using tool::note;
using tool::text;

namespace {

std::atomic<bool> stopped = false;

constexpr uint64_t question_us = 1000000;     // without a frame, until the camera is asked
constexpr uint64_t moment_us = 100000;        // between looks at whether to stop
constexpr uint64_t queue_bytes = 256u << 20;  // of frames that wait to be written
constexpr int fewest_buffers = 8, most_buffers = 256;

// What frames look like: the first tells, and the others are to be the same.
struct Shape {
    uint32_t width, height, stride, code;

    bool operator==(const Shape& other) const {
        return width == other.width && height == other.height && stride == other.stride &&
               code == other.code;
    }
    std::string words() const {
        char number[16];
        std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(code));
        return text(width, "x", height, " pfnc:", number, " ", stride);
    }
};

Shape shape_of(const trvil::RawPicture& picture, ArvBuffer* frame) {
    return {picture.buffer.width(), picture.buffer.height(), picture.buffer.stride(),
            arv_buffer_get_part_pixel_format(frame, 0)};
}

// Returns false when nobody reads any more. A stop is heeded between frames: each is whole.
bool put(const void* memory, uint64_t size) {
    const char* at = static_cast<const char*>(memory);
    while (size != 0) {
        const ssize_t done = write(STDOUT_FILENO, at, size);
        if (done < 0 && errno == EINTR) continue;
        if (done < 0 && errno == EPIPE) return false;
        if (done < 0)
            throw Failure(Exit::output, "cannot hand a frame on",
                          std::generic_category().message(errno), "");
        at += done;
        size -= static_cast<uint64_t>(done);
    }
    return true;
}

// Without the name of the library, which report() says.
std::string reason(const trvil::Error& error) {
    constexpr std::string_view name = "trvil: ";
    const std::string words = error.what();
    return words.rfind(name, 0) == 0 ? words.substr(name.size()) : words;
}

class Stream {
  public:
    Stream(ArvCamera* camera, const Wanted& wanted) : camera_(camera), wanted_(wanted) {
        GError* error = nullptr;
        if (arv_camera_is_gv_device(camera) && !wanted.packet_socket)
            arv_camera_gv_set_stream_options(camera, ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
        stream_.reset(arv_camera_create_stream(camera, nullptr, nullptr, &error));
        if (!stream_) fail("cannot receive frames", &error);
        const size_t payload = arv_camera_get_payload(camera, &error);
        if (error != nullptr) fail("the camera does not say how large a frame is", &error);
        const auto buffers =
            std::clamp(static_cast<int>(queue_bytes / std::max<size_t>(payload, 1)), fewest_buffers,
                       most_buffers);
        for (int i = 0; i < buffers; ++i)
            arv_stream_push_buffer(stream_.get(), arv_buffer_new_allocate(payload));
        lost_ = g_signal_connect(
            arv_camera_get_device(camera), "control-lost",
            G_CALLBACK(+[](ArvDevice*, std::atomic<bool>* gone) { *gone = true; }), &gone_);
    }
    ~Stream() {
        g_signal_handler_disconnect(arv_camera_get_device(camera_), lost_);
        if (gone_)
            static_cast<void>(stream_.release());  // its end would wait for the camera's answer
        else
            arv_camera_stop_acquisition(camera_, nullptr);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void run() {
        GError* error = nullptr;
        arv_camera_set_acquisition_mode(camera_, ARV_ACQUISITION_MODE_CONTINUOUS, nullptr);
        arv_camera_start_acquisition(camera_, &error);
        if (error != nullptr) fail("the camera does not start", &error);
        while (!stopped && (wanted_.count == 0 || whole_ < wanted_.count)) {
            ArvBuffer* frame = next();
            if (frame == nullptr || !take(frame)) break;
        }
    }

    // What is to be known of frames that are missing.
    void tell() const {
        guint64 completed = 0, failures = 0, underruns = 0;
        arv_stream_get_statistics(stream_.get(), &completed, &failures, &underruns);
        if (incomplete_ != 0)
            note(text(incomplete_, incomplete_ == 1 ? " frame was" : " frames were",
                      " not whole and left out; ", loss_advice));
        if (underruns != 0)
            note(
                text(underruns, underruns == 1 ? " frame" : " frames",
                     " came while all buffers waited to be written: the camera is faster than what "
                     "becomes of its frames"));
    }

    bool is_gone() const { return gone_; }

  private:
    [[noreturn]] static void fail(const char* what, GError** error) {
        throw Failure(Exit::input, what, taken(error),
                      "check the camera's features and its network");
    }

    // The next frame, null when it is time to stop. Throws Failure when none comes.
    ArvBuffer* next() {
        for (uint64_t waited = moment_us; !stopped; waited += moment_us) {
            ArvBuffer* frame = arv_stream_timeout_pop_buffer(stream_.get(), moment_us);
            if (frame != nullptr) return frame;
            if (reader_is_gone()) return nullptr;
            if (waited % question_us == 0 && !answers()) gone_ = true;
            if (gone_)
                throw Failure(Exit::input, text("the camera went away after ", frames()),
                              "it does not answer any more", "check its cable and power");
            if (waited >= wanted_.timeout_ms * 1000)
                throw Failure(
                    Exit::input,
                    text("no frame came for ", wanted_.timeout_ms, " ms, after ", frames()),
                    "the camera answers, but waits for a trigger, is slower than that, or "
                    "its frames do not reach this machine",
                    "check TriggerMode, --timeout, and that no firewall drops UDP");
        }
        return nullptr;
    }

    std::string frames() const { return text(whole_, whole_ == 1 ? " frame" : " frames"); }

    bool answers() const {
        GError* error = nullptr;
        arv_camera_get_payload(camera_, &error);
        const bool answer = error == nullptr;
        g_clear_error(&error);
        return answer;
    }

    static bool reader_is_gone() {
        pollfd output{STDOUT_FILENO, 0, 0};
        return poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
    }

    // Writes a whole frame; false when nobody reads any more.
    bool take(ArvBuffer* frame) {
        if (arv_buffer_get_status(frame) != ARV_BUFFER_STATUS_SUCCESS) {
            leave_out(frame);
            return true;
        }
        try {
            const trvil::RawPicture picture = trvil::wrap(frame, stream_.get());
            return put_picture(picture, shape_of(picture, frame));
        } catch (const trvil::Error& error) {
            arv_stream_push_buffer(stream_.get(), frame);
            throw Failure(Exit::no_route, "cannot read the camera's frames", reason(error),
                          "set another PixelFormat or Width: --set PixelFormat=Mono8");
        }
    }

    void leave_out(ArvBuffer* frame) {
        const char* why = trvil::detail::why_incomplete(arv_buffer_get_status(frame));
        if (++incomplete_ <= most_named)
            note(text("frame ", arv_buffer_get_frame_id(frame), " is left out: ", why));
        arv_stream_push_buffer(stream_.get(), frame);
        if (Clock::now() - whole_at_ > std::chrono::milliseconds(wanted_.timeout_ms))
            throw Failure(
                Exit::input,
                text("no whole frame came for ", wanted_.timeout_ms, " ms, after ", frames()), why,
                loss_advice);
    }

    bool put_picture(const trvil::RawPicture& picture, const Shape& shape) {
        if (!shape_) {
            const std::string line = shape.words() + "\n";
            shape_ = shape;
            if (!put(line.data(), line.size())) return false;
        }
        if (!(*shape_ == shape))
            throw Failure(
                Exit::input, text("frame ", whole_, " is of another kind"),
                text("the frames before are ", shape_->words(), ", it is ", shape.words()),
                "grab each kind by itself");
        const uint64_t last = trvil::line_bytes(picture.layout, shape.width);
        const uint64_t bytes = uint64_t{shape.stride} * (shape.height - 1) + last;
        padding_.resize(shape.stride - last);  // the payload may end with the last pixel
        if (!put(picture.buffer.memory(), bytes) || !put(padding_.data(), padding_.size()))
            return false;
        ++whole_;
        whole_at_ = Clock::now();
        return true;
    }

    using Clock = std::chrono::steady_clock;
    static constexpr uint64_t most_named = 5;
    static constexpr const char* loss_advice =
        "larger packets, fewer frames a second or a larger net.core.rmem_max help";

    ArvCamera* camera_;
    Wanted wanted_;
    StreamObject stream_;
    gulong lost_ = 0;
    std::atomic<bool> gone_ = false;
    std::optional<Shape> shape_;
    std::string padding_;
    uint64_t whole_ = 0, incomplete_ = 0;
    Clock::time_point whole_at_ = Clock::now();
};

}  // namespace

void pipe_frames(CameraObject camera, const Wanted& wanted) {
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 1 << 20);  // as much as a user may have; less works too
    Stream stream(camera.get(), wanted);
    try {
        stream.run();
    } catch (const Failure&) {
        if (stream.is_gone()) static_cast<void>(camera.release());
        stream.tell();
        throw;
    }
    stream.tell();
}

void stop() noexcept {
    stopped = true;
}

}  // namespace trv::grab
