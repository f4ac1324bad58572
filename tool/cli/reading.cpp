#include "tool/cli/reading.h"

#include "tool/cli/catalogue.h"

namespace trv::tool {

Geometry Reading::geometry(bool is_mosaic) const {
    const Pixels pixels = pixels_named(format);
    return source_geometry(is_mosaic ? as_mosaic(pixels) : pixels, size_named(size), stride);
}

void add_reading(CLI::App* command, Reading* reading, const std::string& what, bool required) {
    command->add_option("-s,--size", reading->size, what + ", as WIDTHxHEIGHT")
        ->required(required)
        ->type_name("SIZE")
        ->group(reading_group);
    command->add_option("-f,--format", reading->format, "Format of the dump; see `trvil formats`")
        ->required(required)
        ->type_name("FORMAT")
        ->group(reading_group);
    command->add_option("--stride", reading->stride, "Bytes from line to line [no padding]")
        ->type_name("BYTES")
        ->group(reading_group);
    command->add_option("--skip", reading->skip, "Bytes before the picture [0]")
        ->type_name("BYTES")
        ->group(reading_group);
}

}  // namespace trv::tool
