#include "tool/cli/streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "tool/cli/error.h"

namespace trv::tool {

void occupy_standard_streams() {
    // Opened the wrong way round, so that a closed stdin or stdout still fails when it is used.
    constexpr int modes[] = {O_WRONLY, O_RDONLY, O_RDWR};
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", modes[fd]) != fd)
            _exit(static_cast<int>(Exit::output));
}

void finish_stdout() {
    errno = 0;
    if (std::cout.flush()) return;
    const int error = errno == 0 ? EIO : errno;
    throw Failure(Exit::output, "cannot write to stdout", std::strerror(error),
                  "check where stdout goes, and the space left there");
}

}  // namespace trv::tool
