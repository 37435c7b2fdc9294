#include <QMenu>

#include "Sync/Host/Qt/FailureBox.h"
#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// The texts of a menu without the keys behind them.
std::vector<std::string> textsOf(const QMenu& menu)
{
    std::vector<std::string> texts;
    for (const QAction* action : menu.actions())
        if (!action->isSeparator())
            texts.push_back(action->text().section(QLatin1Char('\t'), 0, 0).toStdString());
    return texts;
}

using GermanWindow = WindowFixture;

TEST_F(GermanWindow, HasGermanMenusForItsLog)
{
    open();
    const std::unique_ptr<QMenu> menu(find<QPlainTextEdit>("log")->createStandardContextMenu());
    EXPECT_THAT(textsOf(*menu), ElementsAre("&Kopieren", "Alles auswählen"));
    EXPECT_THAT(menu->actions().front()->text().toStdString(), HasSubstr("Strg+C"));
}

TEST_F(GermanWindow, ShowsEverythingThatIsNotItsOwnTextAsItIsWritten)
{
    open();
    for (const char* name : {"home", "status", "noView", "title", "syncCalendarsStatusLabel",
                             "publicSharingStatusLabel"})
        EXPECT_EQ(find<QLabel>(name)->textFormat(), Qt::PlainText) << name;
}

TEST(GermanTexts, NameTheKeys)
{
    EXPECT_EQ(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R).toString(QKeySequence::NativeText),
              QStringLiteral("Strg+Umschalt+R"));
}

TEST(GermanTexts, LeaveOtherTextsAlone)
{
    EXPECT_EQ(QCoreApplication::translate("kt", "&Kopieren"), QStringLiteral("&Kopieren"));
    EXPECT_EQ(QCoreApplication::translate("QShortcut", "F5"), QStringLiteral("F5"));
}

TEST(FailureBox, ShowsTheLineAsItIs)
{
    const FailureBox box("Den Heimordner \"/<b>x</b>\" gibt es nicht.");
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(box.text(), QStringLiteral("Den Heimordner \"/<b>x</b>\" gibt es nicht."));
}

}  // namespace
}  // namespace kt::test
