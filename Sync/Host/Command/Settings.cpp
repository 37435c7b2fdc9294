#include "Sync/Host/Command/Settings.h"

#include <string_view>
#include <utility>
#include <vector>

#include <toml++/toml.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

namespace {

/// Reads one file's table entry by entry, so that what nobody asked for can be named at the end.
class Reader {
public:
    Reader(toml::table& table, std::string prefix, const std::string& path)
        : _table(table),
          _prefix(std::move(prefix)),
          _path(path)
    {}

    std::optional<std::string> takeText(std::string_view key)
    {
        return take<std::string>(key, "ein Text");
    }

    std::optional<int> takeNumber(std::string_view key, int lowest, int highest)
    {
        const auto number = take<std::int64_t>(key, "eine Zahl");
        if (number && (*number < lowest || *number > highest))
            refuse(key, stringWithFormat("eine Zahl von %d bis %d", lowest, highest));
        if (!number)
            return std::nullopt;
        return static_cast<int>(*number);
    }

    /// A program and its arguments; empty when the key is absent.
    std::vector<std::string> takeCommand(std::string_view key)
    {
        constexpr std::string_view kExpected = "eine Liste von Texten";
        std::vector<std::string> command;
        const toml::node* node = _table.get(key);
        if (node == nullptr)
            return command;
        if (!node->is_array() || node->as_array()->empty())
            refuse(key, kExpected);
        for (const toml::node& element : *node->as_array()) {
            if (!element.is_string())
                refuse(key, kExpected);
            command.push_back(element.as_string()->get());
        }
        _table.erase(key);
        return command;
    }

    toml::table takeTable(std::string_view key)
    {
        toml::table inner;
        toml::node* node = _table.get(key);
        if (node == nullptr)
            return inner;
        if (!node->is_table())
            refuse(key, "ein Abschnitt");
        inner = std::move(*node->as_table());
        _table.erase(key);
        return inner;
    }

    void refuseTheRest() const
    {
        if (_table.empty())
            return;
        throw Exception(NSInvalidArgumentException,
                        stringWithFormat("%@: Unbekannte Einstellung \"%@%@\".", _path, _prefix,
                                         _table.begin()->first.str()));
    }

private:
    template <class T>
    std::optional<T> take(std::string_view key, std::string_view expected)
    {
        const toml::node* node = _table.get(key);
        if (node == nullptr)
            return std::nullopt;
        const auto value = node->value_exact<T>();
        if (!value)
            refuse(key, expected);
        _table.erase(key);
        return value;
    }

    [[noreturn]] void refuse(std::string_view key, std::string_view expected) const
    {
        throw Exception(NSInvalidArgumentException,
                        stringWithFormat("%@: Bei \"%@%@\" muss %@ stehen.", _path, _prefix, key,
                                         expected));
    }

    toml::table& _table;
    std::string _prefix;
    const std::string& _path;
};

toml::table tableFromFile(const std::string& path)
{
    const auto text = FileManager::defaultManager().contentsAtPath(path);
    if (!text)
        throw Exception(NSInvalidArgumentException,
                        stringWithFormat("Die Einstellungen \"%@\" können nicht gelesen werden.",
                                         path));
    try {
        return toml::parse(*text, path);
    } catch (const toml::parse_error& error) {
        throw Exception(NSInvalidArgumentException,
                        stringWithFormat("%@, Zeile %d: kein gültiges TOML.", path,
                                         static_cast<int>(error.source().begin.line)));
    }
}

CalendarProgram calendarProgram(toml::table table, const std::string& path)
{
    CalendarProgram program;
    Reader reader(table, "calendar-program.", path);
    constexpr int kLongest = 600;
    program.program = reader.takeText("program").value_or(program.program);
    program.quitCommand = reader.takeCommand("quit");
    program.launchCommand = reader.takeCommand("launch");
    if (const auto seconds = reader.takeNumber("quit-seconds", 0, kLongest))
        program.patience = std::chrono::seconds(*seconds);
    reader.refuseTheRest();
    return program;
}

PublicSite publicSite(toml::table table, const std::string& path)
{
    PublicSite site;
    Reader reader(table, "public-site.", path);
    constexpr int kLastPort = 65535;
    site.address = reader.takeText("address");
    site.listen = reader.takeText("listen").value_or(site.listen);
    site.port = reader.takeNumber("port", 0, kLastPort).value_or(site.port);
    reader.refuseTheRest();
    return site;
}

}  // namespace

Settings settingsFromFile(const std::string& path)
{
    toml::table table = tableFromFile(path);
    Reader reader(table, "", path);
    Settings settings;
    settings.home = reader.takeText("home");
    settings.server = reader.takeText("server");
    settings.device = reader.takeText("device");
    settings.plugin = reader.takeText("plugin");
    settings.systemVersion =
        reader.takeNumber("system-version", kOldestSystemVersion, kNewestSystemVersion);
    settings.calendarProgram = calendarProgram(reader.takeTable("calendar-program"), path);
    settings.site = publicSite(reader.takeTable("public-site"), path);
    reader.refuseTheRest();
    return settings;
}

}  // namespace kt
