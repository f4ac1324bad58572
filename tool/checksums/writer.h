// A list of checksums while it is made.
#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tool/checksums/list.h"
#include "tool/files/output.h"

namespace trv::tool {

// Lines of several jobs, which threads may add at the same time: the list has them job by job.
// Lines of a job wait in memory while a job before it is not done.
class ChecksumWriter {
  public:
    ChecksumWriter(const std::string& output, bool force, size_t jobs);

    // Throws Failure, as all do that write.
    void add(size_t job, const ChecksumLine& line);
    void end(size_t job);

    // Takes all lines of a job away that has not ended: nothing of it was written.
    void drop(size_t job);

    // All jobs have ended: the list appears under its name, if it has a line.
    void publish();

  private:
    void write(const std::string& words);
    [[noreturn]] void fail(int error) const;

    struct CloseFile {
        void operator()(FILE* file) const { std::fclose(file); }
    };
    struct Job {
        std::string waiting;
        bool ended = false;
    };

    Output output_;
    std::unique_ptr<FILE, CloseFile> file_;
    std::mutex mutex_;
    std::vector<Job> jobs_;
    size_t written_ = 0;  // jobs that have ended, with all before them
    off_t size_ = 0,
          begin_ = 0;  // of the list, and of the lines of the first job that has not ended
    off_t head_ = 0;
};

}  // namespace trv::tool
