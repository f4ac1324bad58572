// TRW_Convert and its explanation on any two buffers that are valid by themselves, at every level
// and several cuts, beside TRW_Unpack and TIL_Convert one after the other; and names of other
// systems.
#include "raw/convert/convert.h"

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "image/exports/convert.h"
#include "raw/names/names.h"
#include "raw/phase.h"
#include "raw/unpack/decision.h"
#include "raw/unpack/unpack.h"
#include "trvil/raw.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;
using trv::Format;
using trv::raw::Packing;

uint32_t whole(const Format& format) {
    return trv::format_prefix + static_cast<uint32_t>(format.code);
}

// Mostly one that the samples are.
const Format& any_samples(Input& in, const Packing& packing) {
    const uint32_t choice = in.byte();
    for (uint32_t i = 0; i < trv::format_count; ++i) {
        const Format& format = trv::formats[(choice + i) % trv::format_count];
        if (in.one_in(64) || trv::raw::goes_to(packing, static_cast<uint32_t>(format.code)))
            return format;
    }
    return trv::formats[0];
}

TRW_Settings any_settings(Input& in, const Packing& packing) {
    TRW_Settings settings{sizeof settings, 0, 0, 0};
    settings.format = whole(any_samples(in, packing));
    settings.method = in.one_in(16) ? in.byte() : 0x109 + 0x100 * in.below(3);
    settings.phase = in.one_in(16) ? in.byte() : 0x10A + 0x100 * in.below(4);
    return settings;
}

Answers any_source(Input& in, const Packing& packing) {
    Answers a{};
    a.present = !in.one_in(64);
    a.width = in.below(in.one_in(8) ? 300 : 40);
    a.height = in.below(12);
    a.packing_offset = in.one_in(4) ? in.below(40) : 0;
    const uint64_t line = trv::raw::line_bytes(packing, a.packing_offset, a.width);
    a.stride = static_cast<uint32_t>(line) + (in.one_in(2) ? 0 : in.below(70));
    if (in.one_in(32)) a.stride = in.below(200);
    return a;
}

Answers any_destination(Input& in, const Answers& from) {
    Answers a{};
    a.present = !in.one_in(64);
    const Format& format = trv::formats[in.below(trv::format_count)];
    a.format = whole(format);
    a.width = from.width;
    a.height = in.one_in(16) ? in.below(12) : from.height + in.below(2);
    a.stride = static_cast<uint32_t>(trv::line_bytes(format, from.width)) +
               (in.one_in(2) ? 0 : in.below(70));
    if (in.one_in(32)) a.stride = in.below(200);
    return a;
}

// What the two calls leave, with a picture without padding between them and a zero after it.
void convert_in_two(const Answers& from, uint32_t packing, const TRW_Settings& settings,
                    uint64_t destination) {
    std::vector<uint16_t> samples(size_t{from.width} * from.height + 1);
    Answers between = from;
    between.address = reinterpret_cast<uint8_t*>(samples.data());
    between.stride = 2 * from.width;
    between.format = settings.format;
    between.method = settings.method;
    between.phase =
        settings.phase != 0
            ? settings.phase
            : trv::raw::phase_parameter(trv::find_format(settings.format & 0xFF)->phase);
    const trv::raw::Level level = trv::raw::levels[0];
    const uint64_t middle = fuzz::handle_of(between);
    fuzz::require(trv::raw::unpack(level, fuzz::handle_of(from), packing, middle) == 0,
                  "what is converted at once can be unpacked");
    fuzz::require(trv::convert(trv::levels[0], middle, destination) == 0, "and converted");
}

void require_explained(uint64_t source, uint32_t packing, uint64_t destination,
                       const TRW_Settings& settings, uint32_t status) {
    char text[TRW_EXPLAIN_BYTES];
    const uint32_t said =
        TRW_ExplainConvert(source, packing, destination, &settings, nullptr, text, sizeof text);
    fuzz::require(said == status, "the explanation says the status");
    fuzz::require(std::strlen(text) + 1 < sizeof text, "the explanation is whole");
    const bool refuses = std::strstr(text, "\nwhy: ") != nullptr;
    fuzz::require(refuses || status == TRV_STATUS_OK, "a refusal says why");
}

void convert(Input& in) {
    const uint32_t code = 1 + in.below(trv::raw::packing_count);
    const Packing& packing = *trv::raw::find_packing(code);
    const TRW_Settings settings = any_settings(in, packing);
    Answers from = any_source(in, packing), to = any_destination(in, from);
    const uint8_t sides = in.byte();
    const trv::raw::Cut cut{1 + in.below(4) * 64u, 1, 1 + in.below(4)};
    const size_t source_size =
        from.height == 0 ? 0
                         : size_t{from.stride} * (from.height - 1) +
                               trv::raw::line_bytes(packing, from.packing_offset, from.width);
    const Format& format = *trv::find_format(to.format & 0xFF);
    const size_t last = trv::line_bytes(format, from.width);
    const size_t destination_size =
        std::max(size_t{to.stride} * to.height, size_t{to.stride} * from.height + last);
    from.address = fuzz::place(fuzz::source_arena(), source_size, sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), destination_size, sides & 2);
    in.fill(from.address, source_size);
    std::memset(to.address, 0x3C + (sides & 4), destination_size);
    const uint64_t source = fuzz::handle_of(from), destination = fuzz::handle_of(to);
    const std::vector<uint8_t> before(to.address, to.address + destination_size);
    const uint32_t status = fuzz::compare_each(
        trv::raw::levels, trv::raw::best_level(), to.address, destination_size,
        [&](const trv::raw::Level& level) {
            return trv::raw::convert(level, source, code, destination, settings, nullptr, cut);
        });
    const std::vector<uint8_t> made(to.address, to.address + destination_size);
    require_explained(source, code, destination, settings, status);
    if (status != TRV_STATUS_OK) return fuzz::require(made == before, "a refusal writes nothing");
    const bool unpacks = trv::raw::goes_to(packing, to.format);
    // Mosaics to words are not TIL_Convert's: the target demosaic compares them.
    const bool is_own = trv::find_format(settings.format & 0xFF)->family == trv::Family::bayer &&
                        format.stored == 48;
    if (unpacks || is_own || from.width == 0 || from.height == 0) return;
    std::copy(before.begin(), before.end(), to.address);
    convert_in_two(from, code, settings, destination);
    fuzz::require(std::equal(made.begin(), made.end(), to.address), "as the two calls make it");
}

// Pieces of names, so that some of them are found.
void read_name(Input& in) {
    static const char* const pieces[] = {"pfnc:", "v4l2:", "gst:",   "Mono", "Bayer", "RG", "10",
                                         "12",    "p",     "Packed", "Y",    "UY",    "VY"};
    std::string name;
    for (uint32_t i = in.below(6); i > 0; --i) {
        if (in.one_in(4))
            name += static_cast<char>(1 + in.below(255));
        else
            name += pieces[in.below(std::size(pieces))];
    }
    if (in.one_in(2)) name = trv::raw::names[in.word() % trv::raw::name_count].name;
    TRW_Reading reading{}, again{};
    reading.size = again.size = sizeof reading;
    const uint32_t status = TRW_FindName(name.c_str(), &reading);
    fuzz::require((status == TRV_STATUS_OK) == (reading.why == nullptr), "a reason, or a reading");
    if (status != TRV_STATUS_OK || reading.format == 0 || reading.system == 0) return;
    fuzz::require(TRW_NameOf(reading.system, reading.format, reading.packing, reading.phase,
                             &again) == TRV_STATUS_OK &&
                      again.format == reading.format && again.packing == reading.packing,
                  "what has a name is called by one that says the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    if (in.one_in(4))
        read_name(in);
    else
        convert(in);
    return 0;
}
