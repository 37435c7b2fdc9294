#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/SyncEngine.h"
#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {

/// What the engine's rules are tested with: two homes in step, and ways to change one of them. Each
/// file of tests takes the rules of one concern; rules that are tables or stand in a file of their
/// own are tested there.
class SyncEngineRules : public SyncEngineFixture {
protected:
    using Wishes = MemoryHome::Wishes;

    static Wishes broken(Break at)
    {
        Wishes wishes;
        wishes.breakAt = at;
        return wishes;
    }

    static Wishes full()
    {
        Wishes wishes;
        wishes.isFull = true;
        return wishes;
    }

    /// Two homes that have "Privat" with a dentist and a shopping list in step, and "Arbeit" with a
    /// meeting. One layout each, unless a test is about files of one item.
    void givenTwoHomes(Layout layoutOfB = Layout::tiger);

    /// What another program, or another version of this one, puts on the server.
    void writeToServer(const RecordId& id, const Dictionary& record);
    /// What the server holds of a record now, a deleted one's last content included.
    Dictionary recordOnServer(const RecordId& id);

    static Dictionary& fields(MemoryHome& home, const std::string& calendar,
                              const std::string& title)
    {
        return home.store.item(calendar, title)->fields;
    }
};

}  // namespace kt::test
