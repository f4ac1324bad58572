#include <filesystem>
#include <memory>

#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/picture_options.h"
#include "tool/commands/stream.h"
#include "tool/commands/threads.h"
#include "tool/files/same_file.h"
#include "tool/play/contact_sheet.h"
#include "tool/play/page.h"
#include "tool/play/player.h"
#include "tool/streams/pipeline.h"
#include "tool/streams/progress.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(Frames are shown as `trvil convert` makes them with 8 bits, while they are read: a camera that
sends to a pipe is watched live. The window stays open with the last frame. Without a display, or to
keep or to send what was seen:

  -o sheet.png   up to 24 frames side by side, evenly spread over all
  -o page.html   a page for browsers that plays all frames, zooms in and goes from frame to frame; the
                 frames are in it, nothing is fetched, and it needs no server

A page ends where it has as many bytes as --page-limit says; --frames takes fewer of them.)";

struct Options : PictureOptions {
    std::string player, output, rate = "25";
    uint64_t page_limit = 128;  // MiB
    bool force = false;
    uint32_t threads = 0;
};

enum class Shown { player, sheet, page };

Shown shown_as(const std::string& output) {
    if (output.empty()) return Shown::player;
    const std::string end = lower(std::filesystem::path(output).extension().string());
    if (end == ".png") return Shown::sheet;
    if (end == ".html" || end == ".htm") return Shown::page;
    throw Failure(
        Exit::usage, text("cannot tell what \"", output, "\" shall be"), "",
        "end its name in .png for a contact sheet or in .html for a page; `trvil convert` "
        "writes pictures and video");
}

std::string title_of(const Options& o) {
    return o.inputs.front() == "-" ? "stdin" : o.inputs.front();
}

void note_end_of_page(const Options& o, const Page& page, std::optional<uint64_t> frames) {
    const std::string all = frames ? text(" of ", *frames) : "";
    note(text(o.output, " ends after ", page.frames(), all, " frames: it may have ", o.page_limit,
              " MiB; --page-limit says how much, and --frames takes fewer frames"));
}

void run_play(const Options& o) {
    const Shown shown = shown_as(o.output);
    const FrameRate rate = frame_rate_named(o.rate);
    const SettingTexts said = o.developing.all();
    std::vector<std::string> read = o.inputs;
    for (const std::string& file : o.developing.inputs(said)) read.push_back(file);
    check_files(read, as_list(o.output), o.force);
    const Conversion conversion = conversion_of(o, said, Kind::rgb24, o.force);
    FrameSource source(recording_of(o, conversion.source));
    stop_at_first_signal();

    std::unique_ptr<FrameSink> sink;
    Player* player = nullptr;
    Page* page = nullptr;
    if (shown == Shown::player)
        sink.reset(player = new Player(o.player, title_of(o), rate));
    else if (shown == Shown::page)
        sink.reset(page = new Page(o.output, o.force, title_of(o), rate, o.page_limit << 20));
    else
        sink = std::make_unique<ContactSheet>(o.output, o.force, source.count());
    note_way(o, conversion);

    const uint32_t makers = o.threads == 0 ? processors() : o.threads;
    const Helpers helpers(o.threads, makers);
    Settled settled;
    const auto make = [&](StreamFrame* frame) {
        make_picture(conversion, &*frame->dump, frame->file, &settled, helpers.pool(),
                     &frame->picture);
    };
    {
        StreamProgress progress(title_of(o), source.count(), false);
        try {
            run_stream(&source, make, sink.get(), makers, &progress);
        } catch (const PlayerGone&) {
        } catch (const PageFull&) {
            page->finish();
            note_end_of_page(o, *page, source.count());
        }
    }
    if (player != nullptr) player->wait();
    sink.reset();
    end_if_stopped();
    throw_failures(source);
}

}  // namespace

void add_play(CLI::App* app) {
    CLI::App* command = app->add_subcommand("play", "Show a dump or a stream as it goes");
    const auto o = std::make_shared<Options>();
    add_recording(command, o.get());
    add_making(command, o.get());
    add_sensor_options(command, &o->developing);
    add_look_options(command, &o->developing);
    const char* group = "How to show it";
    command
        ->add_option("-o,--output", o->output,
                     "FILE.png for a contact sheet, FILE.html for a page [a player's window]")
        ->type_name("FILE")
        ->group(group);
    command->add_option("--player", o->player, "ffplay or mpv [the first that is installed]")
        ->check(CLI::IsMember({"ffplay", "mpv"}))
        ->group(group);
    command->add_option("--fps", o->rate, "Frames a second: 25 or 30000/1001 [25]")
        ->type_name("RATE")
        ->group(group);
    command->add_option("--page-limit", o->page_limit, "MiB that a page may have [128]")
        ->check(CLI::Range(1, 4096))
        ->type_name("N")
        ->group(group);
    command->add_flag("--force", o->force, "Replace an existing file")->group(group);
    add_threads(command, &o->threads, group);
    command->footer(footer);
    command->callback([o] { run_play(*o); });
}

}  // namespace trv::tool
