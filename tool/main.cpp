#include <algorithm>
#include <new>

#include "tool/cleanup.h"
#include "tool/command.h"
#include "tool/report.h"
#include "tool/streams.h"
#include "tool/text.h"

namespace {

using trv::tool::Exit;
using trv::tool::Failure;

constexpr const char* footer = R"(Examples:
  trvil convert -s 1920x1080 -f BAY10 --phase RGGB dump.raw -o picture.png
  trvil convert -s 1920x1080 -f BAY10 --wb grey dump.raw -o picture.tif
  trvil convert -s 640x480 -f BAY8 --scale auto *.raw -o 'out/{name}.png'
  camera | trvil convert -s 640x480 -f Mono8 - -o - --as png > picture.png
  trvil convert -s 640x480 -f BayerRG12p dump.raw -o picture.png
  trvil phase -s 1920x1080 -f BAY10 dump.raw -o sheet.png
  trvil frame -s 720x288 -f BGR24 --field even field.raw -o frame.png
  trvil sample -s 1280x720 -f BAY12 -o chart.raw
  trvil routes Mono12P
  trvil formats --names

Exit codes: 0 done, 1 conversion failed, 2 usage, 3 no way between the formats, 4 input missing or
too short, 5 output not written.)";

std::string usage_error(const CLI::App* app, const CLI::Error& error) {
    return std::string("trvil: ") + error.what() + "\n  next: see `" + app->get_name() +
           " --help`\n";
}

void check_command(const CLI::App& app, const std::string& word) {
    if (word.empty() || word.front() == '-') return;
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    if (std::find(names.begin(), names.end(), word) != names.end()) return;
    throw Failure(Exit::usage, trv::tool::text("unknown command \"", word, "\""),
                  trv::tool::text("the commands are ", trv::tool::list(names)),
                  "see `trvil --help`");
}

int run(int count, char** words) {
    CLI::App app("Turns raw dumps of image sensors into pictures.", "trvil");
    app.set_version_flag("--version", "trvil " TRVIL_VERSION);
    app.require_subcommand(1);
    app.footer(footer);
    app.failure_message(usage_error);
    for (const auto add : trv::tool::commands) add(&app);
    if (count > 1) check_command(app, words[1]);
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(Exit::usage);
    }
    return 0;
}

}  // namespace

int main(int count, char** words) {
    trv::tool::occupy_standard_streams();
    trv::tool::install_cleanup();
    try {
        const int exit_code = run(count, words);
        trv::tool::finish_stdout();
        return exit_code;
    } catch (const Failure& failure) {
        trv::tool::report(failure);
        return static_cast<int>(failure.code());
    } catch (const std::bad_alloc&) {
        trv::tool::report(
            {Exit::conversion, "not enough memory", "the picture is too large for it", "check -s"});
    } catch (const std::exception& error) {
        trv::tool::report({Exit::conversion, "something unforeseen happened", error.what(), ""});
    }
    return static_cast<int>(Exit::conversion);
}
