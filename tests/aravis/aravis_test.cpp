// Frames of a camera on a loopback address, which another process sends.
#include "trvil/aravis.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

namespace {

using trvil::Buffer;
using trvil::Format;
using trvil::RawPicture;

// Registers of camera.py.
constexpr uint32_t width_register = 0x10000, height_register = 0x10004, pixels_register = 0x10008,
                   payload_register = 0x1000C, padding_register = 0x1001C;

template <class T>
struct Unref {
    void operator()(T* object) const { g_object_unref(object); }
};
template <class T>
using Object = std::unique_ptr<T, Unref<T>>;

// What noise() of camera.py says.
std::vector<uint8_t> noise(uint64_t number, size_t size) {
    constexpr size_t all = 65521;
    static const std::vector<uint8_t> sequence = [] {
        std::vector<uint8_t> made;
        uint32_t state = 12345;
        for (size_t i = 0; i < all; ++i)
            made.push_back(static_cast<uint8_t>((state = state * 1103515245 + 12345) >> 24));
        return made;
    }();
    std::vector<uint8_t> result(size);
    for (size_t i = 0; i < size; ++i) result[i] = sequence[(number * 4099 + i) % all];
    return result;
}

class Process {
  public:
    explicit Process(std::vector<const char*> words) {
        int to[2], from[2];
        if (pipe(to) != 0 || pipe(from) != 0) abort();
        words.insert(words.begin(), {"python3", TRVIL_CAMERA});
        words.push_back(nullptr);
        if ((id_ = fork()) == 0) {
            dup2(to[0], 0);
            dup2(from[1], 1);
            for (const int end : {to[0], to[1], from[0], from[1]}) close(end);
            execv("/usr/bin/python3", const_cast<char* const*>(words.data()));
            _exit(127);
        }
        close(to[0]);
        close(from[1]);
        input_ = to[1];
        char said = 0;
        EXPECT_EQ(read(from[0], &said, 1), 1) << "the camera does not start";
        output_ = from[0];
    }
    ~Process() {
        close(input_);
        close(output_);
        waitpid(id_, nullptr, 0);
    }

  private:
    pid_t id_;
    int input_, output_;
};

class Camera {
  public:
    explicit Camera(const std::vector<const char*>& words) : process_(words) {
        camera_.reset(arv_camera_new("127.0.0.1", nullptr));
        if (!camera_) std::abort();
        arv_camera_gv_set_stream_options(camera_.get(),
                                         ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
        stream_.reset(arv_camera_create_stream(camera_.get(), nullptr, nullptr, nullptr));
        if (!stream_) std::abort();
        for (int i = 0; i < buffers; ++i)
            arv_stream_push_buffer(stream_.get(), arv_buffer_new_allocate(room));
    }
    ~Camera() { stop(); }

    void set(uint32_t at, uint32_t value) const {
        arv_device_write_register(arv_camera_get_device(camera_.get()), at, value, nullptr);
    }
    uint32_t get(uint32_t at) const {
        uint32_t value = 0;
        arv_device_read_register(arv_camera_get_device(camera_.get()), at, &value, nullptr);
        return value;
    }
    void start() const { arv_camera_start_acquisition(camera_.get(), nullptr); }
    void stop() const { arv_camera_stop_acquisition(camera_.get(), nullptr); }
    // The next frame; null when none comes. It is the caller's.
    ArvBuffer* pop() const { return arv_stream_timeout_pop_buffer(stream_.get(), 3000000); }
    void push(ArvBuffer* frame) const { arv_stream_push_buffer(stream_.get(), frame); }
    ArvStream* stream() const { return stream_.get(); }
    void drop_stream() { stream_.reset(); }
    int waiting() const {
        int in = 0, out = 0;
        arv_stream_get_n_buffers(stream_.get(), &in, &out);
        return in + out;
    }

    static constexpr int buffers = 64;
    static constexpr size_t room = 1 << 16;  // more than any frame has, and a sample after the last

  private:
    Process process_;
    Object<ArvCamera> camera_;
    Object<ArvStream> stream_;
};

// What the library makes of a frame's bytes, without any help of the C++ faces.
Buffer converted(std::vector<uint8_t>* bytes, const TRW_Reading& reading, uint32_t width,
                 uint32_t height, uint32_t stride, Format to) {
    bytes->resize(bytes->size() + 64);
    const auto format = reading.packing == 0 ? Format{reading.format} : Format::Mono8;
    Buffer source = Buffer::wrap(bytes->data(), bytes->size(), width, height, format, stride);
    if (reading.phase != 0) source.phase(trvil::Phase{reading.phase});
    Buffer result = Buffer::create(width, height, to);
    TRW_Settings settings{sizeof settings, reading.format, 0, 0};
    EXPECT_EQ(TRW_Convert(source.handle(), reading.packing, result.handle(), &settings, nullptr),
              TRV_STATUS_OK)
        << reading.name << " to " << trvil::facts(to).name;
    return result;
}

bool same(const Buffer& a, const Buffer& b) {
    const size_t line = size_t{a.width()} * trvil::facts(a.format()).stored / 8;
    for (uint32_t y = 0; y < a.height(); ++y)
        if (std::memcmp(a.memory(y), b.memory(y), line) != 0) return false;
    return true;
}

// What a picture of a layout becomes in one conversion, whichever of the two ways it is packed.
Format target_of(const trvil::PixelLayout& layout) {
    const bool grey = trvil::facts(layout.format).family == trvil::FormatFacts::Family::grey;
    if (layout.packing != 0 && grey) return layout.format;
    for (const Format to : {Format::BGR24, Format::BGRX32, Format::Mono8, Format::BGR48}) {
        TRW_Route route{};
        route.size = sizeof route;
        TRW_PlanRoute(static_cast<uint32_t>(layout.format), static_cast<uint32_t>(to), 0, 0,
                      &route);
        if (to != layout.format && (route.direct & TRW_DIRECT_AVE) != 0) return to;
    }
    ADD_FAILURE() << "no conversion of " << trvil::facts(layout.format).name;
    return layout.format;
}

void check_frames(const Camera& camera, const TRW_Reading& reading, uint32_t width, uint32_t height,
                  uint32_t padding) {
    SCOPED_TRACE(reading.name);
    camera.set(width_register, width);
    camera.set(height_register, height);
    camera.set(padding_register, padding);
    camera.set(pixels_register, reading.code);
    const uint32_t payload = camera.get(payload_register);
    ASSERT_LE(payload, Camera::room);
    camera.start();
    for (int whole = 0; whole < 100;) {
        ArvBuffer* frame = camera.pop();
        ASSERT_NE(frame, nullptr) << "no frame after " << whole;
        if (arv_buffer_get_status(frame) != ARV_BUFFER_STATUS_SUCCESS ||
            arv_buffer_get_image_pixel_format(frame) != reading.code) {
            camera.push(frame);  // of the busy machine, or of the format before
            continue;
        }
        std::vector<uint8_t> expected = noise(arv_buffer_get_frame_id(frame), payload);
        const RawPicture raw = trvil::wrap(frame, camera.stream());
        ASSERT_EQ(raw.buffer.stride(), payload / height);
        ASSERT_EQ(0, std::memcmp(raw.buffer.memory(), expected.data(), payload)) << whole;
        const Format to = target_of(raw.layout);
        const Buffer wanted = converted(&expected, reading, width, height, payload / height, to);
        ASSERT_TRUE(same(trvil::convert(raw, to), wanted)) << whole;
        ++whole;
    }
    camera.stop();
}

// Values that stand for pixels here, each once, by its newest name.
std::vector<TRW_Reading> readable() {
    std::vector<TRW_Reading> result;
    std::set<uint32_t> seen;
    TRW_Reading reading{};
    reading.size = sizeof reading;
    for (uint32_t i = 0; TRW_NameAt(i, &reading) == TRV_STATUS_OK; ++i)
        if (reading.system == TRW_SYSTEM_PFNC && reading.code != 0 && reading.format != 0 &&
            seen.insert(reading.code).second)
            result.push_back(reading);
    return result;
}

TEST(Aravis, EveryCodeThatIsReadComesExactly) {
    const Camera camera({"--period", "200"});
    const std::vector<TRW_Reading> all = readable();
    ASSERT_GE(all.size(), 70u);
    uint32_t turn = 0;
    for (const TRW_Reading& reading : all) {
        // Means of an unpacked mosaic of odd width look at a sample behind the frame.
        const bool even = reading.phase != 0 && reading.packing == 0;
        const uint32_t width = 60 + 5 * (turn % 7);
        check_frames(camera, reading, even ? width & ~1u : width, 5 + turn % 3, turn % 4);
        if (HasFatalFailure()) return;
        ++turn;
    }
}

std::string refusal(ArvBuffer* frame) {
    try {
        trvil::wrap(frame);
    } catch (const trvil::Error& error) {
        return error.what();
    }
    return "";
}

TEST(Aravis, WhatIsNotReadSaysWhy) {
    const Camera camera({"--format", "RGB10p"});
    const auto next = [&] {
        camera.start();
        Object<ArvBuffer> frame(camera.pop());
        camera.stop();
        ArvBuffer* rest = nullptr;
        while ((rest = arv_stream_timeout_pop_buffer(camera.stream(), 20000)) != nullptr)
            camera.push(rest);
        return frame;
    };
    EXPECT_NE(refusal(next().get()).find("one stream of bits"), std::string::npos);
    camera.set(pixels_register, 0x01234567);
    const std::string unknown = refusal(next().get());
    EXPECT_NE(unknown.find("0x01234567"), std::string::npos) << unknown;
}

TEST(Aravis, LinesThatBeginInsideAByteAreRefused) {
    const Camera camera({"--format", "BayerRG12p", "--size", "63x6", "--continuous"});
    camera.start();
    const Object<ArvBuffer> frame(camera.pop());
    EXPECT_NE(refusal(frame.get()).find("begin inside a byte"), std::string::npos);
}

TEST(Aravis, AFrameThatLacksAPacketIsRefused) {
    const Camera camera({"--drop", "1", "--size", "64x40"});
    camera.start();
    const Object<ArvBuffer> frame(camera.pop());
    ASSERT_TRUE(frame);
    EXPECT_NE(refusal(frame.get()).find("frame 1: packets of it were lost"), std::string::npos)
        << refusal(frame.get());
}

TEST(Aravis, APictureGivesItsBufferBackAndOutlivesTheStream) {
    Camera camera({});
    camera.start();
    RawPicture kept;
    {
        ArvBuffer* frame = camera.pop();
        ASSERT_NE(frame, nullptr);
        camera.stop();
        EXPECT_EQ(camera.waiting(), Camera::buffers - 1);
        RawPicture picture = trvil::wrap(frame, camera.stream());
        const Buffer part = picture.buffer.view(2, 2, 8, 2);
        picture = {};
        EXPECT_EQ(camera.waiting(), Camera::buffers - 1);
    }
    EXPECT_EQ(camera.waiting(), Camera::buffers);
    camera.start();
    ArvBuffer* frame = camera.pop();
    ASSERT_NE(frame, nullptr);
    const std::vector<uint8_t> expected = noise(arv_buffer_get_frame_id(frame), 64 * 6);
    kept = trvil::wrap(frame, camera.stream());
    camera.drop_stream();
    EXPECT_EQ(0, std::memcmp(kept.buffer.memory(), expected.data(), expected.size()));
}

}  // namespace
