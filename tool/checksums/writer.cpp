#include "tool/checksums/writer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {

ChecksumWriter::ChecksumWriter(const std::string& output, bool force, size_t jobs)
    : output_(output, force), file_(std::fopen(output_.path().c_str(), "wb")), jobs_(jobs) {
    if (file_ == nullptr) fail(errno);
    write(checksum_head());
    begin_ = head_ = size_;
}

void ChecksumWriter::fail(int error) const {
    throw Failure(Exit::output,
                  text("cannot write ", output_.target() == "-" ? "to stdout" : output_.target()),
                  std::strerror(error), "check the folder, its permissions and the space left");
}

void ChecksumWriter::write(const std::string& words) {
    errno = 0;
    if (std::fwrite(words.data(), 1, words.size(), file_.get()) != words.size())
        fail(errno == 0 ? EIO : errno);
    size_ += static_cast<off_t>(words.size());
}

void ChecksumWriter::add(size_t job, const ChecksumLine& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (job == written_)
        write(checksum_text(line));
    else
        jobs_[job].waiting += checksum_text(line);
}

void ChecksumWriter::end(size_t job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    jobs_[job].ended = true;
    while (written_ < jobs_.size() && jobs_[written_].ended) {
        begin_ = size_;
        if (++written_ < jobs_.size()) write(std::exchange(jobs_[written_].waiting, {}));
    }
}

void ChecksumWriter::drop(size_t job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    jobs_[job].waiting.clear();
    if (job != written_) return;
    // Where a byte cannot be written now, publish() says so.
    std::fflush(file_.get());
    if (ftruncate(fileno(file_.get()), begin_) == 0 && fseeko(file_.get(), begin_, SEEK_SET) == 0)
        size_ = begin_;
}

void ChecksumWriter::publish() {
    if (size_ == head_) return;
    errno = 0;
    const bool failed = std::ferror(file_.get()) != 0;
    if (std::fclose(file_.release()) != 0 || failed) fail(errno == 0 ? EIO : errno);
    output_.publish();
}

}  // namespace trv::tool
