// Files that have to go when a signal ends the process.
#pragma once

namespace trv::tool {

// Lets SIGINT, SIGTERM and SIGHUP remove the files before they end the process, and lets a closed
// pipe and a file-size limit be ordinary write errors.
void install_cleanup();

// `path` must stay where it is until forget_file. Returns a place in the list, or -1 when it is
// full.
int remember_file(const char* path);
void forget_file(int place);

}  // namespace trv::tool
