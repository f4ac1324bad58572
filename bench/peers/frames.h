// The pictures of a comparison: one that stays in cache (warm), or a ring that never does (cold).
// Every candidate works on the same pictures.
#pragma once

#include "bench/peers/candidate.h"

namespace peers {

enum class Content { noise, smooth };

// Fills a picture with samples of no more than the format's significant bits.
void fill(Content content, const trv::Format& format, Size size, uint8_t* memory);

// Source and result in one piece of memory, one after the other.
class Frame {
  public:
    // `capacity` is the bytes that the largest result of all candidates takes.
    Frame(const Task& task, Size size, size_t capacity, Content content);

    const Job& job() const { return job_; }
    // A memory copy of half the bytes that the task moves, inside the same memory, so that it finds
    // in the caches what the candidates find there. Samples stay samples.
    void copy() const;

  private:
    size_t to_at_, copy_bytes_;
    bench::Memory memory_;
    trvil::Buffer from_, to_;
    Job job_;
};

size_t from_bytes(const Task& task, Size size);
size_t to_bytes(const Task& task, Size size);
size_t capacity_for(const Task& task, Size size, const Candidates& candidates);

}  // namespace peers
