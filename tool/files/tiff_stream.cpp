#include "tool/files/tiff_stream.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace trv::tool {
namespace {

thread_local std::string complaint;

// On stderr it would come without the name of the file, and before the failure that tells of it.
void keep_complaint(const char*, const char* format, va_list words) {
    char line[512];
    std::vsnprintf(line, sizeof line, format, words);
    complaint = line;
}

void hush() {
    static const bool done = [] {
        TIFFSetErrorHandler(keep_complaint);
        TIFFSetWarningHandler(nullptr);
        return true;
    }();
    static_cast<void>(done);
    complaint.clear();
}

FILE* file_of(thandle_t handle) {
    return static_cast<FILE*>(handle);
}

tmsize_t read_file(thandle_t handle, void* to, tmsize_t wanted) {
    return static_cast<tmsize_t>(std::fread(to, 1, static_cast<size_t>(wanted), file_of(handle)));
}

tmsize_t write_file(thandle_t handle, void* from, tmsize_t wanted) {
    return static_cast<tmsize_t>(
        std::fwrite(from, 1, static_cast<size_t>(wanted), file_of(handle)));
}

toff_t seek_file(thandle_t handle, toff_t to, int whence) {
    if (fseeko(file_of(handle), static_cast<off_t>(to), whence) != 0) return ~toff_t{0};
    return static_cast<toff_t>(ftello(file_of(handle)));
}

toff_t size_of_file(thandle_t handle) {
    const off_t here = ftello(file_of(handle));
    const toff_t size = seek_file(handle, 0, SEEK_END);
    fseeko(file_of(handle), here, SEEK_SET);
    return size;
}

int leave_open(thandle_t) {
    return 0;
}

Tiff tiff_by(FILE* file, const char* mode) {
    hush();
    return Tiff(TIFFClientOpen("output", mode, file, read_file, write_file, seek_file, leave_open,
                               size_of_file, nullptr, nullptr));
}

struct Memory {
    const std::vector<uint8_t>* bytes;
    size_t at = 0;
};

Memory* memory_of(thandle_t handle) {
    return static_cast<Memory*>(handle);
}

tmsize_t read_memory(thandle_t handle, void* to, tmsize_t wanted) {
    Memory* memory = memory_of(handle);
    const size_t left = memory->bytes->size() - std::min(memory->at, memory->bytes->size());
    const size_t got = std::min(left, static_cast<size_t>(wanted));
    if (got != 0) std::memcpy(to, memory->bytes->data() + memory->at, got);
    memory->at += got;
    return static_cast<tmsize_t>(got);
}

tmsize_t write_nothing(thandle_t, void*, tmsize_t) {
    return 0;
}

toff_t seek_memory(thandle_t handle, toff_t to, int whence) {
    Memory* memory = memory_of(handle);
    const size_t from = whence == SEEK_CUR   ? memory->at
                        : whence == SEEK_END ? memory->bytes->size()
                                             : 0;
    memory->at = from + static_cast<size_t>(to);
    return memory->at;
}

toff_t size_of_memory(thandle_t handle) {
    return memory_of(handle)->bytes->size();
}

int forget_memory(thandle_t handle) {
    delete memory_of(handle);
    return 0;
}

}  // namespace

Tiff tiff_to(FILE* file, bool high_byte_first) {
    return tiff_by(file, high_byte_first ? "wb" : "wl");
}

Tiff big_tiff_to(FILE* file) {
    return tiff_by(file, "wb8");
}

Tiff tiff_from(FILE* file) {
    return tiff_by(file, "rm");
}

Tiff tiff_of(const std::vector<uint8_t>& bytes) {
    hush();
    auto memory = std::make_unique<Memory>(Memory{&bytes});
    // Not mapped: what lies behind the end of the bytes is not to be looked at.
    Tiff tiff(TIFFClientOpen("input", "rm", memory.get(), read_memory, write_nothing, seek_memory,
                             forget_memory, size_of_memory, nullptr, nullptr));
    if (tiff != nullptr) static_cast<void>(memory.release());
    return tiff;
}

const std::string& tiff_complaint() {
    return complaint;
}

}  // namespace trv::tool
