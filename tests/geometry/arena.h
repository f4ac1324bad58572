// Memory between two guard pages that serves one geometry after another.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace geometry {

class Arena {
  public:
    static constexpr size_t page = 4096;

    explicit Arena(size_t room) : room_((room + page - 1) / page * page) {
        void* map = mmap(nullptr, room_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) std::abort();
        first_ = static_cast<uint8_t*>(map) + page;
        if (mprotect(first_, room_, PROT_READ | PROT_WRITE) != 0) std::abort();
    }
    ~Arena() { munmap(first_ - page, room_ + 2 * page); }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    uint8_t* begin() const { return first_; }
    uint8_t* end() const { return first_ + room_; }
    size_t room() const { return room_; }

    // Right after the guard page in front.
    uint8_t* at_front() const { return first_; }
    // Right in front of the guard page after.
    uint8_t* at_back(size_t size) const { return end() - size; }
    // At an address that is `offset` more than a multiple of 64, as far back as there is room.
    uint8_t* at_offset(size_t size, size_t offset) const {
        const size_t last = room_ - size;
        return first_ + (last - offset) / 64 * 64 + offset;
    }

  private:
    size_t room_;
    uint8_t* first_;
};

}  // namespace geometry
