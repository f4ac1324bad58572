#include <algorithm>
#include <new>

#include "tool/cli/application.h"
#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/report.h"
#include "tool/cli/streams.h"
#include "tool/cli/text.h"

namespace {

using trv::tool::Exit;
using trv::tool::Failure;

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
    const auto app = trv::tool::make_application();
    if (count > 1) check_command(*app, words[1]);
    try {
        app->parse(count, words);
    } catch (const CLI::ParseError& error) {
        return app->exit(error) == 0 ? 0 : static_cast<int>(Exit::usage);
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
