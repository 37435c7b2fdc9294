#include "tests/histories/Verdict.h"

#include <map>
#include <set>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "tests/histories/ItemMaker.h"
#include "tests/histories/World.h"

namespace kt::test {

namespace {

using Fields = std::map<std::string, std::string>;

/// What a record is known by on every device: an item's token, a calendar's title.
std::string nameOf(const KTSyncRecord& record)
{
    const Value& notes = record.record()["Notes"];
    if (record.conduit() == kConduitCalendar || !notes.isString())
        return record.conduit() + " " + record.record()["Title"].description();
    const std::string text(notes.string());
    return record.conduit() + " " + text.substr(0, text.find('#', 1) + 1);
}

bool isOfLayout(const std::string& conduit, const std::string& field)
{
    static const std::set<std::string> ofCalendars{"SourceKey", "Order", "Notes", "Subscriber",
                                                   "SubscriberData"};
    // A stamp alone is no change, and is not sent.
    return field == "ParentRecordKey" || field == "Timezone" || field == "DateStamp" ||
           (conduit == kConduitCalendar && ofCalendars.count(field) != 0);
}

/// Of a subscription, which each layout keeps in its own way.
std::string addressIn(const Dictionary& record)
{
    if (record["Subscriber"].isDictionary())
        return record["Subscriber"].dictionary()["SubscriptionURL"].description();
    if (record["SubscriberData"].isNil())
        return "";
    const auto settings = unarchiveObjectWithData(record["SubscriberData"].data().bytes);
    return settings ? settings->dictionary()["RemoteURL"].description() : "unreadable";
}

/// Occurrences stand in a file in one order or another.
std::string inAnyOrder(const Array& dates)
{
    std::multiset<std::string> texts;
    for (const Value& date : dates)
        texts.insert(date.description());
    std::string text;
    for (const std::string& each : texts)
        text += each + " ";
    return text;
}

std::map<std::string, Fields> fieldsOf(const Device& device)
{
    std::map<std::string, std::string> titles;
    for (const SyncRecord& record : device.records())
        if (record->conduit() == kConduitCalendar)
            titles[record->recordKey()] = record->record()["Title"].description();
    std::map<std::string, Fields> all;
    for (const SyncRecord& record : device.records()) {
        Fields& fields = all[nameOf(*record)];
        fields["address"] = addressIn(record->record());
        if (record->conduit() != kConduitCalendar)
            fields["calendar"] = titles[record->recordParentKey().value_or("")];
        else if (record->recordParentKey().value_or(record->recordKey()) != record->recordKey())
            fields["group"] = titles[*record->recordParentKey()];
        for (const auto& [field, value] : record->record())
            if (!isOfLayout(record->conduit(), field))
                fields[field] = field == "RecurrenceExceptionDates" ? inAnyOrder(value.array())
                                                                    : value.description();
    }
    return all;
}

std::string difference(const Fields& one, const Fields& other)
{
    std::string text;
    std::set<std::string> names;
    for (const auto& fields : {one, other})
        for (const auto& [name, value] : fields)
            names.insert(name);
    for (const std::string& name : names) {
        const auto here = one.find(name);
        const auto there = other.find(name);
        const std::string first = here == one.end() ? "(none)" : here->second;
        const std::string second = there == other.end() ? "(none)" : there->second;
        if (first != second)
            text += " " + name + ": " + first + " | " + second;
    }
    return text;
}

/// An occurrence and its series know each other only where they stand in one file. One that came
/// while its series could not be read stands in another.
bool isOfOneFile(const std::string& field)
{
    return field == "RecurrenceParentRecordKey" || field == "RecurrenceExceptionDates";
}

std::string unequalRecords(const World& world, const Device& one, const Device& other)
{
    auto first = fieldsOf(one);
    auto second = fieldsOf(other);
    if (world.hasHadDamages()) {
        for (auto* records : {&first, &second})
            for (auto& [name, fields] : *records)
                std::erase_if(fields, [](const auto& field) { return isOfOneFile(field.first); });
    }
    std::set<std::string> names;
    for (const auto& records : {first, second})
        for (const auto& [name, fields] : records)
            names.insert(name);
    std::string text;
    for (const std::string& name : names) {
        const auto here = first.find(name);
        const auto there = second.find(name);
        const std::string unlike =
            difference(here == first.end() ? Fields{{"there", "no"}} : here->second,
                       there == second.end() ? Fields{{"there", "no"}} : there->second);
        if (!unlike.empty())
            text += name + " on " + one.name() + " | " + other.name() + ":" + unlike + "\n";
    }
    return text;
}

std::string missingOrDoubled(Device& device, const std::map<int, bool>& ledger)
{
    std::map<int, int> counts;
    for (const auto& place : device.hand().items()) {
        for (const int token : tokensOf(place.item))
            ++counts[token];
    }
    std::string text;
    for (const auto& [token, mayBeGone] : ledger) {
        const int count = counts[token];
        if ((count == 0 && !mayBeGone) || count > 1)
            text += "#" + std::to_string(token) + " stands " + std::to_string(count) +
                    " times on " + device.name() + "\n";
    }
    return text;
}

std::string whatMovesWhenIdle(World& world)
{
    std::string text;
    std::vector<std::map<std::string, std::string>> before;
    for (const auto& device : world.devices())
        before.push_back(device->disk().description("/"));
    const std::int64_t head = world.head();
    world.syncAll();
    for (std::size_t index = 0; index < before.size(); ++index)
        for (const auto& [path, line] : world.devices()[index]->disk().description("/"))
            if (before[index][path] != line)
                text +=
                    "an idle run moves " + path + " on " + world.devices()[index]->name() + "\n";
    if (world.head() != head)
        text += "an idle run writes to the server\n";
    return text;
}

std::string whatIsWrong(World& world)
{
    if (!world.comeToRest())
        return "does not come to rest\n" + world.runsThatFailed();
    std::string text = whatMovesWhenIdle(world);
    if (!world.runsThatFailed().empty())
        text += "a run fails at the end:\n" + world.runsThatFailed();
    for (const auto& device : world.devices())
        text += missingOrDoubled(*device, world.ledger());
    for (std::size_t index = 1; index < world.devices().size(); ++index)
        text += unequalRecords(world, *world.devices().front(), *world.devices()[index]);
    return text;
}

}  // namespace

Verdict play(const History& history)
{
    World world(history.devices);
    for (const Operation& operation : history.operations)
        world.perform(operation);
    Verdict verdict;
    verdict.fault = whatIsWrong(world);
    verdict.story = world.story() + world.recordsOnServer();
    std::string bytes;
    for (const auto& device : world.devices())
        for (const auto& [path, line] : device->disk().description("/"))
            bytes += path + " " + line + "\n";
    verdict.digest = sha256DigestHex(bytes);
    return verdict;
}

}  // namespace kt::test
