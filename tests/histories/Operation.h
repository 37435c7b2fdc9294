#pragma once

#include <string>
#include <vector>

#include <rapidcheck.h>

namespace kt::test {

/// What people, machines and bad luck do to a device.
enum class Do {
    addItem,
    edit,
    move,
    remove,
    detach,  // one occurrence of a series becomes an item of its own
    addCalendar,
    subscribe,
    removeCalendar,  // unless it is switched off
    removeAnyCalendar,
    rename,
    recolor,
    reorder,
    toggle,
    addGroup,
    putIntoGroup,  // or takes it out
    renameGroup,
    removeGroup,
    breakItem,      // its text cannot be read until somebody mends it
    breakFile,      // a file of items is none
    breakCalendar,  // neither is a calendar's description
    mend,
    copyStore,
    putStoreBack,
    restoreBackup,
    copyState,
    putStateBack,
    copyServer,
    putServerBack,
    sync,
    syncOffline,
    syncFully,
    syncAcceptingLosses,
    syncFailing,
    syncWithoutRoom,
    syncKilled,
    syncCancelled,
};

/// One thing that happens. Which calendar, item or field is meant is a number, taken modulo what
/// there is when it happens, so that every list of operations means something.
struct Operation {
    Do what = Do::sync;
    int device = 0;
    int first = 0;   // which one; of a run with a fault, its step
    int second = 0;  // what of it
};

/// As it is written in a test: "{Do::edit, 1, 5, 3}".
std::string description(const Operation& operation);

struct History {
    int devices = 2;  // every other one has the older layout
    std::vector<Operation> operations;
};

/// As it is written in a test, a line an operation.
std::string description(const History& history);

/// The same text read again; what it does not know it passes over.
History historyInText(const std::string& text);

rc::Gen<History> histories();

}  // namespace kt::test
