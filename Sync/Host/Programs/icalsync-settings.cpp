#include <QApplication>
#include <algorithm>
#include <cstdio>
#include <string_view>
#include <variant>
#include <vector>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Qt/FailureBox.h"
#include "Sync/Host/Qt/GermanTexts.h"
#include "Sync/Host/Qt/SettingsWindow.h"
#include "Sync/Host/Qt/SettingsWorkplace.h"

namespace {

using Words = std::vector<const char*>;

constexpr const char* kHelp =
    "Aufruf: icalsync-settings [--home ORDNER] [--system-version 4|5] [--server ADRESSE]\n"
    "                          [--device NAME] [--config DATEI] [--plugin ORDNER]\n\n"
    "Zeigt die Kalender eines Heimordners: welche synchronisiert werden, welche\n"
    "veröffentlicht sind, und was eine Synchronisierung gerade tut.\n"
    "Die Angaben bedeuten dasselbe wie bei icalsync.\n";

bool asksForHelp(const Words& words)
{
    return std::any_of(words.begin(), words.end(),
                       [](std::string_view word) { return word == "-h" || word == "--help"; });
}

/// Understood as icalsync understands them, whose syncs get them as they are. What may stand only
/// behind its command is refused by the second try; the first one has the better words for a value
/// that is missing.
std::variant<kt::CommandLine, kt::UsageAnswer> understood(const Words& words)
{
    Words before = words;
    before.insert(before.begin() + 1, "sync");
    auto line = kt::parsedCommandLine(static_cast<int>(before.size()), before.data());
    if (std::holds_alternative<kt::UsageAnswer>(line))
        return line;
    Words behind = words;
    behind.push_back("sync");
    return kt::parsedCommandLine(static_cast<int>(behind.size()), behind.data());
}

void tell(std::FILE* stream, const std::string& text) { std::fputs(text.c_str(), stream); }

/// For who started the program from a menu as well as for who looks at a terminal.
int failed(const kt::Exception& exception, kt::ExitCode exitCode)
{
    tell(stderr, exception.reason() + "\n");
    kt::FailureBox(exception.reason()).exec();
    return static_cast<int>(exitCode);
}

int showWindow(const kt::Place& place, const QStringList& arguments)
{
    kt::SettingsWorkplace workplace(place);
    kt::SettingsWindow window(workplace,
                              {QApplication::applicationDirPath() + QStringLiteral("/icalsync"),
                               arguments});
    window.show();
    return QApplication::exec();
}

}  // namespace

int main(int argumentCount, char** argumentWords)
{
    const Words words(argumentWords, argumentWords + argumentCount);
    if (asksForHelp(words)) {
        tell(stdout, kHelp);
        return static_cast<int>(kt::ExitCode::done);
    }
    const auto line = understood(words);
    if (const auto* usage = std::get_if<kt::UsageAnswer>(&line)) {
        tell(stderr, usage->text);
        return static_cast<int>(usage->exitCode);
    }
    QStringList given;
    for (std::size_t i = 1; i < words.size(); ++i)
        given << QString::fromLocal8Bit(words[i]);

    const QApplication application(argumentCount, argumentWords);
    kt::GermanTexts german;
    QApplication::installTranslator(&german);
    kt::Place place;
    try {
        place = kt::placeForCommandLine(std::get<kt::CommandLine>(line));
    } catch (const kt::Exception& exception) {
        return failed(exception, kt::ExitCode::wrongUsage);
    }
    try {
        return showWindow(place, given);
    } catch (const kt::Exception& exception) {
        return failed(exception, kt::ExitCode::failed);
    }
}
