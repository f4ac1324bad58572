// trvil-grab: what `trvil grab` runs, so that the tool itself needs no library for cameras.
//
//   trvil-grab list                                         cameras as JSON
//   trvil-grab frames COUNT TIMEOUT SOCKET CAMERA SETTING...  frames into a pipe, see frames.h
//
// COUNT 0 is no end, TIMEOUT in milliseconds, SOCKET "packet" or "ordinary", CAMERA may be empty.
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

#include "grab/camera.h"
#include "grab/frames.h"
#include "tool/cli/report.h"

namespace {

using trv::grab::Exit;
using trv::grab::Failure;

void list_cameras() {
    auto all = nlohmann::ordered_json::array();
    for (const auto& camera : trv::grab::find_cameras())
        all.push_back({{"id", camera.id},
                       {"protocol", camera.protocol},
                       {"address", camera.address},
                       {"vendor", camera.vendor},
                       {"model", camera.model},
                       {"serial", camera.serial}});
    std::cout << all.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) << std::endl;
}

void grab_frames(const std::vector<std::string>& words) {
    struct sigaction action {};
    action.sa_handler = [](int) { trv::grab::stop(); };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);
    auto camera = trv::grab::open_camera(words[4]);
    trv::grab::set_features(camera.get(), {words.begin() + 5, words.end()});
    trv::grab::pipe_frames(std::move(camera),
                           {std::strtoull(words[1].c_str(), nullptr, 10),
                            std::strtoull(words[2].c_str(), nullptr, 10), words[3] == "packet"});
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
    try {
        if (words.size() == 1 && words[0] == "list") {
            list_cameras();
        } else if (words.size() >= 5 && words[0] == "frames") {
            grab_frames(words);
        } else {
            throw Failure(Exit::usage, "trvil-grab is run by the tool", "",
                          "see `trvil grab --help`");
        }
        return 0;
    } catch (const Failure& failure) {
        trv::tool::report(failure);
        return static_cast<int>(failure.code());
    } catch (const std::exception& error) {
        trv::tool::report({Exit::conversion, "something unforeseen happened", error.what(), ""});
        return static_cast<int>(Exit::conversion);
    }
}
