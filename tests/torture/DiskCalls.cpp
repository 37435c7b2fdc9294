#include "tests/torture/DiskCalls.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>

namespace kt::torture {

namespace {

/// Where a call names what it changes.
enum class Target { path, pathBelow, twoPaths, twoPathsBelow, descriptor };

struct Known {
    unsigned long number;
    const char* name;
    Target target;
    unsigned place = 0;  // of the path or the descriptor among the arguments
};

#define KT_CALL(name, ...) \
    Known { SYS_##name, #name, __VA_ARGS__ }

// Newer systems know only the later ones of each family.
constexpr Known kChanging[] = {
#ifdef SYS_open
    KT_CALL(open, Target::path),
    KT_CALL(creat, Target::path),
    KT_CALL(rename, Target::twoPaths, 1),
    KT_CALL(link, Target::twoPaths, 1),
    KT_CALL(symlink, Target::twoPaths, 1),
    KT_CALL(unlink, Target::path),
    KT_CALL(rmdir, Target::path),
    KT_CALL(mkdir, Target::path),
    KT_CALL(chmod, Target::path),
    KT_CALL(chown, Target::path),
    KT_CALL(lchown, Target::path),
    KT_CALL(utimes, Target::path),
#endif
    KT_CALL(openat, Target::pathBelow),
    KT_CALL(openat2, Target::pathBelow),
#ifdef SYS_renameat
    KT_CALL(renameat, Target::twoPathsBelow, 3),
#endif
    KT_CALL(renameat2, Target::twoPathsBelow, 3),
    KT_CALL(linkat, Target::twoPathsBelow, 3),
    KT_CALL(symlinkat, Target::pathBelow, 2),
    KT_CALL(unlinkat, Target::pathBelow),
    KT_CALL(mkdirat, Target::pathBelow),
    KT_CALL(mknodat, Target::pathBelow),
    KT_CALL(fchmodat, Target::pathBelow),
    KT_CALL(fchownat, Target::pathBelow),
    KT_CALL(utimensat, Target::pathBelow),
    KT_CALL(truncate, Target::path),
    KT_CALL(setxattr, Target::path),
    KT_CALL(removexattr, Target::path),
    KT_CALL(write, Target::descriptor),
    KT_CALL(writev, Target::descriptor),
    KT_CALL(pwrite64, Target::descriptor),
    KT_CALL(pwritev, Target::descriptor),
    KT_CALL(pwritev2, Target::descriptor),
    KT_CALL(ftruncate, Target::descriptor),
    KT_CALL(fallocate, Target::descriptor),
    KT_CALL(fchmod, Target::descriptor),
    KT_CALL(fchown, Target::descriptor),
    KT_CALL(fsetxattr, Target::descriptor),
    KT_CALL(fsync, Target::descriptor),
    KT_CALL(fdatasync, Target::descriptor),
    KT_CALL(syncfs, Target::descriptor),
    KT_CALL(sync_file_range, Target::descriptor),
    KT_CALL(sendfile, Target::descriptor),
    KT_CALL(copy_file_range, Target::descriptor, 2),
    KT_CALL(splice, Target::descriptor, 2),
};

constexpr Known kReading[] = {
#ifdef SYS_stat
    KT_CALL(stat, Target::path),
    KT_CALL(lstat, Target::path),
    KT_CALL(access, Target::path),
    KT_CALL(readlink, Target::path),
#endif
    KT_CALL(newfstatat, Target::pathBelow),
    KT_CALL(statx, Target::pathBelow),
    KT_CALL(faccessat, Target::pathBelow),
    KT_CALL(faccessat2, Target::pathBelow),
    KT_CALL(readlinkat, Target::pathBelow),
    KT_CALL(read, Target::descriptor),
    KT_CALL(readv, Target::descriptor),
    KT_CALL(pread64, Target::descriptor),
    KT_CALL(preadv, Target::descriptor),
    KT_CALL(preadv2, Target::descriptor),
    KT_CALL(getdents64, Target::descriptor),
};

#undef KT_CALL

const Known* knownIn(std::span<const Known> calls, unsigned long number)
{
    const auto known = std::find_if(calls.begin(), calls.end(),
                                    [number](const Known& each) { return each.number == number; });
    return known == calls.end() ? nullptr : &*known;
}

const Known* knownOf(unsigned long number)
{
    const Known* known = knownIn(kChanging, number);
    return known != nullptr ? known : knownIn(kReading, number);
}

/// Text of the other process up to its end, or as much as can be read.
std::string textAt(pid_t process, unsigned long address)
{
    std::string text;
    std::array<char, 256> part;
    for (std::size_t size = 0; text.size() < PATH_MAX; address += size) {
        // A page at a time at most: what follows it may not be there.
        size = std::min(part.size(), 4096 - address % 4096);
        iovec here{part.data(), size};
        iovec there{reinterpret_cast<void*>(address), size};
        if (process_vm_readv(process, &here, 1, &there, 1, 0) != static_cast<ssize_t>(size))
            return text;
        const auto end = std::find(part.begin(), part.begin() + size, '\0');
        text.append(part.begin(), end);
        if (end != part.begin() + size)
            return text;
    }
    return text;
}

std::filesystem::path descriptorLink(const Call& call, unsigned place)
{
    const int descriptor = static_cast<int>(call.arguments[place]);
    return "/proc/" + std::to_string(call.process) + "/fd/" + std::to_string(descriptor);
}

std::string pathOf(const Call& call, const Known& known)
{
    std::error_code failure;
    if (known.target == Target::descriptor)
        return std::filesystem::read_symlink(descriptorLink(call, known.place), failure).string();
    const bool isBelow = known.target == Target::pathBelow || known.target == Target::twoPathsBelow;
    const unsigned place = known.place + (isBelow && known.place == 0 ? 1U : 0U);
    const std::filesystem::path path = textAt(call.process, call.arguments[place]);
    if (!isBelow || path.is_absolute() || place == 0)
        return path.string();
    // Below a folder that is open, or that itself.
    const auto folder = std::filesystem::read_symlink(descriptorLink(call, place - 1), failure);
    return path.empty() ? folder.string() : (folder / path).string();
}

bool isOnDisk(const Call& call, const Known& known)
{
    struct stat status {};
    if (stat(descriptorLink(call, known.place).c_str(), &status) != 0)
        return false;
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

bool opensToChange(const Call& call)
{
    constexpr unsigned long kChangingFlags = O_CREAT | O_TRUNC;
#ifdef SYS_open
    if (call.number == SYS_open)
        return (call.arguments[1] & kChangingFlags) != 0;
#endif
    return call.number != SYS_openat || (call.arguments[2] & kChangingFlags) != 0;
}

bool isBelow(std::string_view path, std::string_view folder)
{
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

sock_filter statement(unsigned code, std::size_t value)
{
    return {static_cast<__u16>(code), 0, 0, static_cast<__u32>(value)};
}

void addTo(std::vector<sock_filter>& filter, std::span<const Known> calls)
{
    for (const Known& known : calls) {
        filter.push_back({BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<__u32>(known.number)});
        filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
}

}  // namespace

std::vector<sock_filter> filterForDiskCalls(Watched watched)
{
    std::vector<sock_filter> filter;
    filter.push_back(statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    addTo(filter, kChanging);
    if (watched == Watched::changesAndReads)
        addTo(filter, kReading);
    filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return filter;
}

bool changesDisk(const Call& call)
{
    const Known* known = knownIn(kChanging, call.number);
    if (known == nullptr || !opensToChange(call))
        return false;
    if (known->target != Target::descriptor)
        return true;
    return isOnDisk(call, *known) && !pathOf(call, *known).ends_with(".log");
}

bool readsBelow(const Call& call, std::string_view folder)
{
    const Known* known = knownOf(call.number);
    if (known == nullptr || (knownIn(kReading, call.number) == nullptr && opensToChange(call)))
        return false;
    return isBelow(pathOf(call, *known), folder);
}

std::string describe(const Call& call)
{
    const Known* known = knownOf(call.number);
    return known == nullptr ? std::string() : known->name + (" " + pathOf(call, *known));
}

}  // namespace kt::torture
