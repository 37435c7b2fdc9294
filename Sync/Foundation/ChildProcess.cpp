#include "Sync/Foundation/ChildProcess.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/wait.h>

#include "Sync/Foundation/FileDescriptor.h"

namespace kt {

namespace {

/// In the new process, where between fork and exec only what is safe in a signal handler may be
/// called: away from the terminal, and without holding on to a pipe whose reader waits for its end.
[[noreturn]] void becomeProgram(char* const* argumentList, int report)
{
    ::setsid();
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    const int null = ::open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(null, stream);
    if (null > STDERR_FILENO)
        ::close(null);
    ::execvp(argumentList[0], argumentList);
    const char failure = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(report, &failure, 1);
    ::_exit(127);
}

}  // namespace

bool startDetachedProcess(const std::string& path, const std::vector<std::string>& arguments)
{
    std::vector<std::string> copies{path};
    copies.insert(copies.end(), arguments.begin(), arguments.end());
    std::vector<char*> argumentList;
    for (std::string& argument : copies)
        argumentList.push_back(argument.data());
    argumentList.push_back(nullptr);

    // The pipe closes when the program starts; before that it carries the news that it did not.
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);

    // Twice, so that the program is nobody's child here and leaves no zombie.
    const pid_t child = ::fork();
    if (child < 0)
        return false;
    if (child == 0) {
        const pid_t program = ::fork();
        if (program == 0)
            becomeProgram(argumentList.data(), writer.get());
        ::_exit(program < 0 ? 1 : 0);
    }
    writer.close();
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    char failure = 0;
    ssize_t count = 0;
    while ((count = ::read(reader.get(), &failure, 1)) < 0 && errno == EINTR) {}
    return count == 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kt
