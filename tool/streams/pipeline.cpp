#include "tool/streams/pipeline.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "tool/cli/cleanup.h"
#include "tool/streams/progress.h"

namespace trv::tool {
namespace {

constexpr size_t spare_slots = 3;  // one that is read, one that is written, one that waits

// A ring of frames. A frame keeps its slot from reading to writing, so that nothing is copied, and
// the slots go round in the order of the recording.
class Ring {
  public:
    Ring(FrameSource* source, const MakePicture& make, FrameSink* sink, uint32_t makers)
        : source_(source), make_(make), sink_(sink), slots_(makers + spare_slots) {}

    uint64_t run(uint32_t makers, StreamProgress* progress) {
        std::vector<std::thread> threads;
        threads.emplace_back([this] { guarded([this] { read_all(); }); });
        guarded([&] {
            make_first();
            start_makers(makers, &threads);
            write_all(progress);
        });
        end(nullptr);
        for (std::thread& thread : threads) thread.join();
        if (error_) std::rethrow_exception(error_);
        return written_;
    }

  private:
    enum class State { empty, full, making, made };
    struct Slot {
        State state = State::empty;
        StreamFrame frame;
    };
    using Lock = std::unique_lock<std::mutex>;

    Slot& slot(uint64_t place) { return slots_[place % slots_.size()]; }

    // The first failure of any thread ends them all.
    template <typename Work>
    void guarded(Work work) {
        try {
            work();
        } catch (...) {
            end(std::current_exception());
        }
        changed_.notify_all();
    }

    void end(const std::exception_ptr& error) {
        {
            const Lock lock(mutex_);
            if (!error_) error_ = error;
            ended_ = true;
        }
        changed_.notify_all();
        source_->stop();
    }

    // Waits until a slot has this state; false where it never will.
    bool await(Lock* lock, uint64_t place, State state) {
        changed_.wait(*lock, [&] {
            return ended_ || slot(place).state == state || (no_more_ && place >= read_);
        });
        return !ended_ && slot(place).state == state;
    }

    void pass_on(uint64_t place, State state) {
        {
            const Lock lock(mutex_);
            slot(place).state = state;
            if (state == State::full) ++read_;
        }
        changed_.notify_all();
    }

    void read_all() {
        const Geometry geometry = bytes_of(source_->recording().geometry);
        for (uint64_t place = 0;; ++place) {
            {
                Lock lock(mutex_);
                if (!await(&lock, place, State::empty)) break;
            }
            StreamFrame& frame = slot(place).frame;
            if (!frame.dump) frame.dump.emplace(geometry);
            const std::optional<uint64_t> index = source_->next(*frame.dump);
            if (!index) break;
            frame.index = *index;
            frame.place = place;
            frame.file = source_->name();
            frame.input.place = {frame.file, source_->offset(), std::nullopt, source_->bytes()};
            pass_on(place, State::full);
        }
        const Lock lock(mutex_);
        no_more_ = true;
    }

    void make_one(uint64_t place) {
        StreamFrame* frame = &slot(place).frame;
        sink_->arrived(frame);
        make_(frame);
        sink_->made(frame);
        pass_on(place, State::made);
    }

    void make_first() {
        {
            Lock lock(mutex_);
            if (!await(&lock, 0, State::full)) return;
            slot(0).state = State::making;
            to_make_ = 1;
        }
        make_one(0);
    }

    // Where the machine has no room for another thread, those there are do the work.
    void start_makers(uint32_t makers, std::vector<std::thread>* threads) {
        for (uint32_t i = 0; i < makers; ++i) {
            try {
                threads->emplace_back([this] { guarded([this] { make_all(); }); });
            } catch (const std::system_error&) {
                if (i == 0) throw;
                return;
            }
        }
    }

    void make_all() {
        for (;;) {
            Lock lock(mutex_);
            const uint64_t place = to_make_++;
            if (!await(&lock, place, State::full)) return;
            slot(place).state = State::making;
            lock.unlock();
            make_one(place);
        }
    }

    void write_all(StreamProgress* progress) {
        for (uint64_t place = 0;; ++place) {
            {
                Lock lock(mutex_);
                if (!await(&lock, place, State::made)) return;
            }
            sink_->put(slot(place).frame);
            ++written_;
            progress->step();
            pass_on(place, State::empty);
        }
    }

    FrameSource* source_;
    const MakePicture& make_;
    FrameSink* sink_;
    std::vector<Slot> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    uint64_t read_ = 0, to_make_ = 0, written_ = 0;
    bool no_more_ = false, ended_ = false;
    std::exception_ptr error_;
};

}  // namespace

uint64_t run_stream(FrameSource* source, const MakePicture& make, FrameSink* sink, uint32_t makers,
                    StreamProgress* progress) {
    // Known lengths are judged before memory is asked for.
    if (source->count() == 0) throw source->nothing();
    const uint64_t written = Ring(source, make, sink, makers).run(makers, progress);
    if (written == 0 && !is_stopped()) throw source->nothing();
    if (written != 0) sink->finish();
    progress->finish();
    return written;
}

}  // namespace trv::tool
