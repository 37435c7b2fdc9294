#pragma once

#include <string>
#include <vector>

#include <linux/filter.h>
#include <sys/types.h>

namespace kt::torture {

/// A system call as it is about to be made, and who makes it.
struct Call {
    pid_t process = 0;
    unsigned long number = 0;
    unsigned long arguments[6] = {};
};

/// Stops a process with SECCOMP_RET_TRACE at every call that may change something on disk: opening
/// with O_CREAT or O_TRUNC, writing to another descriptor than the first three, renaming, linking,
/// removing, making, cutting, copying, what sets owners, modes and times, and what waits for the
/// disk.
std::vector<sock_filter> filterForDiskCalls();

/// Whether the call changes the disk after all. A pipe does not, and neither does a line at the end
/// of a log, which is never read again and would only double the calls to try.
bool changesDisk(const Call& call);

/// The call's name and the path it goes to, as far as that can be told: "rename /home/nodes.plist".
std::string describe(const Call& call);

}  // namespace kt::torture
