#include "Sync/Host/Engine/ServerPast.h"

#include <algorithm>
#include <vector>

namespace kt {

bool contradictsPast(const ServerDigest& digest, const AgreedRow& agreed,
                     const Knowledge& knowledge)
{
    if (agreed.revision == 0)
        return false;
    if (digest.revision <= agreed.revision)
        return digest.revision < agreed.revision || digest.isTombstone ||
               digest.hash != agreed.hash;
    // Later than agreed: news, or what was offered before and not taken.
    return digest.revision <= knowledge.facts().anchor &&
           knowledge.untakenRow(digest.id) == nullptr;
}

bool contradictsLatest(SyncServerSession& server, const Knowledge& knowledge)
{
    constexpr std::size_t kFew = 8;
    std::vector<const AgreedRow*> rows;
    for (const AgreedRow& row : knowledge.agreed())
        rows.push_back(&row);
    const std::size_t count = std::min(kFew, rows.size());
    std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count), rows.end(),
                      [](const AgreedRow* left, const AgreedRow* right) {
                          return left->revision > right->revision;
                      });
    std::vector<RecordId> ids;
    for (std::size_t index = 0; index < count; ++index) {
        if (rows[index]->revision != 0)
            ids.push_back(rows[index]->id);
    }
    // No server forgets what it had: of what is deleted there is a tombstone.
    const auto found = server.records(ids);
    return found.size() < ids.size() ||
           std::any_of(found.begin(), found.end(), [&](const ServerRecord& record) {
               return contradictsPast(record, *knowledge.agreedRow(record.id), knowledge);
           });
}

}  // namespace kt
