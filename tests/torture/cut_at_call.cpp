// Runs a program and cuts it off at one of its system calls that change something on disk.
//
//   cut_at_call [--list FILE] [--reads-below FOLDER]
//               [--kill N | --fail N ERROR | --fail-once N ERROR] -- PROGRAM ARGUMENT...
//
// --kill         SIGKILL in place of the N-th call, counted from 1
// --fail         the N-th call and all later ones are not made and answer with EIO, ENOSPC or
// EACCES
// --fail-once    that one alone
// --list         a line for each call: its name and path
// --reads-below  calls that read something there count as well
//
// The calls are seen by the kernel (seccomp, then ptrace), not by functions put before those of the
// C library: SQLite's, libarchive's and the C++ library's own count like all others, and so does
// whatever a later version of them calls. Ends with the program's code, 128 and the number of the
// signal that ended it, or 125 when programs cannot be watched here.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

#include "tests/torture/Tracee.h"

namespace kt::torture {
namespace {

constexpr int kUsage = 2;
constexpr int kCannotWatch = 125;

struct Wishes {
    long number = 0;
    Verdict verdict;
    bool isForTheRest = false;  // of the run, and not for that call alone
    std::string readsBelow;     // empty: only what changes something counts
    std::ofstream list;
    char** command = nullptr;
};

bool takeError(Wishes& wishes, std::string_view name)
{
    constexpr std::pair<std::string_view, int> kErrors[] = {{"EIO", EIO},
                                                            {"ENOSPC", ENOSPC},
                                                            {"EACCES", EACCES}};
    for (const auto& [known, error] : kErrors) {
        if (known == name)
            wishes.verdict = {Verdict::Kind::fail, error};
    }
    return wishes.verdict.error != 0;
}

/// False for what is no right command line.
bool read(Wishes& wishes, char** argument)
{
    for (; *argument != nullptr; ++argument) {
        const std::string_view option = *argument;
        if (option == "--") {
            wishes.command = argument + 1;
            return *wishes.command != nullptr;
        }
        if (argument[1] == nullptr)
            return false;
        const char* value = *++argument;
        const bool fails = option == "--fail" || option == "--fail-once";
        if (option == "--list")
            wishes.list.open(value);
        else if (option == "--reads-below")
            wishes.readsBelow = value;
        else if (option == "--kill" || fails)
            wishes.number = std::strtol(value, nullptr, 10);
        else
            return false;
        if (option == "--kill")
            wishes.verdict = {Verdict::Kind::kill, 0};
        if (fails && (*++argument == nullptr || !takeError(wishes, *argument)))
            return false;
        wishes.isForTheRest = wishes.isForTheRest || option == "--fail";
    }
    return false;
}

bool counts(const Wishes& wishes, const Call& call)
{
    return changesDisk(call) || (!wishes.readsBelow.empty() && readsBelow(call, wishes.readsBelow));
}

int run(Wishes& wishes)
{
    long count = 0;
    const auto decide = [&](const Call& call) {
        if (!counts(wishes, call))
            return Verdict{};
        ++count;
        if (wishes.list.is_open())
            wishes.list << describe(call) << '\n';
        const bool isMeant = wishes.isForTheRest ? count >= wishes.number : count == wishes.number;
        return wishes.number > 0 && isMeant ? wishes.verdict : Verdict{};
    };
    const Watched watched = wishes.readsBelow.empty() ? Watched::changes : Watched::changesAndReads;
    return runWatched(wishes.command, watched, decide).value_or(kCannotWatch);
}

}  // namespace
}  // namespace kt::torture

int main(int, char** arguments)
{
    using namespace kt::torture;
    Wishes wishes;
    if (!read(wishes, arguments + 1)) {
        std::cerr
            << "cut_at_call [--list FILE] [--reads-below FOLDER] [--kill N | --fail N ERROR | "
               "--fail-once N ERROR] -- PROGRAM ARGUMENT...\n";
        return kUsage;
    }
    if (wishes.verdict.kind == Verdict::Kind::fail && !canFailCalls())
        return kCannotWatch;
    return run(wishes);
}
