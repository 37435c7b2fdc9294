#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Text.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingFileLogger.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {

/// What the text layer finds around it: a zone, the host's classes, a file logger that records.
struct CalendarTextScope {
    explicit CalendarTextScope(std::string home = "/nonexistent/home") : platform(std::move(home))
    {}

    std::vector<std::string> lossReasons() const { return classes.lossReasons(); }

    PlatformScope platform;
    HostClassesScope classes;
    RecordingFileLogger logger;
};

class CalendarTextTest : public testing::Test, protected CalendarTextScope {};

template <class Row>
class CalendarTextTable : public testing::TestWithParam<Row>, protected CalendarTextScope {};

/// The lines of a text as the loader cuts it. They point into the text.
inline LineList linesOf(std::string_view text)
{
    return LineList(componentsSeparatedByString(text, "\r\n"));
}

inline std::vector<std::string> texts(const LineList& lines)
{
    return {lines.begin(), lines.end()};
}

}  // namespace kt::test
