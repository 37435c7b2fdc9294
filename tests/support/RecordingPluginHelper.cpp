#include "tests/support/RecordingPluginHelper.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kt::test {

namespace {

std::string nameOfCall(std::string_view call)
{
    return std::string(call.substr(0, call.find(':')));
}

std::string joined(std::string_view name, std::string_view argument)
{
    std::string call(name);
    call += ':';
    call += argument;
    return call;
}

}  // namespace

std::vector<std::string> RecordingPluginHelper::callsNamed(
    const std::set<std::string, std::less<>>& names) const
{
    std::vector<std::string> found;
    std::copy_if(_calls.begin(), _calls.end(), std::back_inserter(found),
                 [&](const std::string& call) { return names.contains(nameOfCall(call)); });
    return found;
}

std::vector<std::string> RecordingPluginHelper::engineCalls() const
{
    return callsNamed({"startSync", "pullRecords", "diffLocalStateWithLocalUpdates",
                       "pushSyncResult", "updateLocalStateWithUpdates", "finishSync",
                       "getLocalState", "resetLocalState", "disableFileNotifications",
                       "enableFileNotifications"});
}

std::size_t RecordingPluginHelper::count(std::string_view call) const
{
    return static_cast<std::size_t>(std::count(_calls.begin(), _calls.end(), call));
}

void RecordingPluginHelper::clear()
{
    _calls.clear();
    _messages.clear();
    _statusTexts.clear();
    _appleScripts.clear();
    _fileLogger.clear();
    _localUpdates.reset();
    _remoteUpdates.reset();
    _pushed.reset();
    _keptRecords.reset();
}

void RecordingPluginHelper::record(std::string call)
{
    _calls.push_back(call);
    if (script.before)
        script.before(call);
}

bool RecordingPluginHelper::boolPreferenceForKey(std::string_view key, bool defaultValue)
{
    record(joined("boolPreferenceForKey", key));
    const Value* value = script.preferences.find(key);
    return value == nullptr ? defaultValue : value->boolValue();
}

Value RecordingPluginHelper::objectPreferenceForKey(std::string_view key, const Value& defaultValue)
{
    record(joined("objectPreferenceForKey", key));
    const Value* value = script.preferences.find(key);
    return value == nullptr ? defaultValue : *value;
}

void RecordingPluginHelper::updatePreferenceWithBool(std::string_view key, bool value)
{
    record(joined("updatePreference", std::string(key) + (value ? "=1" : "=0")));
    script.preferences.set(key, value);
}

void RecordingPluginHelper::updatePreferenceWithObject(std::string_view key, const Value& value)
{
    record(joined("updatePreference", std::string(key) + "=" + value.description()));
    if (value.isNil())
        script.preferences.remove(key);
    else
        script.preferences.set(key, value);
}

void RecordingPluginHelper::logMsg(std::string_view message)
{
    _messages.emplace_back(message);
    record(joined("logMsg", message));
}

void RecordingPluginHelper::setStatusMsg(std::string_view message)
{
    _statusTexts.emplace_back(message);
    record(joined("setStatusMsg", message));
}

int RecordingPluginHelper::startSync(int mode)
{
    record(joined("startSync", std::to_string(mode)));
    return script.startResult;
}

std::optional<SyncRecordList> RecordingPluginHelper::pullRecords()
{
    record("pullRecords");
    return script.pulledRecords;
}

std::optional<SyncResult> RecordingPluginHelper::diffLocalStateWithLocalUpdates(
    const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
    int diffMode)
{
    _localUpdates = localUpdates;
    _remoteUpdates = remoteUpdates;
    record(joined("diffLocalStateWithLocalUpdates", std::to_string(diffMode)));
    return script.diff ? script.diff(localUpdates, remoteUpdates) : SyncResult{localUpdates};
}

bool RecordingPluginHelper::pushSyncResult(const SyncResult& result)
{
    _pushed = result;
    record("pushSyncResult");
    return script.pushResult;
}

void RecordingPluginHelper::updateLocalStateWithUpdates(const SyncRecordList& updates)
{
    _keptRecords = updates;
    record(joined("updateLocalStateWithUpdates", std::to_string(updates.size())));
}

bool RecordingPluginHelper::finishSync()
{
    record("finishSync");
    return script.finishResult;
}

std::optional<SyncRecordMap> RecordingPluginHelper::getLocalState()
{
    record("getLocalState");
    return script.localState;
}

bool RecordingPluginHelper::resetLocalState()
{
    record("resetLocalState");
    return script.resetResult;
}

bool RecordingPluginHelper::runAppleScript(std::string_view source)
{
    _appleScripts.emplace_back(source);
    record("runAppleScript");
    return script.appleScriptResult;
}

bool RecordingPluginHelper::isBinaryRunning(std::string_view name)
{
    record(joined("isBinaryRunning", name));
    return script.runningBinaries.contains(name);
}

bool RecordingPluginHelper::isAutomaticSyncActivated()
{
    record("isAutomaticSyncActivated");
    return script.isAutomaticSyncActivated;
}

void RecordingPluginHelper::triggerExternalSync() { record("triggerExternalSync"); }

void RecordingPluginHelper::disableFileNotifications() { record("disableFileNotifications"); }

void RecordingPluginHelper::enableFileNotifications() { record("enableFileNotifications"); }

std::optional<std::string> RecordingPluginHelper::publicSiteUrl()
{
    record("publicSiteUrl");
    return script.publicSiteUrl;
}

void RecordingPluginHelper::progress(std::string_view title, int current, int total)
{
    record(joined("progress", std::string(title) + " " + std::to_string(current) + "/" +
                                  std::to_string(total)));
}

}  // namespace kt::test
