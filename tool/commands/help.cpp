#include <algorithm>
#include <iostream>
#include <memory>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/cli/topics.h"
#include "tool/commands/command.h"

namespace trv::tool {
namespace {

void list_topics() {
    size_t widest = 0;
    for (const Topic& topic : topics) widest = std::max(widest, std::string(topic.name).size());
    for (const Topic& topic : topics)
        std::cout << topic.name << std::string(widest + 2 - std::string(topic.name).size(), ' ')
                  << topic.title << '\n';
    std::cout << "\n`trvil help TOPIC` shows one, `trvil help COMMAND` the help of a command.\n";
}

Failure unknown(const std::string& name, const std::vector<CLI::App*>& commands) {
    std::vector<std::string> names;
    for (const Topic& topic : topics) names.emplace_back(topic.name);
    for (const CLI::App* command : commands) names.push_back(command->get_name());
    return {Exit::usage, text("no help on \"", name, "\""),
            text("the nearest names are ", list(nearest(name, names, 3))),
            "`trvil help` lists the topics, `trvil --help` the commands"};
}

void show(CLI::App* app, const std::string& name) {
    if (const Topic* topic = find_topic(name)) {
        std::cout << topic->title << "\n\n" << topic->text << '\n';
        return;
    }
    const std::vector<CLI::App*> commands = app->get_subcommands(std::function<bool(CLI::App*)>());
    for (const CLI::App* command : commands)
        if (command->get_name() == name) {
            std::cout << command->help("trvil");
            return;
        }
    throw unknown(name, commands);
}

}  // namespace

void add_help(CLI::App* app) {
    CLI::App* command = app->add_subcommand("help", "Explain a topic or a command");
    const auto name = std::make_shared<std::string>();
    command->add_option("topic", *name, "A topic, or the name of a command")->type_name("TOPIC");
    command->callback([app, name] { name->empty() ? list_topics() : show(app, *name); });
}

}  // namespace trv::tool
