#include "Sync/PlugIns/iCal/Calendar/StoodParts.h"

#include <algorithm>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

using Part = StoodParts::Part;
using Parts = StoodParts::Parts;

/// The value as the writer meant it. Where its fold cut the key, the reader takes the rest of the
/// key for part of the value.
std::string writtenValue(const Part& part)
{
    const bool isKeyCut = !part.text.substr(part.key.size()).starts_with(':');
    if (!isKeyCut)
        return part.value;
    const std::string line = std::string(part.key) + part.value;
    const std::size_t key = KTSyncCalendarTools::propertyKeyInLine(line).size();
    return line.substr(std::min(key + 1, line.size()));
}

/// The stored part of each written one, of several with one value in their order.
std::vector<const Part*> storedByValue(const Parts& stored, const Parts& written)
{
    std::unordered_map<std::string_view, std::deque<const Part*>> byValue;
    for (const Part* part : stored)
        byValue[part->value].push_back(part);
    std::vector<const Part*> found(written.size());
    for (std::size_t index = 0; index < written.size(); ++index) {
        const auto same = byValue.find(writtenValue(*written[index]));
        if (same == byValue.end() || same->second.empty())
            continue;
        found[index] = same->second.front();
        same->second.pop_front();
    }
    return found;
}

/// How many parts of one component are in the other as well.
std::ptrdiff_t commonParts(const ComponentText& one, const ComponentText& other)
{
    return std::count_if(one.parts().begin(), one.parts().end(), [&](const Part& part) {
        const Parts& named = other.partsNamed(part.name);
        return std::any_of(named.begin(), named.end(),
                           [&](const Part* each) { return each->text == part.text; });
    });
}

}  // namespace

StoodParts::StoodParts(const Parts& stored, const Parts& written, const Parts& wanted)
    : _isTaken(written.size()),
      _origins(wanted.size())
{
    const bool areComponents = !wanted.empty() && wanted.front()->isComponent();
    if (!areComponents)
        _storedOf = storedByValue(stored, written);
    else if (stored.size() == written.size())
        _storedOf.assign(stored.begin(), stored.end());
    else
        _storedOf.resize(written.size());
    pairSame(written, wanted);
    if (areComponents)
        pairChanged(written, wanted);
}

void StoodParts::pairSame(const Parts& written, const Parts& wanted)
{
    std::unordered_map<std::string_view, std::deque<std::size_t>> byText;
    for (std::size_t index = 0; index < written.size(); ++index)
        byText[written[index]->text].push_back(index);
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        const auto same = byText.find(wanted[index]->text);
        if (same == byText.end() || same->second.empty())
            continue;
        const std::size_t origin = same->second.front();
        same->second.pop_front();
        _isTaken[origin] = true;
        _origins[index] = {_storedOf[origin], written[origin], true};
    }
}

void StoodParts::pairChanged(const Parts& written, const Parts& wanted)
{
    constexpr std::size_t kMany = 100;  // are not worth comparing each with each
    if (written.size() > kMany || wanted.size() > kMany)
        return;
    std::deque<ComponentText> candidates;
    for (const Part* part : written)
        candidates.emplace_back(part->text);
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        if (_origins[index].isSame)
            continue;
        const ComponentText text(wanted[index]->text);
        std::ptrdiff_t most = 0;
        std::size_t origin = written.size();
        for (std::size_t candidate = 0; candidate < written.size(); ++candidate) {
            const std::ptrdiff_t common =
                _isTaken[candidate] ? 0 : commonParts(text, candidates[candidate]);
            if (common > most || (common == most && common > 0 && candidate == index)) {
                most = common;
                origin = candidate;
            }
        }
        if (origin == written.size())
            continue;
        _isTaken[origin] = true;
        _origins[index] = {_storedOf[origin], written[origin], false};
    }
}

}  // namespace kt
