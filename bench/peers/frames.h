// The pictures of a contest: one that stays in cache (warm), or a ring that never does (cold).
// Every contestant works on the same pictures.
#pragma once

#include <cstdlib>
#include <memory>
#include <vector>

#include "bench/peers/contestant.h"

namespace peers {

enum class Content { noise, smooth };

class Memory {
  public:
    explicit Memory(size_t bytes);
    uint8_t* data() const { return data_.get(); }

  private:
    struct Free {
        void operator()(uint8_t* memory) const { std::free(memory); }
    };
    std::unique_ptr<uint8_t, Free> data_;
};

// Fills a picture with samples of no more than the format's significant bits.
void fill(Content content, const trv::Format& format, Size size, uint8_t* memory);

// Source and result in one piece of memory, one behind the other.
class Frame {
  public:
    // `room` is the bytes that the largest result of all contestants takes.
    Frame(const Task& task, Size size, size_t room, Content content);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    const Job& job() const { return job_; }
    // A memory copy of half the bytes that the task moves, inside the same memory, so that it finds
    // in the caches what the contestants find there. Samples stay samples.
    void copy() const;

  private:
    size_t to_at_, copy_bytes_;
    Memory memory_;
    Job job_{};
};

size_t from_bytes(const Task& task, Size size);
size_t to_bytes(const Task& task, Size size);
size_t room_for(const Task& task, Size size, const Contestants& contestants);

}  // namespace peers
