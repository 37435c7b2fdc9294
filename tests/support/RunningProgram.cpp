#include "tests/support/RunningProgram.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kt::test {

namespace {

constexpr uid_t kNobody = 65534;

std::vector<std::string> environment()
{
    std::vector<std::string> variables{"PATH=/usr/local/bin:/usr/bin:/bin", "TZ=Europe/Berlin",
                                       "HOME=/nonexistent"};
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = std::getenv(name))
            variables.push_back(std::string(name) + "=" + value);
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    for (std::string& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

void redirect(int descriptor, const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
    ::dup2(file, descriptor);
    ::close(file);
}

[[noreturn]] void becomeProgram(char* const* arguments, char* const* variables,
                                const TemporaryFolder& streams, RunAs runAs)
{
    redirect(STDOUT_FILENO, streams.path("out"));
    redirect(STDERR_FILENO, streams.path("err"));
    if (runAs == RunAs::nobody &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
        ::_exit(126);
    ::execve(arguments[0], arguments, variables);
    ::_exit(127);
}

}  // namespace

RunningProgram::RunningProgram(const std::string& name, const std::vector<std::string>& arguments,
                               RunAs runAs)
{
    std::vector<std::string> words{std::string(KT_PROGRAM_DIR) + "/" + name};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment();
    const std::vector<char*> wordPointers = pointers(words);
    const std::vector<char*> variablePointers = pointers(variables);
    _child = ::fork();
    if (_child == 0)
        becomeProgram(wordPointers.data(), variablePointers.data(), _streams, runAs);
}

RunningProgram::~RunningProgram()
{
    if (_child <= 0)
        return;
    ::kill(_child, SIGKILL);
    ::waitpid(_child, nullptr, 0);
}

void RunningProgram::send(int signal) const
{
    if (_child > 0)
        ::kill(_child, signal);
}

bool RunningProgram::shows(std::string_view text) const
{
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (shown().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

ProgramResult RunningProgram::end()
{
    int status = 0;
    ::waitpid(_child, &status, 0);
    _child = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            _streams.read("out").value_or(""), shown()};
}

}  // namespace kt::test
