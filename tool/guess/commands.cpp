#include "tool/guess/commands.h"

#include <filesystem>

#include "tool/cli/catalogue.h"
#include "tool/cli/text.h"

namespace trv::tool::guess {
namespace {

std::string options(const Proposal& p) {
    std::string words = text("-s ", p.width, "x", p.height, " -f ",
                             p.packing == 0 ? p.format->name : packing_name(p.packing));
    if (p.stride != p.geometry().line()) words += text(" --stride ", p.stride);
    if (p.skip != 0) words += text(" --skip ", p.skip);
    if (p.phase != Phase::none && p.format->phase == Phase::none)
        words += text(" --phase ", phase_name(p.phase));
    if (p.phase != Phase::none) words += " --wb grey";
    const bool dim = p.used_bits < p.format->significant && p.format->family != Family::yuv;
    return dim ? words + " --scale auto" : words;
}

}  // namespace

std::vector<std::string> commands_for(const Dump& dump, const Proposal& p) {
    const std::filesystem::path path(dump.name);
    const std::string picture = path.stem().string() + ".png";
    const std::string quoted_picture = shell_word(picture);
    if (!p.swapped)
        return {
            text("trvil convert ", options(p), " ", shell_word(dump.name), " -o ", quoted_picture)};
    const std::string swapped = shell_word(path.stem().string() + ".swapped.raw");
    Proposal rest = p;
    std::string first = text("dd conv=swab if=", shell_word(dump.name), " of=", swapped);
    if (p.skip != 0) {
        rest.skip = 0;
        first = text("tail -c +", p.skip + 1, " ", shell_word(dump.name),
                     " | dd conv=swab of=", swapped);
    }
    return {first, text("trvil convert ", options(rest), " ", swapped, " -o ", quoted_picture)};
}

}  // namespace trv::tool::guess
