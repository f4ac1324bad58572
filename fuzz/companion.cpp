// The companion library's calls in any order, against a model of what lives.
#include <algorithm>
#include <array>
#include <vector>

#include "fuzz/input.h"
#include "image/format/format.h"
#include "trvil/tbl.h"

namespace {

using fuzz::Input;
using fuzz::require;

uint32_t releases;

void count_release(void*, void*) {
    ++releases;
}

struct Live {
    uint64_t handle;
    uint32_t width, height, format, owners;
    bool wrapped;
};

class Session {
  public:
    explicit Session(Input& in) : in_(in) {}
    ~Session() {
        while (!live_.empty()) drop(0);
        require(releases == wraps_, "every wrapped memory is given back once");
        releases = 0;
    }

    void step() {
        switch (in_.below(7)) {
            case 0:
                return create();
            case 1:
                return wrap();
            case 2:
                return view();
            case 3:
                return set();
            case 4:
                return retain();
            case 5:
                return live_.empty() ? void() : drop(any());
            default:
                return query();
        }
    }

  private:
    uint32_t any() { return in_.below(static_cast<uint32_t>(live_.size())); }
    uint32_t any_format() {
        const uint32_t prefix = in_.one_in(32) ? 0 : trv::format_prefix;
        return prefix +
               static_cast<uint32_t>(
                   in_.one_in(16)
                       ? in_.byte()
                       : static_cast<uint32_t>(trv::formats[in_.below(trv::format_count)].code));
    }
    bool is_full() const { return live_.size() >= 24; }

    void create() {
        const uint32_t width = in_.below(40), height = in_.below(9), format = any_format();
        if (is_full()) return;
        uint64_t handle = 77;
        const bool known = trv::find_whole_format(format) != nullptr;
        const uint32_t expected = width == 0 || height == 0 ? TRV_STATUS_PARAMETER
                                  : known                   ? TRV_STATUS_OK
                                                            : TRV_STATUS_UNSUPPORTED;
        require(TBS_BufferCreate(&handle, width, height, format) == expected, "create: status");
        if (expected != 0) return require(handle == 77, "create: handle kept");
        live_.push_back({handle, width, height, format, 1, false});
        touch(live_.back());
    }

    // The memory is there to the last byte, and zero.
    static void touch(const Live& b) {
        uint64_t address = 0;
        uint32_t stride = 0;
        TBL_BufferParameterGet(b.handle, TBL_PARAMETER_ADDRESS, &address);
        TBL_BufferParameterGet(b.handle, TBL_PARAMETER_STRIDE, &stride);
        auto* bytes = reinterpret_cast<uint8_t*>(address);
        const size_t size = size_t{stride} * b.height + 64;
        require(address % 64 == 0 && stride % 64 == 0, "create: lines are aligned");
        require(bytes[0] == 0 && bytes[size - 1] == 0, "create: memory is zero");
        bytes[0] = bytes[size - 1] = 1;
    }

    void wrap() {
        const uint32_t width = in_.below(40), height = in_.below(9), format = any_format();
        const uint32_t stride = in_.below(400);
        const uint64_t size = in_.below(4000);
        if (is_full()) return;
        const trv::Format* known = trv::find_whole_format(format);
        const uint64_t line = known == nullptr ? 0 : trv::line_bytes(*known, width);
        const uint64_t step = stride == 0 ? line : stride;
        uint32_t expected = TRV_STATUS_OK;
        if (width == 0 || height == 0)
            expected = TRV_STATUS_PARAMETER;
        else if (known == nullptr)
            expected = TRV_STATUS_UNSUPPORTED;
        else if (step < line || step * (height - 1) + line > size)
            expected = TRV_STATUS_PARAMETER;
        uint64_t handle = 77;
        static uint8_t memory[4096];
        require(TBS_BufferWrap(&handle, width, height, format, memory, size, stride, count_release,
                               nullptr) == expected,
                "wrap: status");
        if (expected != 0) return require(handle == 77, "wrap: handle kept");
        ++wraps_;
        live_.push_back({handle, width, height, format, 1, true});
    }

    // A view that is granted lies inside its parent, and keeps its memory alive.
    void view() {
        if (live_.empty() || is_full()) return;
        const Live parent = live_[any()];
        const uint32_t x = in_.below(40), y = in_.below(9);
        const uint32_t width = in_.below(40), height = in_.below(9);
        const bool inside =
            width != 0 && height != 0 && x + width <= parent.width && y + height <= parent.height;
        uint64_t handle = 77;
        const uint32_t status = TBS_BufferView(&handle, parent.handle, x, y, width, height);
        require(inside || status == TRV_STATUS_PARAMETER, "view: not outside of its parent");
        require(status == 0 || handle == 77, "view: handle kept");
        const trv::Format& format = *trv::find_whole_format(parent.format);
        require(!inside || status == 0 || (format.group > 1 && x % 2 == 1),
                "view: refused for an odd x only");
        if (status == 0) live_.push_back({handle, width, height, parent.format, 1, false});
    }

    void set() {
        const uint32_t id = in_.one_in(4) ? in_.byte() : in_.between(9, 10);
        const uint64_t value = in_.one_in(4) ? in_.word() : in_.below(6) << 8 | id;
        const uint64_t handle = live_.empty() ? in_.word() : live_[any()].handle;
        const uint64_t choices = id == 9 ? 3 : id == 10 ? 4 : 0;
        const bool valid =
            !live_.empty() && (value & 0xFF) == id && value >> 8 != 0 && value >> 8 <= choices;
        require((TBS_BufferParameterSet(handle, id, value) == 0) == valid, "set: status");
        uint32_t got = 0;
        if (!valid) return;
        require(TBL_BufferParameterGet(handle, id, &got) == 0 && got == value, "set: value");
    }

    void retain() {
        if (live_.empty()) return require(TBS_BufferRetain(in_.word()) == 8, "retain: stale");
        Live& b = live_[any()];
        require(TBS_BufferRetain(b.handle) == 0, "retain: status");
        ++b.owners;
    }

    void drop(uint32_t index) {
        Live& b = live_[index];
        uint64_t handle = b.handle;
        require(TBS_BufferRelease(&handle) == 0 && handle == 0, "release: status");
        if (--b.owners != 0) return;
        stale_.push_back(b.handle);
        live_.erase(live_.begin() + index);
        ask_stale();
    }

    void query() {
        ask_stale();
        if (live_.empty()) return;
        const Live& b = live_[any()];
        uint32_t width = 0, height = 0, format = 0;
        TBL_BufferParameterGet(b.handle, TBL_PARAMETER_WIDTH, &width);
        TBL_BufferParameterGet(b.handle, TBL_PARAMETER_HEIGHT, &height);
        TBL_BufferParameterGet(b.handle, TBL_PARAMETER_FORMAT, &format);
        require(width == b.width && height == b.height && format == b.format, "query: values");
    }

    // Whatever lives in their slots now, and though a view may keep their memory.
    void ask_stale() {
        for (const uint64_t handle : stale_) {
            uint64_t nothing = 5, copy = handle;
            for (const uint32_t id : {TBL_PARAMETER_PRESENT, TBL_PARAMETER_WIDTH})
                require(TBL_BufferParameterGet(handle, id, &nothing) == TRV_STATUS_PARAMETER,
                        "query: a released handle is refused");
            require(TBS_BufferRetain(handle) == TRV_STATUS_PARAMETER, "retain: a released handle");
            require(TBS_BufferRelease(&copy) == TRV_STATUS_PARAMETER && copy == handle,
                    "release: a released handle");
            require(nothing == 5, "query: a released handle leaves the slot alone");
        }
    }

    Input& in_;
    std::vector<Live> live_;
    std::vector<uint64_t> stale_;  // released, to the last owner
    uint32_t wraps_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    Session session(in);
    for (int i = 0; i < 16 && in.left() != 0; ++i) session.step();
    return 0;
}
