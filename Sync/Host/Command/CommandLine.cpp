#include "Sync/Host/Command/CommandLine.h"

#include <memory>
#include <utility>

#include <CLI/CLI.hpp>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

namespace {

constexpr std::string_view kMoreHelp = "Mehr dazu: icalsync --help\n";

std::shared_ptr<CLI::Formatter> germanFormatter()
{
    auto formatter = std::make_shared<CLI::Formatter>();
    formatter->label("Usage", "Aufruf");
    formatter->label("OPTIONS", "OPTIONEN");
    formatter->label("SUBCOMMAND", "BEFEHL");
    formatter->label("SUBCOMMANDS", "BEFEHLE");
    formatter->label("Subcommand", "Befehl");
    formatter->label("Subcommands", "Befehle");
    formatter->label("Positionals", "Angaben");
    formatter->label("REQUIRED", "(nötig)");
    formatter->column_width(28);
    return formatter;
}

/// An option that takes one text; given twice, the last one counts.
CLI::Option* addText(CLI::App& app, const std::string& name, std::optional<std::string>& target,
                     const std::string& kind, const std::string& help)
{
    return app.add_option(name, target, help)
        ->type_name(kind)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

std::vector<int> systemVersions()
{
    std::vector<int> versions;
    for (const HomeLayoutVersion& row : kHomeLayouts)
        versions.push_back(row.systemVersion);
    return versions;
}

void addGeneralOptions(CLI::App& app, CommandLine& line)
{
    app.set_help_flag("-h,--help", "zeigt diese Hilfe");
    addText(app, "--home", line.home, "ORDNER", "Heimordner (sonst der eigene)");
    app.add_option("--system-version", line.systemVersion,
                   "4 oder 5: Ablage wie unter 10.4 oder 10.5 (sonst die vorgefundene)")
        ->type_name("VERSION")
        ->check(CLI::IsMember(systemVersions()))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    addText(app, "--server", line.server, "ADRESSE",
            "Server, sqlite:DATEI (sonst eine Datei im Ordner der Suite)");
    addText(app, "--device", line.device, "NAME", "Name des Geräts (sonst der des Rechners)");
    addText(app, "--config", line.config, "DATEI",
            "Einstellungen (sonst icalsync.toml im Ordner der Suite)");
    addText(app, "--plugin", line.plugin, "ORDNER", "Plug-in (sonst das neben dem Programm)");
    app.add_flag("--json", line.json, "Ergebnisse als JSON");
    app.add_flag("--events", line.events, "Protokoll und Fortschritt als JSON, je Zeile eines");
    app.add_flag("-q,--quiet", line.quiet, "zeigt weder Protokoll noch Fortschritt");
}

CLI::App* addCommand(CLI::App& app, CommandLine& line, CommandName command, const char* name,
                     const char* help)
{
    CLI::App* added = app.add_subcommand(name, help);
    added->callback([&line, command] { line.command = command; });
    added->option_defaults()->group("Optionen");
    added->set_help_flag("-h,--help", "zeigt diese Hilfe");
    added->fallthrough();  // general options may stand behind the command
    added->group("Befehle");
    return added;
}

CLI::App* addCalendarCommand(CLI::App& app, CommandLine& line, CommandName command,
                             const char* name, const char* help)
{
    CLI::App* added = addCommand(app, line, command, name, help);
    added->add_option("KEY", line.calendarKey, "Schlüssel des Kalenders, siehe calendars")
        ->type_name("")
        ->required();
    return added;
}

void addPublishingCommands(CLI::App& app, CommandLine& line)
{
    CLI::App* publish = addCalendarCommand(app, line, CommandName::publish, "publish",
                                           "veröffentlicht einen Kalender");
    publish->add_flag("--tasks", line.publishTasks, "auch seine Aufgaben");
    publish->add_flag("--no-events", line.leaveEventsOut, "ohne seine Ereignisse");
    publish->add_flag("--anonymize", line.anonymize, "zeigt nur, wann etwas ist");
    addCalendarCommand(app, line, CommandName::unpublish, "unpublish",
                       "hebt die Veröffentlichung eines Kalenders auf");
    CLI::App* serve = addCommand(app, line, CommandName::serve, "serve",
                                 "zeigt die öffentlichen Kalender im Netz");
    addText(*serve, "--listen", line.listen, "ADRESSE", "Adresse (sonst 127.0.0.1)");
    serve->add_option("--port", line.port, "Port (sonst 8080); 0 nimmt einen freien")
        ->type_name("PORT")
        ->check(CLI::Range(0, 65535))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void addBackupName(CLI::App& app, CommandLine& line)
{
    app.add_option("NAME", line.backupName,
                   "Name, sein Anfang oder die Nummer; \"letzte\" für die neueste")
        ->type_name("")
        ->required();
}

void addBackupCommands(CLI::App& app, CommandLine& line)
{
    CLI::App* backups =
        addCommand(app, line, CommandName::backups, "backups", "zeigt die Sicherungskopien");
    CLI::App* show =
        addCommand(*backups, line, CommandName::backups, "show", "zeigt, was in einer steht");
    addBackupName(*show, line);
    CLI::App* restore = addCommand(app, line, CommandName::restore, "restore",
                                   "holt eine Sicherungskopie zurück, ganz oder gar nicht");
    addBackupName(*restore, line);
    restore->add_option("--calendar", line.calendarKey, "nur diesen Kalender, siehe backups show")
        ->type_name("KEY")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void addCommands(CLI::App& app, CommandLine& line)
{
    CLI::App* sync =
        addCommand(app, line, CommandName::sync, "sync", "synchronisiert die Kalender");
    sync->add_flag("--full", line.fullSync, "vergleicht alles, nicht nur das Neue");
    sync->add_flag("--from-server", line.wishes.fromServer,
                   "überschreibt die lokalen Kalender mit denen vom Server");
    CLI::Option* dryRun =
        sync->add_flag("--dry-run", line.wishes.dryRun, "zeigt, was geschähe, und ändert nichts");
    sync->add_flag("--accept-losses", line.wishes.acceptLosses,
                   "schreibt über Unlesbares, was davon zuletzt bekannt war");
    sync->add_flag("--allow-mass-delete", line.wishes.allowMassDelete,
                   "erlaubt, mehr als die Hälfte zu löschen");
    sync->add_flag("--put-back", line.wishes.storeIsPutBack,
                   "die Kalender stammen aus einer älteren Kopie: nichts gilt als gelöscht")
        ->excludes(dryRun);
    addCommand(app, line, CommandName::calendars, "calendars", "zeigt die Kalender");
    addCommand(app, line, CommandName::records, "records", "zeigt die Datensätze als JSON")
        ->add_flag("--count", line.countOnly, "nur ihre Zahl");
    CLI::App* check = addCommand(app, line, CommandName::check, "check",
                                 "zeigt, was nicht oder nicht in allem gelesen wird, und warum");
    check->add_flag("--repair", line.repair,
                    "benennt Kalenderordner nach ihrem Schlüssel, nach einer Sicherungskopie");
    check->add_flag("--dry-run", line.wishes.dryRun,
                    "zeigt mit --repair, was geschähe, und ändert nichts");
    addBackupCommands(app, line);
    addCommand(app, line, CommandName::enable, "enable", "schaltet die Synchronisierung ein");
    addCommand(app, line, CommandName::disable, "disable", "schaltet die Synchronisierung aus");
    addCalendarCommand(app, line, CommandName::on, "on",
                       "nimmt einen Kalender in die Synchronisierung auf");
    addCalendarCommand(app, line, CommandName::off, "off", "nimmt einen Kalender aus ihr heraus");
    addPublishingCommands(app, line);
}

/// What an error of the library is about: the option in its text, else the name at its beginning.
std::string subject(const CLI::ParseError& error)
{
    const std::string text = error.what();
    const std::size_t option = text.find("--");
    const std::size_t begin = option == std::string::npos ? 0 : option;
    return text.substr(begin, text.find_first_of(": =", begin) - begin);
}

std::string complaint(const CLI::App& app, const CLI::ParseError& error)
{
    const auto extras = app.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !extras.empty())
        return stringWithFormat("Unbekannte Angabe: %@", extras.front());
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        if (!app.get_subcommands().empty())
            return stringWithFormat("Es fehlt: %@", subject(error));
        return extras.empty() ? std::string("Es fehlt ein Befehl.")
                              : stringWithFormat("Unbekannter Befehl: %@", extras.front());
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        return stringWithFormat("Bei %@ fehlt der Wert.", subject(error));
    return stringWithFormat("Ungültiger Wert bei %@.", subject(error));
}

}  // namespace

std::variant<CommandLine, UsageAnswer> parsedCommandLine(int argumentCount,
                                                         const char* const* arguments)
{
    CommandLine line;
    CLI::App app("Hält die Kalender von iCal über einen Server auf gleichem Stand.", "icalsync");
    app.formatter(germanFormatter());
    app.option_defaults()->group("Optionen");
    addGeneralOptions(app, line);
    addCommands(app, line);
    app.require_subcommand(1, 1);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
        return UsageAnswer{ExitCode::done, app.help()};
    } catch (const CLI::ParseError& error) {
        return UsageAnswer{ExitCode::wrongUsage,
                           complaint(app, error) + "\n" + std::string(kMoreHelp)};
    }
    return line;
}

}  // namespace kt
