// The three streams that a program is started with, which may be closed or full.
#pragma once

namespace trv::tool {

// Puts something in the place of streams that are closed. Left empty, the next file to be opened
// would take the place, and what is said would be written into it.
void occupy_standard_streams();

// Throws Failure when something that was said on stdout did not get there.
void finish_stdout();

}  // namespace trv::tool
