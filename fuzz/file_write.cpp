// TIL_FileWrite into a stream in memory: a file that a reader understands, or a stated refusal.
#include <algorithm>
#include <vector>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "trvil/til.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;

// The one file that is open: what was written, and where the next byte goes.
std::vector<uint8_t> written;
size_t position;
FILE* open_stream;
bool refuse_opening;

ssize_t write_bytes(void*, const char* bytes, size_t size) {
    if (written.size() < position + size) written.resize(position + size);
    std::memcpy(written.data() + position, bytes, size);
    position += size;
    return static_cast<ssize_t>(size);
}

int move_position(void*, off64_t* offset, int whence) {
    const auto base = whence == SEEK_SET   ? 0
                      : whence == SEEK_CUR ? static_cast<off64_t>(position)
                                           : static_cast<off64_t>(written.size());
    if (base + *offset < 0) return -1;
    *offset += base;
    position = static_cast<size_t>(*offset);
    return 0;
}

uint32_t big_endian(size_t at, size_t bytes) {
    uint32_t value = 0;
    for (size_t i = 0; i < bytes; ++i) value = value << 8 | written.at(at + i);
    return value;
}

// The value of a tag in the directory that the header points to; every entry lies in the file.
uint32_t tag_value(uint32_t wanted) {
    const size_t directory = big_endian(4, 4);
    const uint32_t count = big_endian(directory, 2);
    uint32_t before = 0, value = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const size_t entry = directory + 2 + 12 * size_t{i};
        const uint32_t tag = big_endian(entry, 2), type = big_endian(entry + 2, 2);
        fuzz::require(tag > before, "tags rise");
        before = tag;
        const uint32_t found = big_endian(entry + 8, type == 3 ? 2 : 4);
        if (tag == wanted) value = found;
    }
    return value;
}

void check_tiff(const Answers& picture) {
    const uint32_t bytes = picture.known()->stored / 8;
    fuzz::require(big_endian(0, 4) == 0x4D4D002A, "a big-endian TIFF header");
    fuzz::require(tag_value(256) == (picture.width & 0xFFFF), "the width is stated");
    fuzz::require(tag_value(257) == (picture.height & 0xFFFF), "the height is stated");
    const size_t strip = tag_value(273);
    fuzz::require(strip + size_t{picture.width} * picture.height * bytes <= written.size(),
                  "the strip lies in the file");
}

void check_raw(const Answers& picture) {
    const size_t size = size_t{picture.stride} * picture.height;
    fuzz::require(written.size() == size, "a raw file has the picture's bytes");
    fuzz::require(size == 0 || std::memcmp(written.data(), picture.address, size) == 0,
                  "a raw file is the memory");
}

Answers any_picture(Input& in) {
    constexpr trv::Code written_formats[] = {trv::Code::Mono8, trv::Code::Mono16, trv::Code::BGR24,
                                             trv::Code::RGB24};
    Answers a{};
    a.present = !in.one_in(32);
    const trv::Format& format = in.one_in(4) ? trv::formats[in.below(trv::format_count)]
                                             : trv::format_of(written_formats[in.below(4)]);
    a.format = in.one_in(32) ? in.word() : trv::whole_code(format);
    a.width = in.below(40);
    a.height = in.below(6);
    a.stride = static_cast<uint32_t>(trv::line_bytes(format, a.width)) + in.below(20);
    return a;
}

}  // namespace

// The library's files, by the linker's --wrap.
extern "C" FILE* __real_fopen(const char* path, const char* mode);
extern "C" FILE* __wrap_fopen(const char* path, const char* mode) {
    if (std::strcmp(path, "picture") != 0) return __real_fopen(path, mode);  // the fuzzer's own
    if (refuse_opening) return nullptr;
    written.clear();
    position = 0;
    open_stream = fopencookie(nullptr, mode, {nullptr, write_bytes, move_position, nullptr});
    static char buffer[4096];
    setvbuf(open_stream, buffer, _IOFBF, sizeof buffer);
    return open_stream;
}

// A stream in memory has no descriptor.
extern "C" ssize_t __real_write(int file, const void* bytes, size_t size);
extern "C" ssize_t __wrap_write(int file, const void* bytes, size_t size) {
    if (file != -1) return __real_write(file, bytes, size);
    return write_bytes(nullptr, static_cast<const char*>(bytes), size);
}

extern "C" int __real_fclose(FILE* stream);
extern "C" int __wrap_fclose(FILE* stream) {
    if (stream == open_stream) open_stream = nullptr;
    return __real_fclose(stream);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    Answers picture = any_picture(in);
    const uint32_t type = in.one_in(8) ? in.byte() : in.between(2, 3);
    refuse_opening = in.one_in(32);
    const size_t held = size_t{picture.stride} * picture.height;
    const uint8_t sides = in.byte();
    uint8_t* memory = fuzz::place(fuzz::source_arena(), held, sides & 1);
    in.fill(memory, held);
    picture.address = memory;
    written.clear();
    const uint32_t status = TIL_FileWrite(fuzz::handle_of(picture), "picture", type);
    // Refusals of a format leave their stream open, as stated.
    fuzz::require(open_stream == nullptr || status == TRV_STATUS_TIFF_FORMAT, "the file is closed");
    if (open_stream != nullptr) __wrap_fclose(open_stream);
    if (type != TIL_FILE_RAW && type != TIL_FILE_TIFF)
        fuzz::require(status == TRV_STATUS_UNSUPPORTED || status == TRV_STATUS_PARAMETER,
                      "there are two types of file");
    if (status != TRV_STATUS_OK) return 0;
    if (type == TIL_FILE_RAW)
        check_raw(picture);
    else
        check_tiff(picture);
    return 0;
}
