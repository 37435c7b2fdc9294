#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Server/SyncServer.h"

namespace kt::test {

/// An empty server of a kind that makes nothing public.
class PlainServer : public SyncServer {
public:
    class Session : public SyncServerSession {
    public:
        std::string serverIdentity() override { return "plain"; }
        std::string renewIdentity() override { return "plain"; }
        std::int64_t headRevision() override { return 0; }
        std::int64_t recordCount() override { return 0; }
        std::vector<ServerRecord> changesSince(std::int64_t) override { return {}; }
        std::vector<ServerDigest> digests() override { return {}; }
        std::vector<ServerRecord> records(std::span<const RecordId>) override { return {}; }
        std::vector<ServerRecord> recordsOfParent(std::string_view) override { return {}; }
        std::int64_t write(std::span<const ServerWrite>) override { return 0; }
        void commit() override {}
    };

    OpenedSession openSession(std::string_view, std::string_view, ServerAccess) override
    {
        return {OpenStatus::opened, std::make_unique<Session>(), ""};
    }
    void setAccountEnabled(std::string_view, bool) override {}
    std::string description() const override { return "plain"; }
};

}  // namespace kt::test
