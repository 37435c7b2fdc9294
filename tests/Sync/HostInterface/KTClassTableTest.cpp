#include <gtest/gtest.h>

#include "Sync/HostInterface/KTClassTable.h"

namespace kt {
namespace {

class First : public KTHostClass {
public:
    static constexpr std::string_view className = "First";
};
class Second : public KTHostClass {
public:
    static constexpr std::string_view className = "Second";
};

/// Puts the table back that was there before.
class ClassTable : public testing::Test {
protected:
    ~ClassTable() override { setHostClassTable(_before); }

private:
    KTClassTable _before = hostClassTable();
};

TEST_F(ClassTable, FindsAClassByItsNameAlone)
{
    First first;
    KTClassTable table;
    EXPECT_EQ(table.classNamed("First"), nullptr);
    table.setClass("First", &first);
    EXPECT_EQ(table.classNamed("First"), &first);
    EXPECT_EQ(table.classNamed("first"), nullptr);
}

TEST_F(ClassTable, ReplacesTheClassOfAName)
{
    First first;
    First other;
    KTClassTable table;
    table.setClass("First", &first);
    table.setClass("First", &other);
    EXPECT_EQ(table.classNamed("First"), &other);
}

TEST_F(ClassTable, IsInForceOnceItIsSet)
{
    First first;
    KTClassTable table;
    table.setClass("First", &first);
    setHostClassTable(table);
    EXPECT_EQ(NSClassFromString("First"), &first);
    EXPECT_EQ(hostClass<First>(), &first);
    EXPECT_EQ(hostClass<Second>(), nullptr);
    setHostClassTable({});
    EXPECT_EQ(hostClass<First>(), nullptr);
}

TEST_F(ClassTable, GivesNoClassOfAnotherKindUnderTheName)
{
    First first;
    KTClassTable table;
    table.setClass("Second", &first);
    setHostClassTable(table);
    EXPECT_EQ(NSClassFromString("Second"), &first);
    EXPECT_EQ(hostClass<Second>(), nullptr);
}

}  // namespace
}  // namespace kt
