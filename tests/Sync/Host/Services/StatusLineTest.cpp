#include <cstdlib>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "Sync/Host/Services/StatusLine.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using Detail = StatusLine::Detail;
using test::TemporaryFolder;
using testing::EndsWith;
using testing::HasSubstr;

/// A terminal of 20 columns that shows what a program writes, line ends unchanged.
class Terminal {
public:
    Terminal()
    {
        ::grantpt(_master);
        ::unlockpt(_master);
        _slave = ::open(::ptsname(_master), O_RDWR | O_NOCTTY);
        winsize size{};
        size.ws_col = 20;
        ::ioctl(_slave, TIOCSWINSZ, &size);
        termios settings{};
        ::tcgetattr(_slave, &settings);
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        ::tcsetattr(_slave, TCSANOW, &settings);
    }
    ~Terminal()
    {
        ::close(_slave);
        ::close(_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int descriptor() const { return _slave; }
    /// What has been written since the last call. A terminal hands on what it was given in its own
    /// time, so a mark is sent behind it.
    std::string shown() const
    {
        constexpr char kMark = '\x04';
        std::string text;
        if (::write(_slave, &kMark, 1) != 1)
            return "no terminal";
        for (char character = 0; ::read(_master, &character, 1) == 1 && character != kMark;)
            text += character;
        return text;
    }

private:
    int _master = ::posix_openpt(O_RDWR | O_NOCTTY);
    int _slave = -1;
};

TEST(StatusLine, RedrawsOneLineOnATerminal)
{
    const Terminal terminal;
    StatusLine line(terminal.descriptor(), Detail::all);
    line.setStatus("Laden...");
    EXPECT_EQ(terminal.shown(), "\r\x1b[KLaden...");
    line.setProgress("Privat", 2, 3);
    EXPECT_EQ(terminal.shown(), "\r\x1b[KLaden... 'Privat' (");
    line.clear();
    EXPECT_EQ(terminal.shown(), "\r\x1b[K");
}

TEST(StatusLine, KeepsBelowTheLogOnATerminal)
{
    const Terminal terminal;
    StatusLine line(terminal.descriptor(), Detail::all);
    line.setStatus("Laden...");
    terminal.shown();
    line.print("Kalender: Privat");
    EXPECT_EQ(terminal.shown(), "\r\x1b[KKalender: Privat\n\r\x1b[KLaden...");
}

TEST(StatusLine, LetsNoTitleSteerTheTerminal)
{
    const Terminal terminal;
    StatusLine line(terminal.descriptor(), Detail::all);
    line.print(
        "a\x1b[2Jb\x07"
        "c");
    EXPECT_EQ(terminal.shown(), "a [2Jb c\n");
}

TEST(StatusLine, PutsALineBreakOfTheStatusIntoTheLine)
{
    const Terminal terminal;
    StatusLine line(terminal.descriptor(), Detail::all);
    line.setStatus("3 Kal.\n1 Aufg.");
    EXPECT_THAT(terminal.shown(), EndsWith("3 Kal., 1 Aufg."));
}

TEST(StatusLine, CleansUpWhenItGoes)
{
    const Terminal terminal;
    StatusLine(terminal.descriptor(), Detail::all).setStatus("Laden...");
    EXPECT_THAT(terminal.shown(), EndsWith("\r\x1b[K"));
}

class StatusLineInAFile : public testing::Test {
protected:
    ~StatusLineInAFile() override { ::close(descriptor); }
    std::string shown() const { return folder.read("stderr").value_or(""); }

    TemporaryFolder folder;
    int descriptor = ::open(folder.path("stderr").c_str(), O_RDWR | O_CREAT, 0600);
};

TEST_F(StatusLineInAFile, WritesPlainLinesWithoutATerminal)
{
    StatusLine line(descriptor, Detail::all);
    line.setStatus("iCal-Kalender laden...");
    line.setProgress("Privat", 1, 2);
    line.print("Ereignisse laden fuer Kalender: 'Privat'");
    line.clear();
    EXPECT_EQ(shown(),
              "iCal-Kalender laden...\n'Privat' (1 von 2)\n"
              "Ereignisse laden fuer Kalender: 'Privat'\n");
}

TEST_F(StatusLineInAFile, ShowsWarningsOnlyWhenAskedTo)
{
    StatusLine line(descriptor, Detail::warnings);
    line.setStatus("iCal-Kalender laden...");
    line.setProgress("Privat", 1, 2);
    line.print("Zeile");
    line.warn("Warnung");
    EXPECT_EQ(shown(), "Warnung\n");
}

TEST_F(StatusLineInAFile, WritesOneJsonObjectALineForAProgram)
{
    StatusLine line(descriptor, Detail::events);
    line.setStatus("3 Kalender\n1 Ereignis");
    line.setProgress("\"Privat\"", 1, 2);
    line.print("Zeile\nzwei");
    line.warn("Warnung \xFF");
    line.clear();
    EXPECT_EQ(shown(),
              "{\"status\":\"3 Kalender\\n1 Ereignis\"}\n"
              "{\"step\":{\"current\":1,\"title\":\"\\\"Privat\\\"\",\"total\":2}}\n"
              "{\"log\":\"Zeile\\nzwei\"}\n"
              "{\"log\":\"Warnung \uFFFD\"}\n");
}

struct FitRow {
    const char* text;
    std::size_t columns;
    const char* fitted;
};
class FittedToColumns : public testing::TestWithParam<FitRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, FittedToColumns,
                         testing::Values(FitRow{"abc", 3, "abc"}, FitRow{"abcd", 3, "abc"},
                                         FitRow{"", 3, ""}, FitRow{"abc", 0, ""},
                                         FitRow{"äöü", 2, "äö"}, FitRow{"日本", 3, "日"},
                                         FitRow{"日本", 4, "日本"}, FitRow{"🎄x", 2, "🎄"},
                                         FitRow{"a\nb\tc", 9, "a b c"},
                                         FitRow{"a\xC2\x9B"
                                                "b",
                                                9, "a b"},
                                         FitRow{"a\xFF"
                                                "b",
                                                9, "a?b"}));

TEST_P(FittedToColumns, Fits)
{
    EXPECT_EQ(fittedToColumns(GetParam().text, GetParam().columns), GetParam().fitted);
}

}  // namespace
}  // namespace kt
