#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Command/CommandLine.h"

namespace kt {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::variant<CommandLine, UsageAnswer> parsed(std::vector<const char*> words)
{
    words.insert(words.begin(), "icalsync");
    return parsedCommandLine(static_cast<int>(words.size()), words.data());
}

CommandLine lineFrom(std::vector<const char*> words)
{
    const auto result = parsed(std::move(words));
    const auto* line = std::get_if<CommandLine>(&result);
    EXPECT_NE(line, nullptr) << std::get<UsageAnswer>(result).text;
    return line == nullptr ? CommandLine{} : *line;
}

struct NameRow {
    std::vector<const char*> words;
    CommandName command;
};
class CommandNames : public testing::TestWithParam<NameRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, CommandNames,
                         testing::Values(NameRow{{"sync"}, CommandName::sync},
                                         NameRow{{"calendars"}, CommandName::calendars},
                                         NameRow{{"records"}, CommandName::records},
                                         NameRow{{"check"}, CommandName::check},
                                         NameRow{{"backups"}, CommandName::backups},
                                         NameRow{{"backups", "show", "N"}, CommandName::backups},
                                         NameRow{{"restore", "N"}, CommandName::restore},
                                         NameRow{{"enable"}, CommandName::enable},
                                         NameRow{{"disable"}, CommandName::disable},
                                         NameRow{{"on", "K"}, CommandName::on},
                                         NameRow{{"off", "K"}, CommandName::off}));

TEST_P(CommandNames, AreUnderstood)
{
    EXPECT_EQ(lineFrom(GetParam().words).command, GetParam().command);
}

TEST(CommandLine, OptionsStandBeforeOrAfterTheCommand)
{
    for (const auto& words : {std::vector<const char*>{"--home", "/h", "--json", "sync", "--full"},
                              std::vector<const char*>{"sync", "--full", "--home", "/h", "--json"},
                              std::vector<const char*>{"--json", "sync", "--home=/h", "--full"}}) {
        const CommandLine line = lineFrom(words);
        EXPECT_EQ(line.home, "/h");
        EXPECT_TRUE(line.json);
        EXPECT_TRUE(line.fullSync);
    }
}

TEST(CommandLine, WithoutOptionsNothingIsWished)
{
    const CommandLine line = lineFrom({"sync"});
    EXPECT_EQ(line.home, std::nullopt);
    EXPECT_EQ(line.server, std::nullopt);
    EXPECT_EQ(line.device, std::nullopt);
    EXPECT_EQ(line.config, std::nullopt);
    EXPECT_EQ(line.plugin, std::nullopt);
    EXPECT_EQ(line.systemVersion, std::nullopt);
    EXPECT_FALSE(line.json || line.quiet || line.events || line.fullSync || line.countOnly);
    EXPECT_FALSE(line.wishes.fromServer || line.wishes.acceptLosses ||
                 line.wishes.allowMassDelete || line.wishes.dryRun);
}

TEST(CommandLine, EachOptionSetsItsOwn)
{
    const CommandLine line =
        lineFrom({"sync", "--from-server", "--dry-run", "--accept-losses", "--allow-mass-delete",
                  "--server", "sqlite:x", "--device", "Laptop", "--config", "c.toml", "--plugin",
                  "p.bundle", "--system-version", "4", "-q"});
    EXPECT_TRUE(line.wishes.fromServer && line.wishes.dryRun && line.wishes.acceptLosses &&
                line.wishes.allowMassDelete && line.quiet);
    EXPECT_EQ(line.server, "sqlite:x");
    EXPECT_EQ(line.device, "Laptop");
    EXPECT_EQ(line.config, "c.toml");
    EXPECT_EQ(line.plugin, "p.bundle");
    EXPECT_EQ(line.systemVersion, 4);
    EXPECT_TRUE(lineFrom({"sync", "--events"}).events);
    EXPECT_TRUE(lineFrom({"records", "--count"}).countOnly);
    EXPECT_EQ(lineFrom({"off", "KEY"}).calendarKey, "KEY");
    EXPECT_EQ(lineFrom({"backups", "show", "42", "--json"}).backupName, "42");
    EXPECT_EQ(lineFrom({"restore", "42", "--calendar", "KEY"}).backupName, "42");
    EXPECT_EQ(lineFrom({"restore", "42", "--calendar", "KEY"}).calendarKey, "KEY");
    EXPECT_TRUE(lineFrom({"check", "--repair"}).repair);
}

TEST(CommandLine, OfAnOptionGivenTwiceTheLastCounts)
{
    EXPECT_EQ(lineFrom({"--home", "a", "check", "--home", "b"}).home, "b");
}

TEST(CommandLine, HelpNamesEachCommandThatWorksAndNoOther)
{
    const auto help = std::get<UsageAnswer>(parsed({"--help"}));
    EXPECT_EQ(help.exitCode, ExitCode::done);
    for (const char* command : {"sync", "calendars", "records", "check", "backups", "restore",
                                "enable", "disable", "on", "off", "publish", "unpublish", "serve"})
        EXPECT_THAT(help.text, HasSubstr("\n  " + std::string(command) + " "));
    for (const char* later : {"watch", "export"})
        EXPECT_THAT(help.text, testing::Not(HasSubstr("\n  " + std::string(later) + " ")));
}

TEST(CommandLine, PublishingTakesAKeyAndItsChoices)
{
    const auto line =
        std::get<CommandLine>(parsed({"publish", "0a1b", "--tasks", "--no-events", "--anonymize"}));
    EXPECT_EQ(line.command, CommandName::publish);
    EXPECT_EQ(line.calendarKey, "0a1b");
    EXPECT_TRUE(line.publishTasks);
    EXPECT_TRUE(line.leaveEventsOut);
    EXPECT_TRUE(line.anonymize);
    EXPECT_EQ(std::get<UsageAnswer>(parsed({"publish"})).exitCode, ExitCode::wrongUsage);
}

TEST(CommandLine, ServingTakesAnAddressAndAPort)
{
    const auto line = std::get<CommandLine>(parsed({"serve", "--listen", "::1", "--port", "0"}));
    EXPECT_EQ(line.command, CommandName::serve);
    EXPECT_EQ(line.listen, "::1");
    EXPECT_EQ(line.port, 0);
    for (const char* port : {"-1", "65536", "http"})
        EXPECT_EQ(std::get<UsageAnswer>(parsed({"serve", "--port", port})).exitCode,
                  ExitCode::wrongUsage);
}

TEST(CommandLine, AComplaintSaysWhereToReadOn)
{
    const auto answer = std::get<UsageAnswer>(parsed({"tanzen"}));
    EXPECT_EQ(answer.exitCode, ExitCode::wrongUsage);
    EXPECT_THAT(answer.text, StartsWith("Unbekannter Befehl: tanzen\n"));
    EXPECT_THAT(answer.text, EndsWith("Mehr dazu: icalsync --help\n"));
}

}  // namespace
}  // namespace kt
