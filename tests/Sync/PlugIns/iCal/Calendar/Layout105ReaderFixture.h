#pragma once

#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {

/// Reads the store of the temporary home.
class Layout105Reader : public StoreFixture {
protected:
    std::shared_ptr<KTSyncCalendar> readTitled(const std::string& title)
    {
        return titled(readStore(), title);
    }
    std::shared_ptr<KTSyncCalendar> readOne(const Dictionary& info,
                                            const std::string& folder = "A.calendar")
    {
        writeFolder(folder, info);
        const auto parsed = readStore();
        EXPECT_EQ(parsed.size(), 1u);
        return parsed.empty() ? nullptr : parsed.begin()->second;
    }
};

}  // namespace kt::test
