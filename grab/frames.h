// From a camera's stream into a pipe.
#pragma once

#include <cstdint>
#include <string>

#include "grab/camera.h"

namespace trv::grab {

struct Wanted {
    uint64_t count = 0;          // whole frames; 0: until told to stop
    uint64_t timeout_ms = 5000;  // the longest wait for a frame
    bool packet_socket = false;  // receive beside the network stack
};

// Writes a line that says how to read the frames, "WIDTHxHEIGHT FORMAT STRIDE", and then the bytes
// of each whole frame, STRIDE * HEIGHT, to stdout. Frames that are not whole are left out, and told
// of. Ends after the last, or when nobody reads any more, or by stop(). Throws Failure, also for a
// camera that goes away; what was written until then stays whole.
void pipe_frames(CameraObject camera, const Wanted& wanted);

// Lets pipe_frames end after the frame that it is writing. A signal handler may call it.
void stop() noexcept;

}  // namespace trv::grab
