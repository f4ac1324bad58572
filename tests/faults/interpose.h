// Library calls that fail on demand. The test program exports these functions under the C library's
// own names, so the two shared libraries, as they are shipped, come here first.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

enum FaultGroup { FAULT_MEMORY = 1, FAULT_FILES = 2, FAULT_SYSTEM = 4 };

struct Fault {
    const char* call;  // which function failed, null for none
    int number;        // the how manieth call of that function this was
    long blocks;       // blocks allocated less blocks freed
};

// From now on the k-th call of this thread to a function of these groups fails; 0 only counts.
void FaultArm(int k, int groups);

// Ends that, and tells what came of it.
struct Fault FaultDisarm(void);

#ifdef __cplusplus
}
#endif
