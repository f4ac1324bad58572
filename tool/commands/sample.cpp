#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/geometry.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/files/output.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"
#include "tool/picture/chart.h"

namespace trv::tool {
namespace {

struct Options {
    std::string size = "1920x1080", format = "BAY10", phase, output, picture;
    std::string scene = "chart";
    std::string tint = "0.55,1,0.7";
    bool force = false;
};

// Greenish, as sensors are.
Gains sensitivities_named(const std::string& words) {
    const Gains gains = tuning_named(words, "none").given;
    for (const double gain : gains)
        if (gain > 1)
            throw Failure(Exit::usage, text("cannot use the tint \"", words, "\""),
                          "a sensitivity above 1 would overflow", "use three numbers up to 1");
    return gains;
}

const Format& mosaic_named(const std::string& name) {
    const Format& format = format_named(name);
    if (format.family == Family::bayer && sample_layout(format, Phase::A)) return format;
    const auto fits = [](const Format& f) {
        return f.family == Family::bayer && sample_layout(f, Phase::A);
    };
    throw Failure(Exit::usage, text("cannot make a sample in ", format.name),
                  text("samples are made in ", list(names_where(fits))), "choose one of them");
}

void write(const Frame& frame, Kind kind, const std::string& target, bool force) {
    Output output(target, force);
    Progress progress(1);
    progress.start(target);
    write_picture(frame, kind, &output, &progress);
}

Scene scene_named(const std::string& name) {
    return name == "zone" ? zone_plate_colour : chart_colour;
}

Kind kind_of_truth(const std::string& path) {
    const Kind kind = kind_of_path(path);
    if (kind != Kind::raw && holds(kind, format_of(Code::BGR24))) return kind;
    throw Failure(Exit::usage, text("cannot write the scene to ", path), "it is a colour picture",
                  "end its name in .png, .tif or .ppm");
}

void make_sample(const Options& o) {
    const Format& format = mosaic_named(o.format);
    const Size size = size_named(o.size);
    const Phase named = format.phase == Phase::none ? Phase::A : format.phase;
    const Phase phase = o.phase.empty() ? named : phase_named(o.phase);
    const Gains sensitivities = sensitivities_named(o.tint);
    const Kind kind = o.picture.empty() ? Kind::png : kind_of_truth(o.picture);
    std::vector<std::string> outputs = as_list(o.picture);
    outputs.push_back(o.output);
    check_files({}, outputs, o.force);
    const Scene scene = scene_named(o.scene);
    write(scene_mosaic(scene, tight(format, size.width, size.height), phase, sensitivities),
          Kind::raw, o.output, o.force);
    if (!o.picture.empty())
        write(scene_picture(scene, size.width, size.height), kind, o.picture, o.force);
    if (o.output != "-")
        note(text("make a picture of it by: trvil convert -s ", o.size, " -f ", format.name,
                  " --phase ", phase_name(phase), " --wb grey ", o.output, " -o chart.png"));
}

}  // namespace

void add_sample(CLI::App* app) {
    CLI::App* command = app->add_subcommand("sample", "Make the raw mosaic of a test scene");
    const auto o = std::make_shared<Options>();
    command->add_option("-s,--size", o->size, "Pixels, as WIDTHxHEIGHT [1920x1080]")
        ->type_name("SIZE");
    command->add_option("-f,--format", o->format, "BAY8 to BAY16 [BAY10]")->type_name("FORMAT");
    command->add_option("--phase", o->phase, "A RGGB, B GRBG, C GBRG, D BGGR [format's, else A]")
        ->type_name("PHASE");
    command
        ->add_option("--tint", o->tint,
                     "How sensitive the sensor is to R,G,B, each up to 1 [0.55,1,0.7]")
        ->type_name("GAINS");
    command->add_option("--scene", o->scene, "chart, or zone: rings down to two pixels [chart]")
        ->check(CLI::IsMember({"chart", "zone"}));
    command->add_option("--true", o->picture, "Write the scene itself here, .png, .tif or .ppm")
        ->type_name("FILE");
    command->add_option("-o,--output", o->output, "Raw file to write; - is stdout")
        ->required()
        ->type_name("FILE");
    command->add_flag("--force", o->force, "Replace existing files");
    command->callback([o] { make_sample(*o); });
}

}  // namespace trv::tool
