#include "tool/files/picture_write.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/png.h"
#include "tool/files/pnm.h"
#include "tool/files/tiff.h"
#include "tool/files/tiff_stream.h"
#include "trvil/til.h"

namespace trv::tool {
namespace {

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

Failure not_written(const Output& output, const std::string& why) {
    return {Exit::output,
            text("cannot write ", output.target() == "-" ? "to stdout" : output.target()), why,
            "check the folder, its permissions and the space left; nothing was left behind"};
}

// Header, directory and resolution: what a TIFF of the library's holds beside its pixels.
uint64_t tiff_bytes(const Geometry& g) {
    return g.line() * g.height + (g.format->family == Family::grey ? 186 : 204);
}

uint64_t raw_bytes(const Geometry& g) {
    return uint64_t{g.stride} * g.height;
}

std::string explain(uint32_t status) {
    switch (status) {
        case TRV_STATUS_FILE_OPEN:
        case TRV_STATUS_SYSTEM:
        case TRV_STATUS_FILE_CLOSE:
            return std::strerror(errno);
        default:
            return text("the library answered status ", status);
    }
}

// The library counts bytes and positions in 32 bits, and the sides of a TIFF in 16.
void check_limits(const Geometry& g, Kind kind, const Output& output) {
    const uint64_t bytes = kind == Kind::tif ? tiff_bytes(g) : raw_bytes(g);
    if (bytes > UINT32_MAX)
        throw not_written(output,
                          text("the file would have ", bytes, " bytes; the limit is 4 GiB"));
    if (kind == Kind::tif && (g.width > UINT16_MAX || g.height > UINT16_MAX))
        throw not_written(output, "a TIFF has at most 65535 pixels a side");
}

bool same_bytes(const std::string& a, const std::string& b) {
    const File first(std::fopen(a.c_str(), "rb")), second(std::fopen(b.c_str(), "rb"));
    if (first == nullptr || second == nullptr) return false;
    std::vector<char> x(1 << 16), y(x.size());
    while (true) {
        const size_t got = std::fread(x.data(), 1, x.size(), first.get());
        if (std::fread(y.data(), 1, y.size(), second.get()) != got) return false;
        if (std::memcmp(x.data(), y.data(), got) != 0) return false;
        if (got < x.size()) return true;
    }
}

// The library does not look at every byte of a TIFF that it writes, so the tool writes another in
// memory and compares: a disk that was full for a moment leaves a file of the right length.
bool arrived(const Frame& frame, const std::string& path) {
    const int memory = memfd_create("trvil", MFD_CLOEXEC);
    if (memory < 0) return true;
    const std::string copy = text("/proc/self/fd/", memory);
    const bool same = TIL_FileWrite(frame.handle(), copy.c_str(), TIL_FILE_TIFF) == TRV_STATUS_OK &&
                      same_bytes(path, copy);
    close(memory);
    return same;
}

void write_by_library(const Frame& frame, Kind kind, const Output& output) {
    const Geometry& g = frame.geometry();
    check_limits(g, kind, output);
    const uint32_t type = kind == Kind::tif ? TIL_FILE_TIFF : TIL_FILE_RAW;
    const uint32_t status = TIL_FileWrite(frame.handle(), output.path().c_str(), type);
    if (status != TRV_STATUS_OK) throw not_written(output, explain(status));
    const uint64_t wanted = kind == Kind::tif ? tiff_bytes(g) : raw_bytes(g);
    struct stat written {};
    if (stat(output.path().c_str(), &written) != 0 ||
        static_cast<uint64_t>(written.st_size) != wanted)
        throw not_written(output, text("only ", written.st_size, " of ", wanted,
                                       " bytes arrived: the disk may be full"));
    if (kind == Kind::tif && !arrived(frame, output.path()))
        throw not_written(output, "some bytes did not arrive: the disk may have been full");
}

// By write(FILE*), which may seek and read what it wrote.
template <typename Write>
void write_by_tool(const Output& output, Write write) {
    File file(std::fopen(output.path().c_str(), "w+b"));
    if (file == nullptr) throw not_written(output, std::strerror(errno));
    errno = 0;
    write(file.get());
    const bool failed = std::ferror(file.get()) != 0;
    if (std::fclose(file.release()) != 0 || failed)
        throw not_written(output, std::strerror(errno == 0 ? EIO : errno));
}

void check_tiff_limit(const Geometry& g, const Output& output) {
    if (g.bytes() + tiff_slack > most_tiff_bytes)
        throw not_written(output, text("its pixels have ", g.bytes(),
                                       " bytes, and such a file has at most 4 GiB"));
}

}  // namespace

void fill_picture(const Frame& frame, Kind kind, const Output& output, Progress* progress) {
    const Geometry& g = frame.geometry();
    if (kind == Kind::tif && is_deep_colour(*g.format)) {
        check_tiff_limit(g, output);
        write_by_tool(output, [&](FILE* file) { write_tiff(frame, file); });
    } else if (kind == Kind::tif || kind == Kind::raw || video_format(kind) != nullptr) {
        write_by_library(frame, kind == Kind::tif ? kind : Kind::raw, output);
    } else {
        write_by_tool(output, [&](FILE* file) {
            kind == Kind::png ? write_png(frame, file, progress) : write_pnm(frame, file);
        });
    }
}

void write_picture(const Frame& frame, Kind kind, Output* output, Progress* progress) {
    fill_picture(frame, kind, *output, progress);
    output->publish();
}

void put_picture(Frame frame, Kind kind, const std::string& target, bool force,
                 Progress* progress) {
    frame = without_padding(std::move(frame));
    Output output(target, force);
    write_picture(frame, kind, &output, progress);
    if (kind == Kind::raw)
        note(text(target == "-" ? "stdout" : target, " holds ", layout_text(frame.geometry())));
}

std::string layout_text(const Geometry& g) {
    return text(g.width, "x", g.height, " ", g.format->name, " in lines of ", g.stride, " bytes");
}

void write_text(const std::string& words, const Output& output) {
    write_by_tool(output, [&](FILE* file) { std::fwrite(words.data(), 1, words.size(), file); });
}

void put_dng(Frame mosaic, const DngColours& colours, const std::string& target, bool force) {
    mosaic = without_padding(std::move(mosaic));
    Output output(target, force);
    check_tiff_limit(mosaic.geometry(), output);
    write_by_tool(output, [&](FILE* file) { write_dng(mosaic, colours, file); });
    output.publish();
}

}  // namespace trv::tool
