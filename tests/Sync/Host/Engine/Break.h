#pragma once

namespace kt::test {

/// Where a run is broken off.
enum class Break {
    nowhere,
    cancelBeforeSession,  // the user cancels while the store is loaded
    cancelBeforePush,     // ... or while records are compared
    killBeforeFinish,     // the process is gone, nothing is tidied up
    killAfterFinish,
    killInRewrite,
    killBeforeSettling,
    cancelBeforeRewrite,  // the user cancels when the session took effect
};

}  // namespace kt::test
