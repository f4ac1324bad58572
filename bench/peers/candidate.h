// Who takes part in a task, and how far its operation is ours.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench/peers/task.h"
#include "image/dispatch/level.h"

namespace peers {

// One frame to convert. Lines are tight; both sides may be read 64 bytes past their end.
struct Job {
    const uint8_t* from;
    uint8_t* to;
    uint64_t from_handle, to_handle;
};

using Run = std::function<void(const Job&)>;

// Where the channels of a pixel are, blue, green and red (or the one there is), as numbers to
// compare.
struct Channels {
    struct Field {
        unsigned first_bit, bits, down;
    };
    unsigned pixel_bits;
    std::vector<Field> fields;
};

Channels channels_of(const trv::Format& format);
Channels three_words(unsigned down);  // blue, green, red in 16 bits each, to be shifted down

// How a candidate's result differs from ours. Without a reason it has to be ours byte for byte.
struct Tolerance {
    const char* why = nullptr;
    unsigned within = 0;  // largest difference of a channel, on a smooth picture
    unsigned border = 0;  // pixels at all four edges that are not compared
    std::optional<Channels> channels = std::nullopt;  // where the result has another layout
};

struct Candidate {
    std::string name;
    Tolerance tolerance;
    // Makes the call for sources of this size; state that belongs to one thread is made here.
    std::function<Run(Size)> prepare;
};

using Candidates = std::vector<Candidate>;

// Every peer adds what it can do of a task, or nothing.
void add_plain(const Task& task, Candidates* list);
void add_opencv(const Task& task, Candidates* list);
void add_yuv(const Task& task, Candidates* list);
void add_swscale(const Task& task, Candidates* list);
void add_dc1394(const Task& task, Candidates* list);

// Ourselves at a level on a machine.
Candidate ours(const Task& task, const trv::Level& table, const std::string& name);

Candidates peers_of(const Task& task);

// Name and version of every library that takes part.
struct Version {
    std::string name, version;
};
std::vector<Version> versions();

}  // namespace peers
