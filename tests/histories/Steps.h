#pragma once

#include <functional>
#include <string>
#include <utility>

namespace kt::test {

/// What goes wrong in a run, and when.
struct Fault {
    enum class Kind {
        none,
        fails,      // one step of the disk answers that it failed
        full,       // from that step on there is no room for anything new
        killed,     // the process is gone, nothing is tidied up
        cancelled,  // the user stops the run
    };
    Kind kind = Kind::none;
    int step = 0;  // counted from 1
};

/// Thrown where a process ends. No Exception, so that nothing in the product catches it.
struct Killed {};

/// Counts what a run does, on its disk, in its host and on its server, and lets the fault happen at
/// its step.
class Steps {
public:
    Steps(Fault fault, std::function<void()> cancel) : _fault(fault), _cancel(std::move(cancel)) {}

    /// A step of the disk; false when it is to fail. Throws Killed.
    bool onDisk(const std::string& step);
    /// Any other moment in which a process can end. Throws Killed.
    void elsewhere();

    int count() const { return _count; }

private:
    bool isDue();

    Fault _fault;
    std::function<void()> _cancel;
    int _count = 0;
    bool _isDead = false;
};

inline bool Steps::isDue()
{
    if (++_count != _fault.step)
        return false;
    if (_fault.kind == Fault::Kind::cancelled)
        _cancel();
    if (_fault.kind != Fault::Kind::killed)
        return true;
    _isDead = true;
    throw Killed();
}

inline bool Steps::onDisk(const std::string& step)
{
    // What a destructor does while the stack unwinds would not have happened.
    if (_isDead)
        return false;
    const bool isDue = this->isDue();
    const bool needsRoom = !step.starts_with("remove") && !step.starts_with("move") &&
                           !step.starts_with("rename") && !step.starts_with("synchronize");
    if (_fault.kind == Fault::Kind::full)
        return _count < _fault.step || !needsRoom;
    return !isDue || _fault.kind != Fault::Kind::fails;
}

inline void Steps::elsewhere()
{
    if (!_isDead)
        isDue();
}

}  // namespace kt::test
