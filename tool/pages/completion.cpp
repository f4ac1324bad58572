// Completion for bash, without the help of other packages.
#include "tool/pages/completion.h"

#include <algorithm>

#include "tool/cli/catalogue.h"
#include "tool/cli/text.h"
#include "tool/cli/topics.h"
#include "tool/files/kind.h"
#include "tool/pages/options.h"

namespace trv::tool::pages {
namespace {

using Words = std::vector<std::string>;

// What an option checks for stands in its type as TEXT:{auto,never}.
Words listed(const std::string& type) {
    Words words;
    const size_t open = type.find('{'), close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) return words;
    std::istringstream in(type.substr(open + 1, close - open - 1));
    for (std::string word; std::getline(in, word, ',');) words.push_back(word);
    return words;
}

Words format_words() {
    Words words;
    for (const Format& format : formats) words.emplace_back(format.name);
    for (const Pixels& pixels : packings()) words.push_back(packing_name(pixels.packing));
    return words;
}

Words phase_words() {
    Words words;
    for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
        words.emplace_back(phase_name(phase));
    return words;
}

Words topic_words(CLI::App* app) {
    Words words;
    for (const Topic& topic : topics) words.emplace_back(topic.name);
    for (const CLI::App* command : commands_of(app)) words.push_back(command->get_name());
    return words;
}

Words values_of(CLI::App* app, const CLI::Option* option) {
    const std::string type = option->get_type_name();
    if (const Words words = listed(type); !words.empty()) return words;
    if (type == "FORMAT") return format_words();
    if (type == "PHASE") return phase_words();
    if (type == "METHOD") return {"dup", "ave", "med", "gradient"};
    if (type == "INTERPOLATION") return {"dup", "ave", "bilinear", "median"};
    if (type == "FIELD") return {"odd", "even"};
    if (type == "KIND") return kind_names();
    if (type == "GAINS") return {"off", "grey"};
    if (type == "CURVE") return {"none", "srgb", "gamma:2.2"};
    if (type == "TOPIC") return topic_words(app);
    return {};
}

// One case of what may follow "COMMAND OPTION": words, nothing, or files where none is made.
std::string value_case(CLI::App* app, const CLI::App* command, const CLI::Option* option) {
    Words patterns;
    for (const std::string& name : names_of(option))
        patterns.push_back(text('"', command->get_name(), ' ', name, '"'));
    if (option->get_type_name() == "FILE") return "";
    return text("        ", list(patterns, " | "), ")\n            words=\"",
                list(values_of(app, option), " "), "\" ;;\n");
}

std::string value_cases(CLI::App* app) {
    std::string cases;
    for (CLI::App* command : commands_of(app))
        for (const CLI::Option* option : options_of(command))
            if (takes_value(option) && !option->get_positional())
                cases += value_case(app, command, option);
    return cases;
}

// The options that take a value, so that it is not mistaken for an argument.
std::string file_patterns(CLI::App* app) {
    Words patterns;
    for (CLI::App* command : commands_of(app))
        for (const CLI::Option* option : options_of(command))
            if (option->get_type_name() == "FILE" && !option->get_positional())
                for (const std::string& name : names_of(option))
                    patterns.push_back(text('"', command->get_name(), ' ', name, '"'));
    return list(patterns, " | ");
}

std::string command_cases(CLI::App* app) {
    std::string cases;
    for (CLI::App* command : commands_of(app)) {
        Words options, arguments;
        for (const CLI::Option* option : options_of(command)) {
            for (const std::string& name : names_of(option)) options.push_back(name);
            if (option->get_positional())
                for (const std::string& word : values_of(app, option))
                    if (std::find(arguments.begin(), arguments.end(), word) == arguments.end())
                        arguments.push_back(word);
        }
        cases +=
            text("        ", command->get_name(), ")\n            options=\"", list(options, " "),
                 "\"\n            arguments=\"", list(arguments, " "), "\" ;;\n");
    }
    return cases;
}

Words first_words(CLI::App* app) {
    Words words;
    for (const CLI::App* command : commands_of(app)) words.push_back(command->get_name());
    for (const CLI::Option* option : options_of(app))
        for (const std::string& name : names_of(option)) words.push_back(name);
    return words;
}

}  // namespace

std::string completion(CLI::App* app) {
    return text(R"(# Completion of trvil for bash; made from its own table of options.
_trvil() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]} options="" arguments="" words=none
    COMPREPLY=()
    if [ "$COMP_CWORD" -le 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W ")",
                list(first_words(app), " "), R"(" -- "$current")
        return
    fi
    case "$command $previous" in
)",
                value_cases(app), "        ", file_patterns(app), R"()
            words=files ;;
    esac
    case "$command" in
)",
                command_cases(app), R"(    esac
    if [ "$words" != none ] && [ "$words" != files ]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    elif [ "$words" = none ] && [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [ "$words" = none ] && [ -n "$arguments" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$arguments" -- "$current")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _trvil trvil
)");
}

}  // namespace trv::tool::pages
