#include "tests/torture/Tracee.h"

#include <csignal>
#include <cstdio>

#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kt::torture {

namespace {

constexpr int kCannotStart = 126;  // of the new process, before it is the program
constexpr long kOptions = PTRACE_O_EXITKILL | PTRACE_O_TRACESECCOMP | PTRACE_O_TRACECLONE |
                          PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC;

/// In the new process: waits to be watched, then becomes the program.
[[noreturn]] void becomeProgram(char* const* command, Watched watched)
{
    std::vector<sock_filter> filter = filterForDiskCalls(watched);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || raise(SIGSTOP) != 0)
        _exit(kCannotStart);
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0)
        _exit(kCannotStart);
    execvp(command[0], command);
    _exit(kCannotStart);
}

bool isWatched(pid_t process)
{
    int status = 0;
    if (waitpid(process, &status, 0) != process || !WIFSTOPPED(status))
        return false;
    return ptrace(PTRACE_SETOPTIONS, process, nullptr, kOptions) == 0;
}

std::optional<Call> callOf(pid_t process)
{
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) <= 0 ||
        info.op != PTRACE_SYSCALL_INFO_SECCOMP)
        return std::nullopt;
    Call call{process, info.seccomp.nr, {}};
    for (unsigned place = 0; place < 6; ++place)
        call.arguments[place] = info.seccomp.args[place];
    return call;
}

/// The call is not made, and answers with the error.
void failCall(pid_t process, int error)
{
#ifdef __x86_64__
    user_regs_struct registers{};
    ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    registers.orig_rax = static_cast<unsigned long long>(-1);
    registers.rax = static_cast<unsigned long long>(-static_cast<long long>(error));
    ptrace(PTRACE_SETREGS, process, nullptr, &registers);
#else
    static_cast<void>(process);
    static_cast<void>(error);
#endif
}

int codeOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

/// The signal that the stopped process is to get; stops that only serve the watching bring none.
int signalToPass(int status)
{
    const int signal = WSTOPSIG(status);
    return (status >> 16) != 0 || signal == SIGSTOP ? 0 : signal;
}

bool isStoppedAtCall(int status)
{
    return (status >> 8) == (SIGTRAP | (PTRACE_EVENT_SECCOMP << 8));
}

}  // namespace

std::optional<int> runWatched(char* const* command, Watched watched,
                              const std::function<Verdict(const Call&)>& decide)
{
    const pid_t program = fork();
    if (program == 0)
        becomeProgram(command, watched);
    if (program < 0 || !isWatched(program))
        return std::nullopt;
    ptrace(PTRACE_CONT, program, nullptr, nullptr);
    int status = 0;
    for (pid_t process = 0; (process = waitpid(-1, &status, __WALL)) > 0;) {
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            if (process != program)
                continue;
            const int code = codeOf(status);
            return code == kCannotStart ? std::nullopt : std::optional(code);
        }
        const std::optional<Call> call = isStoppedAtCall(status) ? callOf(process) : std::nullopt;
        const Verdict verdict = call ? decide(*call) : Verdict{};
        if (verdict.kind == Verdict::Kind::kill)
            kill(program, SIGKILL);
        if (verdict.kind == Verdict::Kind::fail)
            failCall(process, verdict.error);
        ptrace(PTRACE_CONT, process, nullptr, signalToPass(status));
    }
    return std::nullopt;
}

bool canFailCalls()
{
#ifdef __x86_64__
    return true;
#else
    return false;
#endif
}

}  // namespace kt::torture
