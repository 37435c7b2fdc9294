// Which of what is missing the texts of a load may be.

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/UnreadTexts.h"

namespace kt {

// The claims of all texts on what is missing, while they are being found.
struct UnreadTexts::Claiming {
    Claiming(const UnreadTexts& unread, const std::vector<KnownRecord>& records,
             const Excluded& without)
        : texts(unread),
          missing(records),
          excluded(without),
          claims{std::vector<UnreadClaim>(missing.size(), UnreadClaim::none),
                 std::vector<bool>(unread._texts.size())}
    {}

    bool isCertain(std::size_t index) const
    {
        return claims.onRecords[index] == UnreadClaim::certain;
    }

    void claim(std::size_t text, std::size_t index, UnreadClaim how)
    {
        if (!isCertain(index))
            claims.onRecords[index] = how;
        claims.byTexts[text] = true;
    }

    void claimCertain()
    {
        std::unordered_map<std::string, std::size_t> calendars;  // claimed by which text
        for (std::size_t index = 0; index < missing.size(); ++index) {
            const auto ask = [&](std::size_t text) {
                if (excluded.count(text) != 0 ||
                    !texts.isCertain(texts._texts[text], missing[index]))
                    return;
                claim(text, index, UnreadClaim::certain);
                if (missing[index].isCalendar)
                    calendars.emplace(missing[index].calendar, text);
            };
            const StorePlace& place = missing[index].place;
            const auto [firstUid, lastUid] = texts._byUid.equal_range(place.uid);
            std::for_each(firstUid, lastUid, [&](const auto& entry) { ask(entry.second); });
            const auto [firstFile, lastFile] = texts._byFile.equal_range(place.file);
            std::for_each(firstFile, lastFile, [&](const auto& entry) { ask(entry.second); });
            std::for_each(texts._wholeCalendars.begin(), texts._wholeCalendars.end(), ask);
        }
        // What is missing with its calendar is where that is.
        for (std::size_t index = 0; index < missing.size(); ++index) {
            const auto calendar = calendars.find(missing[index].calendar);
            if (calendar != calendars.end() && !isCertain(index))
                claim(calendar->second, index, UnreadClaim::certain);
        }
    }

    // Of what is not told yet: the rest of the text's own file, if any of that is missing, else all
    // of its calendar.
    void claimPossible()
    {
        for (std::size_t index = 0; index < missing.size(); ++index) {
            if (missing[index].isCalendar || isCertain(index))
                continue;
            items.push_back(index);
            if (!missing[index].place.file.empty())
                itemsByFile[missing[index].place.file].push_back(index);
        }
        for (std::size_t text = 0; text < texts._texts.size(); ++text) {
            const Text& asking = texts._texts[text];
            if (asking.toldBy != ToldBy::nothing || excluded.count(text) != 0)
                continue;
            // A folder that is named after a calendar is that one and no other.
            if (asking.loss.extent == KTLoss::Extent::calendar && claims.byTexts[text])
                continue;
            if (asking.loss.extent == KTLoss::Extent::calendar)
                claimCalendars(text);
            else
                claimItems(text);
        }
    }

    void claimItems(std::size_t text)
    {
        const Text& asking = texts._texts[text];
        const auto ofFile = itemsByFile.find(asking.file);
        if (ofFile != itemsByFile.end()) {
            claimAmong(text, ofFile->second);
            return;
        }
        const Group group = groupOf(asking);
        const auto [alike, isFirst] = asked.try_emplace(group, text);
        if (isFirst)
            claimAmong(text, items);
        else
            claims.byTexts[text] = claims.byTexts[alike->second];
    }

    void claimAmong(std::size_t text, const std::vector<std::size_t>& candidates)
    {
        for (const std::size_t index : candidates) {
            if (texts.isPossible(texts._texts[text], missing[index]))
                claim(text, index, UnreadClaim::possible);
        }
    }

    void claimCalendars(std::size_t text)
    {
        std::unordered_set<std::string> calendars;
        for (std::size_t index = 0; index < missing.size(); ++index) {
            const bool isAsked = missing[index].isCalendar && !isCertain(index) &&
                                 texts.isPossible(texts._texts[text], missing[index]);
            if (!isAsked)
                continue;
            calendars.insert(missing[index].calendar);
            claim(text, index, UnreadClaim::possible);
        }
        for (const std::size_t index : items) {
            if (calendars.count(missing[index].calendar) != 0)
                claim(text, index, UnreadClaim::possible);
        }
    }

    const UnreadTexts& texts;
    const std::vector<KnownRecord>& missing;
    const Excluded& excluded;
    Claims claims;
    std::vector<std::size_t> items;  // not told yet
    std::unordered_map<std::string, std::vector<std::size_t>> itemsByFile;
    std::map<Group, std::size_t> asked;  // texts of which no more is known are all alike
};

UnreadTexts::Claims UnreadTexts::claimsOn(const std::vector<KnownRecord>& missing,
                                          const Excluded& excluded) const
{
    Claiming claiming(*this, missing, excluded);
    if (!_texts.empty() && !missing.empty()) {
        claiming.claimCertain();
        claiming.claimPossible();
    }
    return std::move(claiming.claims);
}

}  // namespace kt
