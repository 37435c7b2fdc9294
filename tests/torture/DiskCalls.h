#pragma once

#include <string>
#include <string_view>
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

enum class Watched { changes, changesAndReads };

/// Stops a process with SECCOMP_RET_TRACE at every call that may change something on disk: opening
/// with O_CREAT or O_TRUNC, writing to another descriptor than the first three, renaming, linking,
/// removing, making, cutting, copying, what sets owners, modes and times, and what waits for the
/// disk. Where reads are watched as well: at opening, reading, listing and asking about a file.
std::vector<sock_filter> filterForDiskCalls(Watched watched);

/// Whether the call changes the disk after all. A pipe does not, and neither does a line at the end
/// of a log, which is never read again and would only double the calls to try.
bool changesDisk(const Call& call);

/// Whether the call reads, and no more than that, something at or below that folder.
bool readsBelow(const Call& call, std::string_view folder);

/// The call's name and the path it goes to, as far as that can be told: "rename /home/nodes.plist".
std::string describe(const Call& call);

}  // namespace kt::torture
