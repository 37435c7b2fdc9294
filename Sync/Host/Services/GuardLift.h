#pragma once

#include "Sync/Foundation/Platform.h"

namespace kt {

/// Lifts the write guard for the length of a scope: for what a host writes of its own while the
/// plug-in behind the guard may only read.
class GuardLift {
public:
    GuardLift() { Platform::shared().setWriteGuarded(false); }
    ~GuardLift() { Platform::shared().setWriteGuarded(_before); }
    GuardLift(const GuardLift&) = delete;
    GuardLift& operator=(const GuardLift&) = delete;

private:
    bool _before = Platform::shared().isWriteGuarded();
};

}  // namespace kt
