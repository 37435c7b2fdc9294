#include "Sync/Host/Engine/SyncEngine.h"

#include <algorithm>
#include <exception>
#include <tuple>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

namespace {

SyncRecord recordToHandOut(HandedRecord& handed)
{
    const SyncRecord& given = handed.given;
    if (given && given->recordType() == kRecordTypeRecord && given->recordKey() == handed.id.key &&
        given->recordParentKey() == handed.parentKey)
        return given;
    return std::make_shared<HostSyncRecord>(kRecordTypeRecord,
                                            given ? RecordContent(given)
                                                  : RecordContent(std::move(handed.record)),
                                            handed.id.key, handed.parentKey, handed.id.conduit);
}

}  // namespace

// One run between beginRun and endRun.
class SyncEngine::Run {
public:
    SyncRunOptions options;
    SyncRunSummary summary;
    std::unique_ptr<SyncSession> session;  // null while none is open
    // Of a session that took effect, for what the store is rewritten from.
    GivenRecords given;
    std::optional<std::vector<AgreedRow>> agreed;
};

SyncEngine::SyncEngine(LocalState& state, SyncServer& server, HostReports& reports, LogLine log,
                       std::string account)
    : _state(state),
      _server(server),
      _reports(reports),
      _log(std::move(log)),
      _account(std::move(account)),
      _run(std::make_unique<Run>())
{}

SyncEngine::~SyncEngine() = default;

// No operation of a host raises: what fails inside becomes a reason, a log line and a plain "no".
template <class Body, class Result>
Result SyncEngine::guarded(Body&& body, Result failed)
{
    try {
        return body();
    } catch (const std::exception& failure) {
        const std::string reason = failure.what();
        _run->summary.reasons.push_back(reason);
        try {
            log(reason);
        } catch (const std::exception&) {
            // The reason is in the summary; a log that cannot be written cannot say so.
        }
    }
    return failed;
}

void SyncEngine::log(std::string_view line)
{
    if (_log)
        _log(line);
}

void SyncEngine::beginRun(const SyncRunOptions& options)
{
    if (!options.settling)
        _standing = {};
    _run = std::make_unique<Run>();
    _run->options = options;
    _reports.begin();
    _reports.carefulWriting.noteFoldersWith(
        [this](const std::vector<std::string>& names) { return noteFolders(names); });
}

SyncRunSummary SyncEngine::endRun(bool doSyncResult)
{
    _run->session.reset();  // rolls back what was not finished
    SyncRunSummary summary = std::move(_run->summary);
    summary.losses = _reports.losses.losses();
    summary.remarksLeftOut = _reports.losses.remarksLeftOut();
    summary.needsSettling = doSyncResult && summary.rewriteExpected;
    if (!summary.needsSettling)
        _standing = {};
    _run = std::make_unique<Run>();
    _reports.end();
    return summary;
}

std::optional<std::string> SyncEngine::markedBackup()
{
    return guarded([&] { return _state.facts().mark; }, std::optional<std::string>());
}

void SyncEngine::noteStorePutBack(const std::string& backup)
{
    guarded(
        [&] {
            StateFacts facts = _state.facts();
            if (!facts.mark)
                facts.mark = backup;
            facts.isPutBack = true;
            _state.setFacts(facts);
            return true;
        },
        false);
}

int SyncEngine::systemVersion()
{
    return guarded([&] { return _state.facts().systemVersion; }, 0);
}

int SyncEngine::startSync(int mode)
{
    Run& run = *_run;
    run.session.reset();
    const StartResult result = guarded(
        [&] {
            auto session = std::make_unique<SyncSession>(
                SessionSetting{_state, _server, _account, run.options, _reports,
                               [this](std::string_view line) { log(line); }, run.summary,
                               run.options.settling ? &_standing : nullptr});
            const StartResult answer = session->start(mode);
            if (answer != StartResult::noSession && answer != StartResult::accountOff)
                run.session = std::move(session);
            return answer;
        },
        StartResult::noSession);
    run.summary.startResult = static_cast<int>(result);
    // After 1 the plug-in leaves its store alone, which is all that a dry run needs of it.
    const bool isRewriteHidden = run.options.dryRun && isRewriteExpected(result);
    return static_cast<int>(isRewriteHidden ? StartResult::onlyUp : result);
}

std::optional<SyncRecordList> SyncEngine::pullRecords()
{
    if (!_run->session)
        return std::nullopt;
    return guarded([&] { return std::optional(_run->session->pull()); },
                   std::optional<SyncRecordList>());
}

std::optional<SyncResult> SyncEngine::diffLocalStateWithLocalUpdates(
    const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
    int diffMode)
{
    if (!_run->session)
        return std::nullopt;
    return guarded(
        [&] { return std::optional(_run->session->diff(localUpdates, remoteUpdates, diffMode)); },
        std::optional<SyncResult>());
}

bool SyncEngine::pushSyncResult(const SyncResult& result)
{
    if (!_run->session)
        return false;
    return guarded(
        [&] {
            _run->session->push(result);
            return true;
        },
        false);
}

void SyncEngine::updateLocalStateWithUpdates(const SyncRecordList& updates)
{
    if (!_run->session)
        return;
    guarded(
        [&] {
            _run->session->keep(updates);
            return true;
        },
        false);
}

bool SyncEngine::finishSync()
{
    Run& run = *_run;
    if (!run.session)
        return false;
    const bool wasPushed = run.session->isPushed();
    const bool isClean = guarded([&] { return run.session->finish(); }, false);
    run.summary.finished = isClean && wasPushed;
    run.summary.rewriteExpected =
        run.summary.finished && !run.options.dryRun &&
        isRewriteExpected(static_cast<StartResult>(run.summary.startResult));
    if (run.summary.rewriteExpected) {
        // In this order the session holds ever less: here a run holds most at one time.
        _standing = run.session->standing();
        run.agreed = run.session->takeAgreedRows();
        run.given = run.session->given();
    }
    run.session.reset();
    return isClean;
}

std::optional<SyncRecordMap> SyncEngine::getLocalState()
{
    return guarded(
        [&] {
            std::optional<Knowledge> knowledge;
            if (auto agreed = std::exchange(_run->agreed, std::nullopt))
                knowledge.emplace(_state, *std::move(agreed));
            else
                knowledge.emplace(_state);
            std::optional<SyncRecordMap> map(std::in_place);
            for (HandedRecord& handed : handedState(_state, *knowledge, _run->given)) {
                SyncRecord record = recordToHandOut(handed);
                const SyncRecord stored = handed.isKept() ? nullptr : _run->given.find(handed.id);
                if (stored && stored != record)
                    _reports.carefulWriting.noteStored(record, stored);
                map->emplace_back(std::move(handed.id.key), std::move(record));
            }
            _run->given = {};
            _reports.carefulWriting.setLeftBehind(knowledge->facts().foldersUnderWay);
            _reports.carefulWriting.noteAllKnown();
            return map;
        },
        std::optional<SyncRecordMap>());
}

bool SyncEngine::resetLocalState()
{
    if (_run->session)
        return false;
    return guarded(
        [&] {
            if (!_state.begin())
                return false;
            try {
                forgetState();
                _state.commit();
            } catch (...) {
                _state.rollback();
                throw;
            }
            return true;
        },
        false);
}

// In a statement of its own, which is on disk before the store is touched.
bool SyncEngine::noteFolders(const std::vector<std::string>& names)
{
    return guarded(
        [&] {
            StateFacts facts = _state.facts();
            auto& noted = facts.foldersUnderWay;
            for (const std::string& name : names) {
                if (std::find(noted.begin(), noted.end(), name) == noted.end())
                    noted.push_back(name);
            }
            _state.setFacts(facts);
            return true;
        },
        false);
}

// While a rewrite is not settled, kept records may be nowhere else than in the state.
void SyncEngine::forgetState()
{
    const Knowledge knowledge(_state);
    std::vector<std::tuple<KeptRow, Dictionary, RecordPast>> kept;
    if (knowledge.facts().mark) {
        for (const KeptRow& row : knowledge.kept())
            kept.emplace_back(row, _state.keptRecord(row.id), _state.keptPast(row.id));
    }
    _state.clear();
    StateFacts facts;
    facts.mark = knowledge.facts().mark;
    facts.foldersUnderWay = knowledge.facts().foldersUnderWay;
    _state.setFacts(facts);
    for (const auto& [row, record, past] : kept)
        _state.setKept(row, record, past);
    for (const UnreadRow& row : knowledge.unread()) {
        if (facts.mark && row.whose == UnreadRow::Whose::kept)
            _state.setUnread({row.whose, row.id, 0});
    }
}

}  // namespace kt
