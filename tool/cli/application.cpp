#include "tool/cli/application.h"

#include "tool/cli/text.h"
#include "tool/cli/topics.h"
#include "tool/commands/command.h"

namespace trv::tool {
namespace {

std::string usage_error(const CLI::App* app, const CLI::Error& error) {
    return text("trvil: ", printable(error.what()), "\n  next: see `", app->get_name(),
                " --help`\n");
}

std::string footer() {
    std::vector<std::string> names;
    for (const Topic& topic : topics) names.emplace_back(topic.name);
    return text("Topics of `trvil help TOPIC`:\n  ", list(names), "\n\nExamples:\n",
                find_topic("examples")->text, "\n\nExit codes:\n", find_topic("exit-codes")->text);
}

}  // namespace

std::unique_ptr<CLI::App> make_application() {
    auto app =
        std::make_unique<CLI::App>("Turns raw dumps of image sensors into pictures.", "trvil");
    app->set_version_flag("--version", "trvil " TRVIL_VERSION);
    app->require_subcommand(1);
    app->footer(footer());
    app->failure_message(usage_error);
    for (const auto add : commands) add(app.get());
    return app;
}

}  // namespace trv::tool
