#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RewriteProof.h"
#include "Sync/Host/Engine/SeenUpdate.h"
#include "Sync/Host/Engine/Settling.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

// The store's records after the rewrite become what was seen, if nobody touched the store since and
// all that was handed out is there.
bool SyncSession::finishSettling()
{
    const SettlingCheck& check = *_setting.options.settling;
    SyncRunSummary& summary = _setting.summary;
    const bool isUntouched =
        check.currentFingerprint && check.currentFingerprint() == check.notedFingerprint;
    if (!isUntouched || !_knowledge->facts().mark) {
        summary.settlement = Settlement::storeChanged;
        return true;
    }
    std::vector<std::string> hashes;
    GivenRecords given;
    hashes.reserve(_localRecords.size());
    given.reserve(_localRecords.size());
    for (const SyncRecord& record : _localRecords) {
        hashes.push_back(record ? contentHash(record->record()) : "");
        if (record)
            given.add({record->conduit(), record->recordKey()}, record, hashes.back());
    }
    const std::vector<HandedRecord> handed = handedState(_setting.state, *_knowledge, given);
    const auto agreedKeys =
        pairWithHanded(_localRecords, handed,
                       keysByIdentity(_localRecords, _places, handed, *_knowledge), Looks::count);
    leaveOutWhatWasUnread(check, agreedKeys);
    const SyncRecordList none;
    summary.unproved = faultsOfRewrite(handed,
                                       {_localRecords, agreedKeys,
                                        _keptRecords ? *_keptRecords : none, _keptNames, _places},
                                       check.losses);
    if (!summary.unproved.empty() || !lossesOfKind(check.losses, KTLoss::Kind::unwritten).empty()) {
        summary.settlement = Settlement::unproved;
        return true;
    }
    // Until all of this is stored.
    summary.settlement = Settlement::notStored;
    makeSeen(agreedKeys, hashes);
    writeKept();
    StateFacts facts = _knowledge->facts();
    writeUnreadTexts(facts);
    _setting.state.clearPushed();
    facts.mark = std::nullopt;
    facts.isPutBack = false;
    facts.anchor = facts.anchorAfterSettling;
    facts.anchorAfterSettling = 0;
    _setting.state.setFacts(facts);
    _setting.state.commit();
    summary.settlement = Settlement::settled;
    summary.settled = true;
    return true;
}

// What stood unread beside the rewrite and can be read after it, as the second of two events that
// looked alike, was nobody's so far: the next run finds it new. It stands for nothing that was
// written either.
void SyncSession::leaveOutWhatWasUnread(const SettlingCheck& check,
                                        const std::vector<std::optional<std::string>>& agreedKeys)
{
    std::set<std::pair<std::string, std::string>> components;  // file and UID
    std::set<std::string> files;
    for (const KTLoss& loss : check.losses) {
        const bool stayed = loss.kind == KTLoss::Kind::unread &&
                            std::find(check.overwritten.begin(), check.overwritten.end(), loss) ==
                                check.overwritten.end();
        if (stayed && loss.extent == KTLoss::Extent::component)
            components.emplace(_places.relative(loss.file), loss.uid);
        else if (stayed && loss.extent == KTLoss::Extent::file)
            files.insert(_places.relative(loss.file));
    }
    if (components.empty() && files.empty())
        return;
    for (std::size_t index = 0; index < _localRecords.size(); ++index) {
        SyncRecord& record = _localRecords[index];
        if (!record || agreedKeys[index] || record->conduit() == kConduitCalendar)
            continue;
        const StorePlace place = _places.of(*record);
        if (files.count(place.file) != 0 || components.count({place.file, place.uid}) != 0)
            record = nullptr;
    }
}

void SyncSession::makeSeen(const std::vector<std::optional<std::string>>& agreedKeys,
                           const std::vector<std::string>& hashes)
{
    std::map<std::pair<RecordId, std::optional<std::string>>, const SeenRow*> rows;
    for (const SeenRow& row : _knowledge->seen())
        rows.emplace(std::make_pair(row.local, row.agreedKey), &row);
    std::vector<SeenTarget> targets;
    for (std::size_t index = 0; index < _localRecords.size(); ++index) {
        const SyncRecord& record = _localRecords[index];
        if (!record)
            continue;
        const auto row =
            rows.extract({{record->conduit(), record->recordKey()}, agreedKeys[index]});
        targets.push_back({record, hashes[index], _places.of(*record), agreedKeys[index],
                           row.empty() ? nullptr : row.mapped()});
    }
    SeenRemainder remainder{_keptCalendars, false, {}};
    for (const auto& [id, row] : rows) {
        if (isRowUnread(*row))
            remainder.untouched.insert(row);
    }
    noteRenamed(targets);
    moveSeen(_setting.state, *_knowledge, targets, remainder,
             Platform::shared().localTimeZoneName());
}

// Of what a rewrite brought and is nobody's nothing else is remembered.
bool SyncSession::isRowUnread(const SeenRow& row) const
{
    if (row.agreedKey)
        return _knowledge->unreadRow(UnreadRow::Whose::agreed,
                                     {row.local.conduit, *row.agreedKey}) != nullptr;
    return !_texts->empty() &&
           _texts->claimOn(knownRecord(row, *_knowledge, *_texts)) != UnreadClaim::none;
}

}  // namespace kt
