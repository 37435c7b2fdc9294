#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/HostInterface/KTSyncConnection.h"

namespace kt::test {

/// A publishing service without a site: notes what it is asked and answers what the test wants.
class RecordingConnectionClass : public KTSyncConnectionClass {
public:
    explicit RecordingConnectionClass(std::vector<std::string>& calls) : _calls(calls) {}

    bool succeeds = true;
    std::string error = "Der Dienst antwortet nicht";  // told when it does not succeed
    std::vector<Dictionary> sharings;                  // what is listed

    std::shared_ptr<KTSyncConnection> initForPlugin(KTSyncPluginProtocol* plugin,
                                                    const std::string& name,
                                                    KTFileLogger* fileLogger) const override
    {
        _calls.push_back("connection.initForPlugin:" + std::string(plugin ? "plugin" : "nil") +
                         " withName:" + name + " andFileLogger:" + (fileLogger ? "logger" : "nil"));
        return std::make_shared<Connection>(*this);
    }

private:
    class Connection : public KTSyncConnection {
    public:
        explicit Connection(const RecordingConnectionClass& service) : _service(service) {}

        bool activatePublicSharingForMainConduit(const std::string& mainConduit,
                                                 const std::vector<std::string>& subConduits,
                                                 const std::string& mode,
                                                 const std::string& mainRecordKey,
                                                 const std::string& options,
                                                 KTSyncError& error) override
        {
            return answer("activate:" + mainConduit + joined(subConduits) + " mode:" + mode +
                              " key:" + mainRecordKey + " options:" + options,
                          error);
        }
        bool deactivatePublicSharingForMainConduit(const std::string& mainConduit,
                                                   const std::vector<std::string>& subConduits,
                                                   const std::string& mainRecordKey,
                                                   KTSyncError& error) override
        {
            return answer("deactivate:" + mainConduit + joined(subConduits) +
                              " key:" + mainRecordKey,
                          error);
        }
        bool listPublicSharings(std::vector<Dictionary>& sharings, const std::string& mainConduit,
                                const std::optional<std::vector<std::string>>& subConduits,
                                const std::string& mainRecordKey, KTSyncError& error) override
        {
            sharings = _service.sharings;
            return answer("list:" + mainConduit + (subConduits ? joined(*subConduits) : " nil") +
                              " key:" + mainRecordKey,
                          error);
        }

    private:
        static std::string joined(const std::vector<std::string>& conduits)
        {
            std::string text;
            for (const std::string& conduit : conduits)
                text.append(" ").append(conduit);
            return text;
        }
        bool answer(const std::string& call, KTSyncError& error) const
        {
            _service._calls.push_back("connection." + call);
            if (!_service.succeeds)
                error.localizedDescription = _service.error;
            return _service.succeeds;
        }

        const RecordingConnectionClass& _service;
    };

    std::vector<std::string>& _calls;
};

}  // namespace kt::test
