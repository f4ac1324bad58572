// How deep image calls reach into the stack, at every level: a thread of a driver may have little
// of it. Each call runs on a painted stack of its own; what is no longer painted was used.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <functional>

#include "image/exports/convert.h"
#include "image/exports/field_to_frame.h"
#include "image/exports/kernel.h"
#include "tests/buffers.h"
#include "tests/reference/routes.h"
#include "trvil/til.h"

namespace {

using test::Buffer;

constexpr size_t limit = 16 * 1024;
alignas(64) uint8_t stack[4 * limit];
ucontext_t caller, callee;
const std::function<void()>* work;

void run_work() {
    (*work)();
}

size_t depth_of(const std::function<void()>& call) {
    constexpr uint8_t paint = 0xA7;
    std::fill(std::begin(stack), std::end(stack), paint);
    work = &call;
    getcontext(&callee);
    callee.uc_stack.ss_sp = stack;
    callee.uc_stack.ss_size = sizeof stack;
    callee.uc_link = &caller;
    makecontext(&callee, run_work, 0);
    swapcontext(&caller, &callee);
    const uint8_t* first =
        std::find_if(std::begin(stack), std::end(stack), [](uint8_t b) { return b != paint; });
    return static_cast<size_t>(std::end(stack) - first);
}

// Keeps the deepest call, and fails where one is too deep.
class Deepest {
  public:
    explicit Deepest(const char* kind) : kind_(kind) {}
    ~Deepest() { std::printf("deepest %s: %zu bytes (%s)\n", kind_, bytes_, name_.c_str()); }
    Deepest(const Deepest&) = delete;
    Deepest& operator=(const Deepest&) = delete;

    void measure(const std::string& name, const std::function<void()>& call) {
        const size_t bytes = depth_of(call);
        EXPECT_LE(bytes, limit) << name;
        if (bytes > bytes_) name_ = name;
        bytes_ = std::max(bytes, bytes_);
    }

  private:
    const char* kind_;
    size_t bytes_ = 0;
    std::string name_;
};

Buffer make(const std::string& format, uint32_t width = 333, uint32_t height = 5) {
    return test::create(test::format_named(format), width, height);
}

void for_each_level(const std::function<void(const trv::Level&)>& act) {
    for (unsigned i = 0; i <= trv::best_level(); ++i) act(trv::levels[i]);
}

TEST(Stack, OfConversions) {
    Deepest deepest("conversion");
    for (const auto& [source, destinations] : reference::routes())
        for (const std::string& destination : destinations) {
            Buffer from = make(source), to = make(destination, 400);
            const std::string route = source + " to " + destination + " ";
            // The one method and phase that every layout has.
            from.method(trvil::Method::dup);
            from.phase(trvil::Phase::rggb);
            for_each_level([&](const trv::Level& level) {
                deepest.measure(route + level.name, [&] {
                    EXPECT_EQ(trv::convert(level, from.handle(), to.handle()), 0u);
                });
            });
        }
}

TEST(Stack, OfMosaics) {
    Deepest deepest("mosaic");
    const Buffer to = make("BGRX32");
    for (const trv::bayer::Kernel& kernel : trv::bayer::kernels) {
        const Buffer from = make(kernel.input == trv::bayer::Input::BAY8 ? "BAY8" : "BAY12");
        for_each_level([&](const trv::Level& level) {
            deepest.measure(
                level.name + (" kernel " + std::to_string(&kernel - trv::bayer::kernels)),
                [&] { trv::bayer::run(level, kernel, from.handle(), to.handle(), 12); });
        });
    }
}

TEST(Stack, OfFieldsAndFiles) {
    Deepest deepest("field or file");
    for (const std::string format : {"Mono8", "Mono16", "BGR24", "BGRX32", "YUV422"}) {
        const Buffer from = make(format), to = make(format, 333, 10);
        for_each_level([&](const trv::Level& level) {
            for (uint32_t method = 0; method < 4; ++method)
                deepest.measure(format + " method " + std::to_string(method) + " " + level.name,
                                [&] {
                                    trv::field::run(level, static_cast<trv::field::Method>(method),
                                                    from.handle(), to.handle(), 0);
                                });
        });
        const std::string path = "/proc/self/fd/" + std::to_string(memfd_create("trvil", 0));
        for (const uint32_t type : {TIL_FILE_RAW, TIL_FILE_TIFF})
            deepest.measure(format + " file " + std::to_string(type),
                            [&] { TIL_FileWrite(from.handle(), path.c_str(), type); });
    }
}

}  // namespace
