#include <algorithm>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/reading.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/conversion.h"
#include "tool/commands/stream.h"
#include "tool/commands/threads.h"
#include "tool/files/input.h"
#include "tool/files/naming.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"
#include "trvil/til.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A field holds every second line of an interlaced picture, so the frame has twice its lines: -s is
the size of the field. With --field odd its lines become lines 1, 3, 5, ... of the frame, counted
from 0, and line 0 repeats the first of them; with --field even they become lines 0, 2, 4, ... and
the last line repeats the last of them. The lines between come from their neighbours:

  dup       the line above
  ave       the mean of the lines above and below
  bilinear  a weighted sum of three pixels above and three below
  median    the median of these six

A recording of fields, one after the other, becomes a recording of frames, in numbered files or as
video: see `trvil help streams`. With --both its fields hold odd and even lines in turn, so that 50
fields a second become 50 frames a second.

A raw output keeps the format; pictures are converted as `trvil convert` would.)";

struct Options : FrameOptions {
    Reading reading;
    std::string field, method = "ave", input, output, as;
    StreamOptions stream;
    bool both = false, force = false;
    uint32_t threads = 0;
};

struct NamedMethod {
    const char* name;
    uint32_t value;
};
constexpr NamedMethod methods[] = {{"dup", TIL_FIELD_LINE_DUP},
                                   {"ave", TIL_FIELD_LINE_AVE},
                                   {"bilinear", TIL_FIELD_BILINEAR},
                                   {"median", TIL_FIELD_MEDIAN}};

uint32_t interpolation_named(const std::string& name) {
    for (const NamedMethod& method : methods)
        if (name == method.name) return method.value;
    throw Failure(Exit::usage, text("unknown method \"", name, "\""), "",
                  "use dup, ave, bilinear or median");
}

uint32_t flag_named(const std::string& field) {
    if (field == "odd" || field == "even") return field == "odd" ? 0 : 1;
    throw Failure(Exit::usage, text("unknown field \"", field, "\""), "",
                  "say --field odd or --field even; if edges look like combs, it is the other one");
}

bool looks_sideways(uint32_t method) {
    return method == TIL_FIELD_BILINEAR || method == TIL_FIELD_MEDIAN;
}

// Asked of the library with a tiny field.
bool interpolates(const Format& format, uint32_t method) {
    const Frame field(tight(format, 8, 2)), frame(tight(format, 8, 4));
    return TIL_FieldToFrame(field.handle(), frame.handle(), method, 0) == TRV_STATUS_OK;
}

void check_method(const Options& o, const Geometry& field, uint32_t method) {
    const Format& format = *field.format;
    if (!interpolates(format, method))
        throw Failure(
            Exit::no_route, text(o.method, " does not exist for ", format.name),
            text("it exists for ",
                 list(names_where([method](const Format& f) { return interpolates(f, method); }))),
            "use dup or ave, or convert the field first");
    if (looks_sideways(method) && field.width < 2)
        throw Failure(Exit::usage, text(o.method, " needs lines of at least two pixels"), "",
                      "use dup or ave, or check -s");
}

void check_family(const Format& format) {
    if (format.family == Family::bayer)
        throw Failure(
            Exit::usage, text("cannot make a frame of a field of ", format.name),
            "lines of a mosaic hold different colours, so none can stand for its neighbour",
            "convert the field to a picture first");
}

void note_losses(const Options& o, const Format& format, uint32_t method) {
    const bool wide = format.family == Family::word || is_packed(format) || format.significant > 8;
    if (method == TIL_FIELD_MEDIAN && format.stored == 32)
        note(text("median makes lines of ", format.name,
                  " three pixels short, so the frame is distorted; use another method, or convert "
                  "the field to BGR24 first"));
    if (method == TIL_FIELD_LINE_AVE && wide)
        note(text(
            o.method, " takes means byte by byte, which is wrong for ", format.name,
            " wherever a value crosses a byte; use dup, or convert the field to 8 bits first"));
}

// The library takes padding for samples and writes at the stride of the field: so without padding.
Frame make_frame(const Frame& padded, uint32_t method, uint32_t flag) {
    const Frame field = padded.tightened();
    Geometry g = field.geometry();
    g.height *= 2;
    Frame frame(g);
    const uint32_t status = TIL_FieldToFrame(field.handle(), frame.handle(), method, flag);
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, "cannot make a frame",
                      text("the library answered status ", status), "");
    return frame;
}

struct Making {
    uint32_t method, flag;  // of the first field
    bool both;
    Path path;
};

// With both fields in turn, every second one holds the other lines.
Frame make_picture(const Making& m, const Frame& field, uint64_t index, TRW_Pool* pool) {
    const uint32_t flag = m.both && index % 2 != 0 ? 1 - m.flag : m.flag;
    return convert(make_frame(field, m.method, flag), m.path, {}, pool);
}

void run_single(const Options& o, const Recording& recording, const Making& m, Kind kind,
                const std::string& output) {
    Progress progress(1);
    progress.start(o.input);
    const uint64_t index = recording.range.first;
    const Frame field = read_frame(o.input, recording.geometry, recording.offset(index));
    const Helpers helpers(o.threads);
    put_picture(make_picture(m, field, index, helpers.pool()), kind, output, o.force, &progress);
}

void run_recording(const Options& o, const Recording& recording, const Making& m, Kind kind,
                   const std::string& output) {
    const ReadFiles read({o.input});
    const Stream stream{recording,
                        output,
                        kind,
                        o.force,
                        read,
                        o.stream.frame_rate(o.both ? "50" : "25"),
                        makers_of({}, o.threads),
                        o.stream.json};
    const MakePicture make = [&](StreamFrame* frame) {
        const Geometry& g = recording.geometry;
        std::optional<Frame> unpacked;
        if (g.packing != 0) unpacked = unpack(*frame->dump, g);
        frame->picture = without_padding(
            make_picture(m, unpacked ? *unpacked : *frame->dump, frame->index, nullptr));
    };
    const WritePicture write = [&](const StreamFrame& frame, const std::string& name) {
        Output file(name, o.force);
        write_picture(*frame.picture, kind, &file, nullptr);
    };
    stop_at_first_signal();
    try {
        run(stream, make, write);
    } catch (const ReaderGone&) {
        end_by_closed_pipe();
    }
    end_if_stopped();
}

void run_frame(const Options& o) {
    const Geometry field = o.reading.geometry();
    const uint32_t method = interpolation_named(o.method), flag = flag_named(o.field);
    const Kind kind = kind_of_output(o.output, o.as);
    check_family(*field.format);
    check_method(o, field, method);
    const Path path = kind == Kind::raw ? Path{field.format}
                                        : plan(*field.format, nullptr, kind, {}, Via::automatic);
    const std::string output = name_outputs({o.input}, o.output).front();
    const Recording recording = o.recording({o.input}, field, o.reading.skip);
    check_files({o.input}, outputs_of(recording, output), o.force);
    note_losses(o, *field.format, method);
    const Making making{method, flag, o.both, path};
    const bool single =
        !takes_many(output, kind) || (!is_numbered(output) && is_single(recording, kind));
    (single ? run_single : run_recording)(o, recording, making, kind, output);
}

}  // namespace

void add_frame(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("frame", "Make a frame of one field of an interlaced picture");
    const auto o = std::make_shared<Options>();
    add_reading(command, &o->reading, "Pixels of the field");
    add_frame_options(command, o.get());
    command->add_option("input", o->input, "The field, or several one after the other; - is stdin")
        ->type_name("FILE")
        ->required()
        ->group(reading_group);
    const char* group = "How to make the frame";
    command->add_option("--field", o->field, "Lines of the frame that it holds: odd or even")
        ->type_name("FIELD")
        ->required()
        ->group(group);
    command
        ->add_flag("--both", o->both,
                   "Fields of a recording hold odd and even lines in turn, first those of --field")
        ->group(group);
    command->add_option("--interpolate", o->method, "dup, ave, bilinear or median [ave]")
        ->type_name("INTERPOLATION")
        ->group(group);
    group = "Where to put it";
    command
        ->add_option(
            "-o,--output", o->output,
            "FILE.png, .tif, .ppm, .pgm, .raw, .y4m or .rgb24; {n} is the field's number; - is "
            "stdout")
        ->type_name("FILE")
        ->required()
        ->group(group);
    command->add_option("--as", o->as, "Kind of file, whatever its name says")
        ->type_name("KIND")
        ->group(group);
    command->add_flag("--force", o->force, "Replace an existing file")->group(group);
    add_threads(command, &o->threads, group);
    add_stream_options(command, &o->stream, "25; with --both 50", group);
    command->footer(footer);
    command->callback([o] { run_frame(*o); });
}

}  // namespace trv::tool
