// A recording in the window of a video player that is installed here: ffplay or mpv.
#pragma once

#include <sys/types.h>

#include <string>

#include "tool/files/y4m.h"
#include "tool/streams/sink.h"

namespace trv::tool {

// Nobody watches any more: the window is closed, or a signal came.
struct PlayerGone {};

// Takes RGB24 pictures, which it hands to the player as raw video.
class Player : public FrameSink {
  public:
    // `program` is ffplay or mpv, or empty for the first of them that is there. Nothing is started
    // before the first frame. Throws Failure where there is no display.
    Player(std::string program, std::string title, FrameRate rate);
    // Lets a player that still runs end.
    ~Player() override;

    // Throws PlayerGone, or Failure where no player can be started.
    void put(const StreamFrame& frame) override;
    void finish() override {}

    // Lets the player show the last frame until its window is closed, or a signal comes. Throws
    // Failure when it ended by an error of its own.
    void wait();

  private:
    void start(const Geometry& picture);
    bool start(const std::string& program, const Geometry& picture, int pipe);
    void write_all(const uint8_t* bytes, uint64_t count);
    void close_pipe();

    std::string program_, title_;
    FrameRate rate_;
    pid_t process_ = -1;
    int pipe_ = -1;
};

}  // namespace trv::tool
