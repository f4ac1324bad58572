// The manual page, in the man macros that man and mandoc both understand.
#include "tool/pages/manual.h"

#include "tool/cli/text.h"
#include "tool/cli/topics.h"
#include "tool/pages/options.h"

namespace trv::tool::pages {
namespace {

// A line of text must not be taken for a request, nor a dash for a hyphen.
std::string escaped(const std::string& line) {
    std::string result;
    for (const char letter : line) {
        if (letter == '\\')
            result += "\\e";
        else if (letter == '-')
            result += "\\-";
        else if (letter == '\'')
            result += "\\(aq";
        else if (letter == '`')
            result += "\\(ga";
        else
            result += letter;
    }
    return !result.empty() && result.front() == '.' ? "\\&" + result : result;
}

// Blank lines part paragraphs; what is indented or stands in columns stays as it is.
std::string body(const std::string& words) {
    std::istringstream in(words);
    std::string out, line;
    bool literal = false, parted = true;
    while (std::getline(in, line)) {
        const bool indented = line.rfind("  ", 0) == 0;
        if (literal && !indented) out += ".EE\n.RE\n";
        if (!literal && indented) out += ".RS 2\n.EX\n";
        if (literal && !indented && !line.empty()) out += ".PP\n";
        literal = indented;
        if (line.empty()) parted = false;
        if (line.empty()) continue;
        if (!parted && !indented && out.rfind(".PP\n") != out.size() - 4) out += ".PP\n";
        parted = true;
        out += escaped(indented ? line.substr(2) : line) + "\n";
    }
    return literal ? out + ".EE\n.RE\n" : out;
}

std::string option_entry(const CLI::Option* option) {
    std::string head = list(names_of(option), ", ");
    const std::string type = option->get_type_name();
    if (option->get_positional()) head = option->get_name(true);
    std::string entry = ".TP\n\\fB" + escaped(head) + "\\fR";
    if (takes_value(option) && !type.empty() && !option->get_positional())
        entry += " \\fI" + escaped(type.substr(0, type.find(':'))) + "\\fR";
    return entry + "\n" + escaped(option->get_description()) + "\n";
}

std::string synopsis(CLI::App* app) {
    std::string lines;
    for (const CLI::App* command : commands_of(app))
        lines += ".br\n\\fBtrvil " + command->get_name() + "\\fR [\\fIoptions\\fR] ...\n";
    return lines.substr(4);
}

std::string command_section(CLI::App* command) {
    std::string section =
        ".SS trvil " + command->get_name() + "\n" + escaped(command->get_description()) + ".\n";
    for (const CLI::Option* option : options_of(command))
        if (option->get_name() != "--help") section += option_entry(option);
    const std::string footer = command->get_footer();
    return footer.empty() ? section : section + ".PP\n" + body(footer);
}

std::string upper(std::string words) {
    for (char& letter : words)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return words;
}

}  // namespace

std::string manual(CLI::App* app) {
    std::string page = text(".TH TRVIL 1 \"", TRVIL_DATE, "\" \"trvil ", TRVIL_VERSION,
                            "\" \"User commands\"\n.SH NAME\ntrvil \\- turn raw dumps of image "
                            "sensors into pictures\n.SH SYNOPSIS\n",
                            synopsis(app), ".SH COMMANDS\n");
    for (CLI::App* command : commands_of(app)) page += command_section(command);
    for (const Topic& topic : topics)
        page += text(".SH ", upper(topic.title), '\n', body(topic.text));
    return page;
}

}  // namespace trv::tool::pages
