#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tests/support/SyncKit.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// A program of this build while it runs, in the zone Europe/Berlin and without a home of its own.
/// One that nobody waited for is killed with this object.
class RunningProgram {
public:
    RunningProgram(const std::string& name, const std::vector<std::string>& arguments,
                   RunAs runAs = RunAs::self);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    void send(int signal) const;
    /// What it wrote to standard error so far.
    std::string shown() const { return _streams.read("err").value_or(""); }
    /// Waits until it wrote that to standard error; false when it does not within ten seconds.
    bool shows(std::string_view text) const;
    /// Waits for its end.
    ProgramResult end();

private:
    TemporaryFolder _streams;
    pid_t _child = -1;
};

}  // namespace kt::test
