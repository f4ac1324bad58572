#include "tool/develop/options.h"

namespace trv::tool {

SettingTexts DevelopOptions::all() const {
    return settings.empty() ? said : overruled(read_settings(settings), said);
}

std::vector<std::string> DevelopOptions::inputs(const SettingTexts& texts) const {
    std::vector<std::string> files;
    for (const std::string* file : {&settings, &texts.dark, &texts.flat, &texts.defects})
        if (!file->empty()) files.push_back(*file);
    if (!texts.matrix.empty() && !numbers_in(texts.matrix)) files.push_back(texts.matrix);
    return files;
}

void add_sensor_options(CLI::App* command, DevelopOptions* o) {
    const auto add = [&](const char* name, std::string* value, const char* what, const char* type) {
        command->add_option(name, *value, what)->type_name(type)->group(develop_group);
    };
    add("--black", &o->said.black, "Black level, one or four: 64 or 64,65,65,63 [0]", "LEVELS");
    add("--white", &o->said.white, "Level of saturation [what the format can tell]", "LEVEL");
    add("--dark", &o->said.dark, "Picture in the dark: a dump like the input, or a grey picture",
        "FILE");
    add("--flat", &o->said.flat, "Picture of an evenly lit area, the same", "FILE");
    add("--defects", &o->said.defects,
        "Defective pixels: lines of x y, or a picture that marks them", "FILE");
    add("--settings", &o->settings, "Take from here what no option says (JSON)", "FILE");
}

void add_look_options(CLI::App* command, DevelopOptions* o) {
    command
        ->add_option(
            "--ccm", o->said.matrix,
            "Matrix from the sensor's colours: nine numbers, row by row, or a file of them")
        ->type_name("FILE")
        ->group(develop_group);
    command
        ->add_option("--curve", o->said.curve, "From linear values: none, srgb or gamma:G [none]")
        ->type_name("CURVE")
        ->group(develop_group);
}

void add_save_option(CLI::App* command, DevelopOptions* o) {
    command->add_option("--save-settings", o->save, "Write all of these here, for --settings")
        ->type_name("FILE")
        ->group(develop_group);
}

}  // namespace trv::tool
