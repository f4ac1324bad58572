// libtiff on streams: files that the tool writes, and pictures in memory that it reads.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace trv::tool {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

// Most that a file may have: it counts positions in 32 bits.
inline constexpr uint64_t most_tiff_bytes = UINT32_MAX;

// Bytes beside the pixels, at the most.
inline constexpr uint64_t tiff_slack = 65536;

// To a stream that can be read and written; in the byte order of the machine, or with the high byte
// first. What the stream does not take, it remembers; the caller closes it, after the TIFF. Null
// where libtiff refuses.
Tiff tiff_to(FILE* file, bool high_byte_first);

// The same for a BigTIFF, with the high byte first.
Tiff big_tiff_to(FILE* file);

// Of a stream that can be read. Null where it is no TIFF.
Tiff tiff_from(FILE* file);

// Of bytes that stay until the TIFF is closed. Null where they are none.
Tiff tiff_of(const std::vector<uint8_t>& bytes);

// What libtiff said last in this thread.
const std::string& tiff_complaint();

}  // namespace trv::tool
