#pragma once

#include "Sync/HostInterface/KTClassTable.h"

namespace kt::test {

/// A table of host classes for the length of a scope; the one that was there before is put back.
class ClassesInForce {
public:
    explicit ClassesInForce(const KTClassTable& table) : _before(hostClassTable())
    {
        setHostClassTable(table);
    }
    ~ClassesInForce() { setHostClassTable(_before); }
    ClassesInForce(const ClassesInForce&) = delete;
    ClassesInForce& operator=(const ClassesInForce&) = delete;

private:
    KTClassTable _before;
};

}  // namespace kt::test
