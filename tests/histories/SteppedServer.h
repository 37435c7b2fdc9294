#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Host/Server/SyncServer.h"
#include "tests/histories/Steps.h"

namespace kt::test {

/// A server whose commits are moments in which a process can end: before one, and after it.
class SteppedServer : public SyncServer {
public:
    /// The steps are not owned.
    SteppedServer(std::unique_ptr<SyncServer> inner, Steps& steps)
        : _inner(std::move(inner)),
          _steps(steps)
    {}

    OpenedSession openSession(std::string_view account, std::string_view deviceId,
                              ServerAccess access) override
    {
        OpenedSession opened = _inner->openSession(account, deviceId, access);
        if (opened.session)
            opened.session = std::make_unique<Session>(std::move(opened.session), _steps);
        return opened;
    }
    void setAccountEnabled(std::string_view account, bool enabled) override
    {
        _inner->setAccountEnabled(account, enabled);
    }
    std::string description() const override { return _inner->description(); }

private:
    class Session : public SyncServerSession {
    public:
        Session(std::unique_ptr<SyncServerSession> inner, Steps& steps)
            : _inner(std::move(inner)),
              _steps(steps)
        {}

        std::string serverIdentity() override { return _inner->serverIdentity(); }
        std::string renewIdentity() override { return _inner->renewIdentity(); }
        std::int64_t headRevision() override { return _inner->headRevision(); }
        std::int64_t recordCount() override { return _inner->recordCount(); }
        std::vector<ServerRecord> changesSince(std::int64_t revision) override
        {
            return _inner->changesSince(revision);
        }
        std::vector<ServerDigest> digests() override { return _inner->digests(); }
        std::vector<ServerRecord> records(std::span<const RecordId> ids) override
        {
            return _inner->records(ids);
        }
        std::vector<ServerRecord> recordsOfParent(std::string_view parentKey) override
        {
            return _inner->recordsOfParent(parentKey);
        }
        std::int64_t write(std::span<const ServerWrite> changes) override
        {
            return _inner->write(changes);
        }
        Sharings* sharings() override { return _inner->sharings(); }
        void commit() override
        {
            _steps.elsewhere();
            _inner->commit();
            _steps.elsewhere();
        }

    private:
        std::unique_ptr<SyncServerSession> _inner;
        Steps& _steps;
    };

    std::unique_ptr<SyncServer> _inner;
    Steps& _steps;
};

}  // namespace kt::test
