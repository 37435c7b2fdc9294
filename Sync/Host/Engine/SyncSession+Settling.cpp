#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RewriteProof.h"
#include "Sync/Host/Engine/SeenUpdate.h"
#include "Sync/Host/Engine/Settling.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

namespace {

// The rows of what was seen, each to be taken by the one record that is what it was.
class SeenRows {
public:
    explicit SeenRows(const Knowledge& knowledge)
        : _knowledge(knowledge),
          _isTaken(knowledge.seen().size())
    {
        for (const SeenRow& row : knowledge.seen()) {
            if (!row.agreedKey)
                _nobodys.emplace(row.local, &row);
        }
    }

    // Null when no row is left that says so.
    const SeenRow* take(const KTSyncRecord& record, const std::optional<std::string>& agreedKey)
    {
        const RecordId local{record.conduit(), record.recordKey()};
        const SeenRow* row =
            agreedKey ? _knowledge.seenOfAgreed({local.conduit, *agreedKey}) : nobodysRow(local);
        if (row == nullptr || _isTaken[_knowledge.numberOf(*row)])
            return nullptr;
        _isTaken[_knowledge.numberOf(*row)] = true;
        return row;
    }

    std::vector<const SeenRow*> rest() const
    {
        std::vector<const SeenRow*> rows;
        for (const SeenRow& row : _knowledge.seen()) {
            if (!_isTaken[_knowledge.numberOf(row)])
                rows.push_back(&row);
        }
        return rows;
    }

private:
    const SeenRow* nobodysRow(const RecordId& local) const
    {
        const auto found = _nobodys.find(local);
        return found == _nobodys.end() ? nullptr : found->second;
    }

    const Knowledge& _knowledge;
    std::vector<bool> _isTaken;
    std::unordered_map<RecordIdView, const SeenRow*, RecordIdHash> _nobodys;  // the first of each
};

// Unread texts of a run that stayed where they stood.
class TextsThatStayed {
public:
    TextsThatStayed(const SettlingCheck& check, const StorePlaces& places)
    {
        for (const KTLoss& loss : check.losses) {
            if (loss.kind == KTLoss::Kind::unread &&
                std::find(check.overwritten.begin(), check.overwritten.end(), loss) ==
                    check.overwritten.end())
                add(loss, places.relative(loss.file));
        }
    }

    bool empty() const
    {
        return _components.empty() && _files.empty() && _folders.empty() && _calendars.empty();
    }

    // Whether the record may have been in one of them.
    bool mayHold(const KTSyncRecord& record, const StorePlace& place) const
    {
        const bool isCalendar = record.conduit() == kConduitCalendar;
        const std::string calendar =
            isCalendar ? record.recordKey() : record.recordParentKey().value_or("");
        const bool isInFolder =
            std::any_of(_folders.begin(), _folders.end(), [&](const std::string& folder) {
                return place.file == folder || place.file.starts_with(folder + '/');
            });
        if (isInFolder || _calendars.count(calendar) != 0)
            return true;
        return !isCalendar &&
               (_files.count(place.file) != 0 || _components.count({place.file, place.uid}) != 0);
    }

private:
    void add(const KTLoss& loss, const std::string& file)
    {
        switch (loss.extent) {
        case KTLoss::Extent::component:
            _components.emplace(file, loss.uid);
            break;
        case KTLoss::Extent::file:
            _files.insert(file);
            break;
        case KTLoss::Extent::calendar:
            if (!loss.calendarKey.empty())
                _calendars.insert(loss.calendarKey);
            if (!file.empty())
                _folders.insert(file.ends_with(kInfoFile) ? file.substr(0, file.rfind('/')) : file);
            break;
        }
    }

    static constexpr std::string_view kInfoFile = "/Info.plist";

    std::set<std::pair<std::string, std::string>> _components;  // file and UID
    std::set<std::string> _files;
    std::set<std::string> _folders;    // of calendars
    std::set<std::string> _calendars;  // local keys
};

// What most records of a settled store are agreed under.
GivenRecords givenUnderOwnKeys(const SyncRecordList& records,
                               const std::vector<std::string>& hashes)
{
    GivenRecords given;
    given.reserve(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (const SyncRecord& record = records[index])
            given.add({record->conduit(), record->recordKey()}, record, hashes[index]);
    }
    return given;
}

}  // namespace

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
    if (!settleRecords()) {
        summary.settlement = Settlement::unproved;
        return true;
    }
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

// Only what does not stand as it stood, where the rest of a store can say what became of that: 15 %
// of a run in which one record in a hundred comes down.
bool SyncSession::settleRecords()
{
    if (auto rest = recordsThatDoNotStand()) {
        const SyncRecordList all = std::exchange(_localRecords, std::move(rest->records));
        _knowledge.emplace(_setting.state, rest->knowledge);
        if (proveAndMakeSeen())
            return true;
        _localRecords = all;
        _knowledge.emplace(_setting.state);
    }
    return proveAndMakeSeen();
}

// What may be anybody's, and what is missing, can only be told from everything.
std::optional<StandingRecords::Rest> SyncSession::recordsThatDoNotStand() const
{
    const StandingRecords* standing = _setting.standing;
    const std::vector<KTLoss>& losses = _setting.options.settling->losses;
    const bool isPlain = std::all_of(losses.begin(), losses.end(), [](const KTLoss& loss) {
        return loss.kind == KTLoss::Kind::thinned;
    });
    if (standing == nullptr || standing->empty() || !isPlain || !_texts->empty() ||
        (_keptRecords && !_keptRecords->empty()) ||
        standing->stateVersion() != _setting.state.versionOfOthers())
        return std::nullopt;
    StandingRecords::Rest rest = standing->restOf(_localRecords, _places);
    // One after the other costs more than all at once.
    constexpr std::size_t kFew = 64;
    const bool isFew =
        rest.records.size() + rest.knowledge.seen.size() < std::max(kFew, _localRecords.size() / 4);
    return isFew ? std::optional(std::move(rest)) : std::nullopt;
}

bool SyncSession::proveAndMakeSeen()
{
    const SettlingCheck& check = *_setting.options.settling;
    std::vector<std::string> hashes;
    hashes.reserve(_localRecords.size());
    for (const SyncRecord& record : _localRecords)
        hashes.push_back(record ? contentHash(record->record()) : "");
    const auto agreedKeys = proveRewrite(hashes);
    if (!_setting.summary.unproved.empty() ||
        !lossesOfKind(check.losses, KTLoss::Kind::unwritten).empty())
        return false;
    // Until all of this is stored.
    _setting.summary.settlement = Settlement::notStored;
    makeSeen(agreedKeys, hashes);
    return true;
}

// Of a session that has to think of more than records, nothing is said to stand.
StandingRecords SyncSession::standing() const
{
    const bool isPlain = _local && _hasBase && !_isHeld && !_facts.hasMark && !_isPastLost &&
                         _texts->empty() && _knowledge->unread().empty() &&
                         _knowledge->untaken().empty() && _knowledge->kept().empty() &&
                         (!_keptRecords || _keptRecords->empty()) && _moved.empty();
    if (!isPlain)
        return {};
    const std::string timezone = Platform::shared().localTimeZoneName();
    const auto isUntouched = [&](const LocalRecord& local) {
        return local.seen != nullptr && !local.isLeftOver &&
               local.agreedId.conduit != kConduitCalendar && _outcomes.count(local.agreedId) == 0 &&
               isAsSeen({*local.record, local.hash, local.place, local.agreedId.key, local.seen},
                        timezone);
    };
    StandingRecords standing(_stateVersion);
    std::vector<bool> stands(_knowledge->agreed().size());
    std::vector<bool> isSeen(_knowledge->seen().size());
    for (const LocalRecord& local : _local->all()) {
        const AgreedRow* agreed =
            isUntouched(local) ? _knowledge->agreedRow(local.agreedId) : nullptr;
        if (agreed == nullptr || stands[_knowledge->numberOf(*agreed)])
            continue;
        stands[_knowledge->numberOf(*agreed)] = true;
        isSeen[_knowledge->numberOf(*local.seen)] = true;
        standing.add(local);
    }
    KnowledgePart other;
    for (const AgreedRow& row : _knowledge->agreed()) {
        if (!stands[_knowledge->numberOf(row)])
            other.agreed.push_back(row.id);
    }
    for (const auto& [id, outcome] : _outcomes)
        other.agreed.push_back(id);
    for (const SeenRow& row : _knowledge->seen()) {
        if (!isSeen[_knowledge->numberOf(row)])
            other.seen.push_back(row.row);
    }
    standing.setOther(std::move(other));
    return standing;
}

// Compares what was handed out with what came back, and says what each record is agreed as.
std::vector<std::optional<std::string>> SyncSession::proveRewrite(
    const std::vector<std::string>& hashes)
{
    const SettlingCheck& check = *_setting.options.settling;
    const std::vector<HandedRecord> handed =
        handedState(_setting.state, *_knowledge, givenUnderOwnKeys(_localRecords, hashes));
    auto agreedKeys =
        pairWithHanded(_localRecords, handed,
                       keysByIdentity(_localRecords, _places, handed, *_knowledge), Looks::count);
    leaveOutWhatWasUnread(check, agreedKeys);
    const SyncRecordList none;
    _setting.summary.unproved =
        faultsOfRewrite(handed,
                        {_localRecords, agreedKeys, _keptRecords ? *_keptRecords : none, _keptNames,
                         _places},
                        check.losses);
    leaveOutWhatWasKept(handed, agreedKeys);
    return agreedKeys;
}

// What stood unread beside the rewrite and can be read after it, as the second of two events that
// looked alike, or a whole calendar once its disk answers again, was nobody's so far: the next run
// finds it new. It stands for nothing that was written either.
void SyncSession::leaveOutWhatWasUnread(const SettlingCheck& check,
                                        const std::vector<std::optional<std::string>>& agreedKeys)
{
    const TextsThatStayed texts(check, _places);
    if (texts.empty())
        return;
    for (std::size_t index = 0; index < _localRecords.size(); ++index) {
        SyncRecord& record = _localRecords[index];
        if (record && !agreedKeys[index] && texts.mayHold(*record, _places.of(*record)))
            record = nullptr;
    }
}

// A calendar that is switched on, and was missing in an older copy of the store, came back with
// what was kept of it. That takes part from now on: the next run finds it new.
void SyncSession::leaveOutWhatWasKept(const std::vector<HandedRecord>& handed,
                                      const std::vector<std::optional<std::string>>& agreedKeys)
{
    RecordIdSet kept;
    for (const HandedRecord& record : handed) {
        if (record.isKept())
            kept.insert(
                {record.id.conduit, keyBeforeNumber(record.id.key).value_or(record.id.key)});
    }
    for (std::size_t index = 0; index < _localRecords.size() && !kept.empty(); ++index) {
        SyncRecord& record = _localRecords[index];
        if (record && !agreedKeys[index] &&
            kept.count({record->conduit(), record->recordKey()}) != 0)
            record = nullptr;
    }
}

void SyncSession::makeSeen(const std::vector<std::optional<std::string>>& agreedKeys,
                           const std::vector<std::string>& hashes)
{
    SeenRows rows(*_knowledge);
    SeenUpdate update(_setting.state, *_knowledge, Platform::shared().localTimeZoneName());
    for (std::size_t index = 0; index < _localRecords.size(); ++index) {
        const SyncRecord& record = _localRecords[index];
        if (!record)
            continue;
        update.take({*record, hashes[index], _places.of(*record), agreedKeys[index],
                     rows.take(*record, agreedKeys[index])});
    }
    SeenRemainder remainder{_switchedOff, false, {}};
    for (const SeenRow* row : rows.rest()) {
        if (isRowUnread(*row))
            remainder.untouched.insert(row);
    }
    update.finish(remainder);
    tellOfRenamed(update);
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
