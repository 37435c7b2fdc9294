// Calendar files of many programs through text layer and item model.

#include <array>

#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CorpusFixture.h"

namespace kt::test {
namespace {

std::string asItIs(const std::string& text) { return text; }

/// Whether the loader is bound to take a file's items.
bool isLoadable(const std::string& text)
{
    return text.starts_with("BEGIN:VCALENDAR\r\n") && isReadableUTF8(text) &&
           text.find("\r\nEND:VCALENDAR\r\n") != std::string::npos &&
           text.find("\r\nBEGIN:") != std::string::npos;
}

/// An exception ends a calendar only for a property that is named here.
bool isAcceptedEnd(const std::vector<std::string>& fileLog)
{
    constexpr std::array<std::string_view, 3> kProperties{
        "Property:'RRULE",    // occurs twice
        "Property:'EXDATE",   // holds what is no date
        "Property:'DURATION"  // holds no digit
    };
    return std::any_of(fileLog.begin(), fileLog.end(), [&](const std::string& entry) {
        return entry.starts_with("filterICalValuesInComponents:") &&
               std::any_of(kProperties.begin(), kProperties.end(), [&](std::string_view property) {
                   return entry.find(property) != std::string::npos;
               });
    });
}

bool isRefused(const std::vector<std::string>& messages)
{
    return std::any_of(messages.begin(), messages.end(), [](const std::string& message) {
        return message.starts_with("Leere iCalendar-Datei fuer Kalender") ||
               message.starts_with("Fehlerhafte iCalendar-Datei fuer");
    });
}

struct Variant {
    std::string_view name;
    std::string (*convert)(const std::string&);
};

class CorpusVariant : public Corpus, public testing::WithParamInterface<Variant> {};
INSTANTIATE_TEST_SUITE_P(Variants, CorpusVariant,
                         testing::Values(Variant{"AsItIs", asItIs},
                                         Variant{"LineEndsConverted", withCRLF}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(CorpusVariant, EveryFileLoadsOrIsRefusedWithAMessage)
{
    std::size_t events = 0;
    for (const auto& file : corpusFiles()) {
        SCOPED_TRACE(file.string());
        const std::string text = GetParam().convert(contentOf(file));
        const auto made = loaded(text);
        if (!made) {
            EXPECT_TRUE(isAcceptedEnd(helper.fileLog()));
            EXPECT_TRUE(
                helper.messages().back().starts_with("[ICalCalendar loadEvents] fuer 'Privat': "));
        } else if (isLoadable(text)) {
            EXPECT_FALSE(isRefused(helper.messages()));
        } else if (!isReadableUTF8(text) || !text.starts_with("BEGIN:VCALENDAR\r\n")) {
            EXPECT_TRUE(isRefused(helper.messages()));
        }
        events += made ? made->events()->size() : 0;
    }
    EXPECT_GT(events, 0u);
}

TEST_F(Corpus, EveryComponentIsAnItemOrAnException)
{
    std::size_t items = 0;
    for (const auto& file : corpusFiles()) {
        SCOPED_TRACE(file.string());
        // Whatever it is, UTF-8 or not.
        const std::string text = withCRLF(contentOf(file)) + "\r\n";
        FileLines lines(text);
        KTFileLogger* const logger = helper.fileLogger();
        const auto make = [&](std::string_view name, const auto& body) {
            const auto components =
                KTSyncCalendarTools::findAndRemoveComponents(name, lines, logger);
            for (std::size_t index = 0; index < components.size(); ++index) {
                LineList component = components[index];
                try {
                    body(component);
                    ++items;
                } catch (const Exception&) {
                    EXPECT_FALSE(helper.fileLog().empty());
                }
            }
        };
        make("VEVENT", [&](LineList& component) {
            EXPECT_NE(
                KTSyncEvent::syncEventWithPluginHelper(&helper, kParentKey, component)->recordKey(),
                std::nullopt);
        });
        make("VTODO", [&](LineList& component) {
            EXPECT_NE(
                KTSyncTask::syncTaskWithPluginHelper(&helper, kParentKey, component)->recordKey(),
                std::nullopt);
        });
        helper.clear();
    }
    EXPECT_GT(items, 0u);
}

}  // namespace
}  // namespace kt::test
