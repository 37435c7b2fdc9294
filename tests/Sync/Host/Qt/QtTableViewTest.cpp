#include <QIcon>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QTreeView>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Qt/QtTableView.h"
#include "tests/Sync/Host/Qt/Application.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A list of names with a tick each.
class Names : public TableViewDataSource, public TableViewDelegate {
public:
    struct Name {
        std::string text;
        Value isTicked = 0;
        std::optional<std::string> color;
        std::optional<std::string> identity{};
    };

    std::optional<std::string> tableViewIdentityOfRow(TableView*, int row) override
    {
        return names.at(static_cast<std::size_t>(row)).identity;
    }
    int numberOfRowsInTableView(TableView*) override { return static_cast<int>(names.size()); }
    Value tableViewObjectValueForTableColumn(TableView*, const TableColumn& column,
                                             int row) override
    {
        ++questions;
        if (fails)
            throw Exception(NSGenericException, "mittendrin");
        const Name& name = names.at(static_cast<std::size_t>(row));
        return column.identifier == "tick" ? name.isTicked : Value(name.text);
    }
    void tableViewSetObjectValue(TableView*, const Value& value, const TableColumn& column,
                                 int row) override
    {
        edits.push_back(column.identifier + " " + std::to_string(row) + " " + value.description());
        names.at(static_cast<std::size_t>(row)).isTicked = value;
    }
    void tableViewSelectionDidChange() override
    {
        selections.push_back(table->selectedRow());
        if (whenSelected)
            whenSelected();
    }
    std::optional<std::string> tableViewColorForRow(TableView*, int row) override
    {
        return names.at(static_cast<std::size_t>(row)).color;
    }

    std::vector<Name> names;
    bool fails = false;
    int questions = 0;
    std::vector<std::string> edits;
    std::vector<int> selections;
    std::function<void()> whenSelected;
    TableView* table = nullptr;
};

class Table : public ::testing::Test {
protected:
    Table()
    {
        widget.setProperty("columnIdentifiers", QStringList{"tick", "name"});
        widget.setProperty("columnKinds", QStringList{"switch", "text"});
        widget.setProperty("columnTitles", QStringList{"An", "Name"});
        table = std::make_unique<QtTableView>(&widget);
        source.table = table.get();
        source.names = {{"Anna", 1, std::nullopt},
                        {"Berta", 0, "#0252D4"},
                        {"Clara", 0, "skyblue"}};
        table->setDelegate(&source);
        widget.show();
    }
    void connect()
    {
        table->setDataSource(&source);
        settle();
    }
    QVariant cell(int row, int column, int role = Qt::DisplayRole) const
    {
        return widget.model()->data(widget.model()->index(row, column), role);
    }
    bool isTicked(int row) const { return cell(row, 0, Qt::CheckStateRole) == Qt::Checked; }
    void click(int row, int column)
    {
        const QRect place = widget.visualRect(widget.model()->index(row, column));
        const QPoint point =
            column == 0 ? QPoint(place.left() + 10, place.center().y()) : place.center();
        QTest::mouseClick(widget.viewport(), Qt::LeftButton, Qt::NoModifier, point);
    }

    PlatformScope platform;
    Names source;
    QTreeView widget;
    std::unique_ptr<QtTableView> table;
};

TEST_F(Table, ShowsColumnsOfItsPropertiesAndCellsOfItsSource)
{
    connect();
    ASSERT_EQ(widget.model()->rowCount(), 3);
    ASSERT_EQ(widget.model()->columnCount(), 2);
    EXPECT_EQ(widget.model()->headerData(1, Qt::Horizontal), QStringLiteral("Name"));
    EXPECT_EQ(cell(1, 1), QStringLiteral("Berta"));
    EXPECT_TRUE(isTicked(0));
    EXPECT_FALSE(isTicked(1));
}

TEST_F(Table, ReadsItsSourceOnlyAfterTheEventAtHand)
{
    source.names.clear();
    table->setDataSource(&source);
    source.names = {{"Anna", 1, std::nullopt}};
    settle();
    EXPECT_EQ(widget.model()->rowCount(), 1);
}

TEST_F(Table, AsksItsSourceForNothingWhileItIsDrawn)
{
    connect();
    source.questions = 0;
    widget.repaint();
    widget.grab();
    EXPECT_EQ(source.questions, 0);
}

TEST_F(Table, IsEmptyWithoutASource)
{
    connect();
    table->setDataSource(nullptr);
    EXPECT_EQ(widget.model()->rowCount(), 0);
}

TEST_F(Table, TreatsWhatIsNoNumberAsNotTicked)
{
    source.names = {{"a", Value(), std::nullopt},
                    {"b", "1", std::nullopt},
                    {"c", true, std::nullopt}};
    connect();
    EXPECT_FALSE(isTicked(0));
    EXPECT_FALSE(isTicked(1));
    EXPECT_TRUE(isTicked(2));
}

TEST_F(Table, ShowsTheColourOfARowThatHasOne)
{
    source.names[0].color = "#FF0000AA";
    connect();
    for (const int row : {0, 1}) {
        const auto icon = cell(row, 1, Qt::DecorationRole).value<QIcon>();
        ASSERT_FALSE(icon.isNull());
        const QImage image = icon.pixmap(16, 16).toImage();
        EXPECT_EQ(image.pixelColor(image.rect().center()).name().toStdString(),
                  row == 0 ? "#ff0000" : "#0252d4");
    }
    EXPECT_FALSE(cell(2, 1, Qt::DecorationRole).isValid());
}

TEST_F(Table, TellsItsDelegateWhichRowIsSelected)
{
    connect();
    click(1, 1);
    click(2, 1);
    click(2, 1);
    EXPECT_THAT(source.selections, ElementsAre(1, 2));
    EXPECT_EQ(table->selectedRow(), 2);
}

TEST_F(Table, SelectsOneRowAtATimeWithTheArrowKeys)
{
    connect();
    widget.setCurrentIndex(widget.model()->index(0, 1));
    QTest::keyClick(&widget, Qt::Key_Down);
    EXPECT_EQ(table->selectedRow(), 1);
    EXPECT_EQ(widget.selectionModel()->selectedRows().size(), 1);
}

TEST_F(Table, HasNoSelectedRowAtFirst)
{
    connect();
    EXPECT_EQ(table->selectedRow(), -1);
}

TEST_F(Table, PutsATickIntoTheSourceAndShowsWhatThatMakesOfIt)
{
    connect();
    click(1, 0);
    EXPECT_THAT(source.edits, ElementsAre("tick 1 1"));
    EXPECT_TRUE(isTicked(1));
    click(1, 0);
    EXPECT_THAT(source.edits, ElementsAre("tick 1 1", "tick 1 0"));
    EXPECT_FALSE(isTicked(1));
}

TEST_F(Table, TurnsATickOverWithTheSpaceBarWhereverTheCursorStands)
{
    connect();
    for (const int column : {0, 1}) {
        widget.setCurrentIndex(widget.model()->index(2, column));
        QTest::keyClick(&widget, Qt::Key_Space);
    }
    EXPECT_THAT(source.edits, ElementsAre("tick 2 1", "tick 2 0"));
}

TEST_F(Table, CannotBeEditedElsewhere)
{
    connect();
    const QModelIndex name = widget.model()->index(0, 1);
    EXPECT_FALSE(widget.model()->setData(name, QStringLiteral("Dora"), Qt::EditRole));
    EXPECT_FALSE(widget.model()->setData(name, Qt::Checked, Qt::CheckStateRole));
    EXPECT_THAT(source.edits, IsEmpty());
}

TEST_F(Table, KeepsTheSelectionWhenItIsReadAgain)
{
    connect();
    click(1, 1);
    source.names[1].text = "Beate";
    source.names.push_back({"Dora", 0, std::nullopt});
    table->reloadData();
    EXPECT_EQ(cell(1, 1), QStringLiteral("Beate"));
    EXPECT_EQ(widget.model()->rowCount(), 4);
    EXPECT_EQ(table->selectedRow(), 1);
    EXPECT_THAT(source.selections, ElementsAre(1));
}

TEST_F(Table, TellsItsDelegateWhenTheSelectedRowIsGone)
{
    connect();
    click(2, 1);
    source.names.resize(1);
    table->reloadData();
    EXPECT_EQ(widget.model()->rowCount(), 1);
    EXPECT_NE(table->selectedRow(), 2);
    EXPECT_THAT(source.selections, ElementsAre(2, -1));
}

TEST_F(Table, KeepsTheSelectionWithARowThatGoesToAnotherPlace)
{
    source.names[1].identity = "b";
    connect();
    click(1, 1);
    source.names.insert(source.names.begin(), {"Anfang", 0, std::nullopt, "a"});
    table->reloadData();
    EXPECT_EQ(table->selectedRow(), 2);
    EXPECT_EQ(widget.currentIndex().row(), 2);
    EXPECT_THAT(source.selections, ElementsAre(1));
}

TEST_F(Table, LosesTheSelectionOfARowThatIsGoneThoughItsPlaceIsTaken)
{
    source.names[1].identity = "b";
    connect();
    click(1, 1);
    source.names[1].identity = "x";
    table->reloadData();
    settle();
    EXPECT_EQ(table->selectedRow(), -1);
    EXPECT_FALSE(widget.currentIndex().isValid());
    EXPECT_THAT(source.selections, ElementsAre(1, -1));
}

TEST_F(Table, TellsOfTheSelectionAgainWithADataSourceThatIsGivenAnew)
{
    connect();
    connect();
    EXPECT_THAT(source.selections, IsEmpty());
    click(1, 1);
    connect();
    EXPECT_THAT(source.selections, ElementsAre(1, 1));
}

TEST_F(Table, ShowsWhatItsDelegateMadeOfTheRowsWhenItWasTold)
{
    connect();
    source.whenSelected = [this] { source.names[1].text = "Berta (hier)"; };
    click(1, 1);
    settle();
    EXPECT_EQ(cell(1, 1), QStringLiteral("Berta (hier)"));
    source.whenSelected = [this] { source.names.resize(1); };
    click(2, 1);
    settle();
    EXPECT_EQ(widget.model()->rowCount(), 1);
    EXPECT_EQ(table->selectedRow(), -1);
}

struct FirstKey {
    int key;
    int row;
};

TEST_F(Table, BeginsTheSelectionWithTheKeysThatMoveTheCursor)
{
    connect();
    for (const FirstKey first :
         {FirstKey{Qt::Key_Down, 0}, FirstKey{Qt::Key_Up, 0}, FirstKey{Qt::Key_Home, 0},
          FirstKey{Qt::Key_End, 2}, FirstKey{Qt::Key_PageUp, 0}, FirstKey{Qt::Key_PageDown, 2}}) {
        widget.selectionModel()->clear();
        QTest::keyClick(&widget, static_cast<Qt::Key>(first.key));
        EXPECT_EQ(table->selectedRow(), first.row) << first.key;
    }
    source.names.clear();
    table->reloadData();
    QTest::keyClick(&widget, Qt::Key_Down);
    EXPECT_EQ(table->selectedRow(), -1);
}

TEST_F(Table, ShowsATitleWithTagsAsItIsWritten)
{
    source.names[0].text = "<b>Anna</b> & Co";
    connect();
    EXPECT_EQ(cell(0, 1), QStringLiteral("<b>Anna</b> & Co"));
    QTextDocument tip;
    tip.setHtml(cell(0, 1, Qt::ToolTipRole).toString());
    EXPECT_EQ(tip.toPlainText(), QStringLiteral("<b>Anna</b> & Co"));
    EXPECT_EQ(cell(1, 1, Qt::ToolTipRole), QStringLiteral("Berta"));
}

TEST_F(Table, LetsNoExceptionThroughTheEventLoop)
{
    source.fails = true;
    connect();
    EXPECT_EQ(widget.model()->rowCount(), 3);
    EXPECT_EQ(cell(0, 1), QStringLiteral("(null)"));
    ASSERT_FALSE(platform.consoleLines().empty());
    EXPECT_THAT(platform.consoleLines().front(),
                ::testing::AllOf(::testing::StartsWith("Nichtabgefangener Fehler in tableView:"),
                                 ::testing::HasSubstr("mittendrin")));
}

TEST_F(Table, SaysToAScreenReaderWhatIsTicked)
{
    source.names[0].text = "Anna ";
    connect();
    EXPECT_EQ(cell(0, 0, Qt::AccessibleTextRole), QStringLiteral("Anna, aktiv"));
    EXPECT_EQ(cell(1, 0, Qt::AccessibleTextRole), QStringLiteral("Berta, nicht aktiv"));
    EXPECT_EQ(cell(0, 1, Qt::AccessibleTextRole), QStringLiteral("Anna, aktiv"));
    EXPECT_EQ(cell(1, 1, Qt::AccessibleTextRole), QStringLiteral("Berta, nicht aktiv"));
}

TEST_F(Table, LeavesAnEmptyWidgetBehind)
{
    connect();
    click(1, 1);
    table.reset();
    settle();
    widget.grab();
    EXPECT_TRUE(widget.model() == nullptr || widget.model()->rowCount() == 0);
    QTest::keyClick(&widget, Qt::Key_Space);
    EXPECT_THAT(source.edits, IsEmpty());
}

}  // namespace
}  // namespace kt::test
