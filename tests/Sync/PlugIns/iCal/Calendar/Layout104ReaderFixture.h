#pragma once

#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"

namespace kt::test {

class Layout104Reader : public Store104Fixture {
protected:
    /// The line that the reader writes about a node.
    static std::string lineAbout(std::string_view format, const Dictionary& node)
    {
        return stringWithFormat(format, node);
    }
    /// Nothing of this layout's reader goes to the system log.
    void expectOnHostOnly(const std::string& line) const
    {
        EXPECT_THAT(helper.messages(), ::testing::Contains(line));
        EXPECT_THAT(platform.consoleLines(), ::testing::IsEmpty());
    }
};

}  // namespace kt::test
