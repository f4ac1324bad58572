#include "tests/image/exports/fake_buffers.h"

#include <mutex>

namespace test {

FakeBuffers& fake() {
    static FakeBuffers buffers;
    return buffers;
}

void FakeBuffers::set_picture(uint64_t handle, uint32_t format, const void* address, uint32_t width,
                              uint32_t height, uint32_t stride) {
    set(handle, 1, width);
    set(handle, 2, height);
    set(handle, 3, reinterpret_cast<uintptr_t>(address));
    set(handle, 4, stride);
    set(handle, 7, format);
    set(handle, 9, TBL_BAYER_METHOD_DUP);
    set(handle, 10, TBL_BAYER_PHASE_A);
    set(handle, 11, 1);
}

}  // namespace test

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    test::FakeBuffers& buffers = test::fake();
    buffers.asked.push_back({handle, id});
    const auto found = buffers.values.find({handle, id});
    if (found == buffers.values.end()) return 77;
    const bool gone = id == 11 && buffers.presence_answers == 0;
    if (id == 11 && !gone) --buffers.presence_answers;
    if (id == 3 || id == 11)
        *static_cast<uint64_t*>(out) = gone ? 0 : found->second;
    else
        *static_cast<uint32_t*>(out) = static_cast<uint32_t>(found->second);
    return buffers.answer;
}
