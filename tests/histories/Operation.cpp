#include "tests/histories/Operation.h"

#include <regex>
#include <utility>

namespace kt::test {

namespace {

constexpr int kMostDevices = 5;
constexpr int kMostOperations = 80;
constexpr int kNumbers = 64;  // from which which and what are taken

struct Row {
    Do what;
    const char* name;
    std::size_t weight;
};

constexpr Row kRows[] = {
    {Do::addItem, "addItem", 22},
    {Do::edit, "edit", 22},
    {Do::move, "move", 3},
    {Do::remove, "remove", 6},
    {Do::detach, "detach", 4},
    {Do::addCalendar, "addCalendar", 4},
    {Do::subscribe, "subscribe", 1},
    {Do::removeCalendar, "removeCalendar", 1},
    {Do::removeAnyCalendar, "removeAnyCalendar", 1},
    {Do::rename, "rename", 2},
    {Do::recolor, "recolor", 1},
    {Do::reorder, "reorder", 1},
    {Do::toggle, "toggle", 5},
    {Do::addGroup, "addGroup", 1},
    {Do::putIntoGroup, "putIntoGroup", 3},
    {Do::renameGroup, "renameGroup", 1},
    {Do::removeGroup, "removeGroup", 1},
    {Do::breakItem, "breakItem", 4},
    {Do::breakFile, "breakFile", 3},
    {Do::breakCalendar, "breakCalendar", 2},
    {Do::mend, "mend", 2},
    {Do::copyStore, "copyStore", 2},
    {Do::putStoreBack, "putStoreBack", 1},
    {Do::restoreBackup, "restoreBackup", 1},
    {Do::copyState, "copyState", 2},
    {Do::putStateBack, "putStateBack", 1},
    {Do::copyServer, "copyServer", 2},
    {Do::putServerBack, "putServerBack", 1},
    {Do::sync, "sync", 30},
    {Do::syncOffline, "syncOffline", 1},
    {Do::syncFully, "syncFully", 1},
    {Do::syncAcceptingLosses, "syncAcceptingLosses", 1},
    {Do::syncFailing, "syncFailing", 2},
    {Do::syncWithoutRoom, "syncWithoutRoom", 2},
    {Do::syncKilled, "syncKilled", 4},
    {Do::syncCancelled, "syncCancelled", 1},
};

/// Each as often in the list as its weight says.
rc::Gen<Do> anything()
{
    std::vector<Do> all;
    for (const Row& row : kRows)
        all.insert(all.end(), row.weight, row.what);
    return rc::gen::elementOf(std::move(all));
}

rc::Gen<Operation> operations()
{
    return rc::gen::build<Operation>(rc::gen::set(&Operation::what, anything()),
                                     rc::gen::set(&Operation::device,
                                                  rc::gen::inRange(0, kMostDevices)),
                                     rc::gen::set(&Operation::first, rc::gen::inRange(0, kNumbers)),
                                     rc::gen::set(&Operation::second,
                                                  rc::gen::inRange(0, kNumbers)));
}

}  // namespace

std::string description(const Operation& operation)
{
    std::string name;
    for (const Row& row : kRows)
        if (row.what == operation.what)
            name = row.name;
    return "{Do::" + name + ", " + std::to_string(operation.device) + ", " +
           std::to_string(operation.first) + ", " + std::to_string(operation.second) + "}";
}

std::string description(const History& history)
{
    std::string text = "{" + std::to_string(history.devices) + ",\n {";
    for (const Operation& operation : history.operations)
        text += description(operation) + ",\n  ";
    return text + "}}";
}

History historyInText(const std::string& text)
{
    History history;
    const std::regex devices("^\\{([0-9]+)");
    const std::regex operation("\\{Do::(\\w+), ([0-9]+), ([0-9]+), ([0-9]+)\\}");
    std::smatch found;
    if (std::regex_search(text, found, devices))
        history.devices = std::stoi(found[1]);
    for (std::sregex_iterator each(text.begin(), text.end(), operation), end; each != end; ++each)
        for (const Row& row : kRows)
            if ((*each)[1] == row.name)
                history.operations.push_back({row.what, std::stoi((*each)[2]),
                                              std::stoi((*each)[3]), std::stoi((*each)[4])});
    return history;
}

rc::Gen<History> histories()
{
    return rc::gen::build<History>(
        rc::gen::set(&History::devices,
                     rc::gen::resize(rc::kNominalSize, rc::gen::inRange(2, kMostDevices + 1))),
        rc::gen::set(&History::operations,
                     rc::gen::resize(kMostOperations,
                                     rc::gen::container<std::vector<Operation>>(
                                         rc::gen::resize(rc::kNominalSize, operations())))));
}

}  // namespace kt::test
