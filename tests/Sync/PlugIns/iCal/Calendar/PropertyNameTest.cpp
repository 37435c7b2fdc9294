#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/PropertyName.h"

namespace kt {
namespace {

constexpr std::string_view kNumbered[] = {"ACTION",    "ALLDAY",      "ATTACH",   "ATTENDEE",
                                          "COMPLETED", "DESCRIPTION", "DTEND",    "DTSTAMP",
                                          "DTSTART",   "DUE",         "DURATION", "EXDATE",
                                          "LOCATION",  "ORGANIZER",   "PRIORITY", "RRULE",
                                          "SEQUENCE",  "STATUS",      "SUMMARY",  "RECURRENCE-ID",
                                          "TRANSP",    "TRIGGER",     "UID",      "URL"};

TEST(PropertyName, HasANumberOfItsOwnWhenItemsAreMadeOfIt)
{
    std::set<int> numbers;
    for (const std::string_view text : kNumbered) {
        const PropertyName name(text);
        EXPECT_TRUE(name.isNumbered()) << text;
        EXPECT_LT(name.number(), PropertyName::kNumbers);
        EXPECT_EQ(name.text(), text);
        numbers.insert(name.number());
    }
    EXPECT_EQ(numbers.size(), PropertyName::kNumbers - 1);
}

TEST(PropertyName, IsTheSameInTheCodeAndInAFile)
{
    constexpr PropertyName kInCode = "RECURRENCE-ID";
    EXPECT_EQ(kInCode.number(), PropertyName(std::string("RECURRENCE-ID")).number());
    EXPECT_NE(kInCode.number(), PropertyName("RRULE").number());
}

TEST(PropertyName, HasNoNumberOtherwise)
{
    for (const std::string_view text : {"", "X-A", "CREATED", "summary", "SUMMARY ", "SUMMARYY",
                                        "UIDD", "UD", "DTSTART;TZID=A"}) {
        EXPECT_FALSE(PropertyName(text).isNumbered()) << text;
        EXPECT_EQ(PropertyName(text).text(), text);
    }
}

TEST(PropertyName, IsToldFromWhatStandsInItsPlaceOfTheTable)
{
    // Length, first and last character are those of a name, and nothing else is.
    EXPECT_FALSE(PropertyName(std::string_view("U\0D", 3)).isNumbered());
    for (const std::string_view text : {"UXD", "SXXXXXY", "DXXXXXT", "AXXXXN"})
        EXPECT_FALSE(PropertyName(text).isNumbered()) << text;
}

}  // namespace
}  // namespace kt
