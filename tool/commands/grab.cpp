// Frames of cameras: the program trvil-grab, in a package of its own, writes them into a pipe, and
// they are converted as `convert` converts a dump on stdin.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <system_error>

#include "tool/cli/application.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/reading.h"
#include "tool/cli/report.h"
#include "tool/cli/streams.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(Size, format, phase and padding come from the camera; the other options are those of `trvil convert`.
Frames that are not whole, because packets were lost, are left out and told of. When the camera goes
away or the command is interrupted, the frames until then are kept.

CAMERA is an id of --list or an address; it may be left out where there is one camera. The package
trvil-grab has to be installed.)";

struct Options {
    bool list = false, list_as_json = false, packet_socket = false;
    uint64_t count = 0;
    double timeout = 5;
    std::vector<std::string> settings;
    std::string camera;
    std::vector<const CLI::Option*> passed_on;  // copies of what convert has
};

// Where the program may be: beside the tool, in the folder for programs that others run, in PATH.
std::string helper_path() {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path here = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    std::vector<fs::path> places = {here, here.parent_path() / "libexec" / "trvil"};
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');)
        if (!folder.empty()) places.emplace_back(folder);
    for (const fs::path& place : places)
        if (const fs::path file = place / "trvil-grab"; access(file.c_str(), X_OK) == 0)
            return file;
    throw Failure(Exit::conversion, "cameras need the program trvil-grab, which is not installed",
                  "it is in a package of its own",
                  "install the package trvil-grab, or build trvil where libaravis-dev is");
}

// trvil-grab at work. What it has to say of failures it says itself, on stderr.
class Helper {
  public:
    explicit Helper(std::vector<std::string> words) {
        words.insert(words.begin(), helper_path());
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0 || (id_ = fork()) < 0)
            throw Failure(Exit::conversion, text("cannot start ", words[0]),
                          std::generic_category().message(errno), "");
        if (id_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execv(arguments[0], arguments.data());
            _exit(static_cast<int>(Exit::conversion));
        }
        close(ends[1]);
        output_ = ends[0];
    }
    ~Helper() { end(); }
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

    // One line of what it writes, and nothing behind it; empty at the end.
    std::string line() const {
        std::string words;
        for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) words += c;
        return words;
    }
    std::string all() const {
        std::string words(1 << 16, '\0');
        size_t size = 0;
        for (ssize_t got = 0; (got = read(output_, &words[size], words.size() - size)) > 0;) {
            size += static_cast<size_t>(got);
            if (size == words.size()) words.resize(2 * size);
        }
        words.resize(size);
        return words;
    }
    // What it writes from here on is what this process reads on stdin.
    void give_stdin() {
        dup2(output_, STDIN_FILENO);
        close(output_);
        output_ = STDIN_FILENO;
    }
    // Reads no more, and waits for its end. Returns its exit code.
    int end() {
        if (id_ <= 0) return code_;
        close(output_);
        int status = 0;
        while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        id_ = 0;
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : static_cast<int>(Exit::conversion);
        return code_;
    }

  private:
    pid_t id_ = 0;
    int output_ = -1, code_ = 0;
};

// Ends as trvil-grab did, which said why.
void end_like(Helper* helper) {
    constexpr int not_loaded = 127;  // as the loader ends it
    const int code = helper->end();
    if (code == 0) return;
    if (code == not_loaded)
        throw Failure(Exit::conversion, "trvil-grab does not start", "a library of it is missing",
                      "install libaravis-0.8-0");
    finish_stdout();
    std::exit(code);
}

void list_cameras(bool as_json) {
    Helper helper({"list"});
    const std::string said = helper.all();
    end_like(&helper);
    const Json cameras = Json::parse(said);
    if (as_json) return print_json(cameras);
    for (const Json& camera : cameras) {
        const auto word = [&](const char* name) {
            return printable(camera[name].get<std::string>());
        };
        std::cout << std::left << std::setw(32) << word("id") << ' ' << std::setw(16)
                  << word("address") << ' ' << word("protocol") << "  " << word("vendor") << ' '
                  << word("model") << '\n';
    }
    if (cameras.empty())
        note("no camera answers; `trvil grab ADDRESS` asks one of another network");
}

// As convert takes them: "64x6 pfnc:0x010C0059 96" and what was said of the picture.
std::vector<std::string> convert_words(const std::string& header, const Options& o) {
    std::istringstream in(header);
    std::string size, format, stride;
    in >> size >> format >> stride;
    std::vector<std::string> words = {"convert", "-s", size, "-f", format, "--stride", stride};
    for (const CLI::Option* option : o.passed_on) {
        const std::string name = text("--", option->get_lnames().front());
        if (option->get_items_expected_max() == 0 && option->count() != 0) words.push_back(name);
        if (option->get_items_expected_max() == 0) continue;
        for (const std::string& value : option->results()) words.push_back(name + "=" + value);
    }
    if (o.count != 0) words.insert(words.end(), {"--frames", text(":", o.count)});
    words.emplace_back("-");
    return words;
}

void grab(const Options& o) {
    if (o.list) return list_cameras(o.list_as_json);
    std::vector<std::string> words = {"frames", std::to_string(o.count),
                                      std::to_string(static_cast<uint64_t>(o.timeout * 1000)),
                                      o.packet_socket ? "packet" : "ordinary", o.camera};
    words.insert(words.end(), o.settings.begin(), o.settings.end());
    Helper helper(words);
    const std::string header = helper.line();
    if (header.empty()) {
        end_like(&helper);
        throw Failure(Exit::input, "no frame was grabbed", "it was stopped before the first", "");
    }
    helper.give_stdin();
    std::vector<std::string> converting = convert_words(header, o);
    std::reverse(converting.begin(), converting.end());  // as CLI11 takes words
    make_application()->parse(converting);
    end_like(&helper);
}

// Everything that convert has beside how to read a dump.
void copy_options(const CLI::App& from, CLI::App* to, Options* o) {
    for (const CLI::Option* option : from.get_options()) {
        if (option->get_lnames().empty() || option->get_group() == reading_group ||
            option->get_name() == "--help")
            continue;
        const std::string name = option->get_name(false, true);
        const bool flag = option->get_items_expected_max() == 0;
        CLI::Option* copy =
            flag
                ? to->add_flag(name, option->get_description())
                : to->add_option(
                        name, [](const CLI::results_t&) { return true; }, option->get_description())
                      ->type_name(option->get_type_name())
                      ->expected(option->get_expected_min(), option->get_expected_max());
        copy->group(option->get_group());
        o->passed_on.push_back(copy);
    }
}

void add_own(CLI::App* command, Options* o) {
    const char* group = "The camera";
    command->add_option("camera", o->camera, "Id or address [the only one there is]")
        ->type_name("CAMERA")
        ->group(group);
    command->add_flag("--list", o->list, "Name the cameras that answer, and do nothing else")
        ->group(group);
    command->add_option("-n", o->count, "Whole frames to take [until interrupted]")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1000000000}))
        ->type_name("N")
        ->group(group);
    command
        ->add_option("--set", o->settings,
                     "Set a feature of the camera: PixelFormat=BayerRG12p; may be said again")
        ->type_name("NAME=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group(group);
    command->add_option("--timeout", o->timeout, "Longest wait for a frame, in seconds [5]")
        ->check(CLI::Range(0.1, 86400.0))
        ->type_name("SECONDS")
        ->group(group);
    command
        ->add_flag("--packet-socket", o->packet_socket,
                   "Receive beside the network stack, for fast cameras; needs CAP_NET_RAW")
        ->group(group);
}

}  // namespace

void add_grab(CLI::App* app) {
    CLI::App* command = app->add_subcommand("grab", "Convert the frames of a camera");
    const auto options = std::make_shared<Options>();
    add_own(command, options.get());
    copy_options(*app->get_subcommand("convert"), command, options.get());
    command->get_option("--json")->description(
        "Cameras as JSON; of streams, progress by lines of JSON on stderr");
    command->footer(footer);
    command->callback([options, command] {
        if (!options->list && command->count("--output") == 0)
            throw Failure(Exit::usage, "where to put the frames?", "there is no -o",
                          "say -o out/{n}.png, or --list for the cameras there are");
        options->list_as_json = command->count("--json") != 0;
        grab(*options);
    });
}

}  // namespace trv::tool
