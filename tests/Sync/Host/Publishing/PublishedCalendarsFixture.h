#pragma once

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Publishing/PublishedCalendarReader.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {

/// The reader before a server whose calendar "C1" a test shares and fills.
class PublishedCalendars : public testing::Test {
protected:
    std::vector<PublishedHead> heads()
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).heads();
    }
    std::optional<PublishedCalendar> calendar(const std::string& key = "C1")
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).calendar(key);
    }
    std::optional<std::string> state()
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).state("C1");
    }

    PlatformScope platform;
    FilledServer server;
};

}  // namespace kt::test
