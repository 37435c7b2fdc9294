#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Foundation/FinderCatalog.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// A catalog in memory, as a system with named volumes has it.
class RecordingFinderCatalog : public FinderCatalog {
public:
    std::optional<FinderInformation> informationAtPath(const std::string& path) const override
    {
        const auto found = items.find(path);
        return found == items.end() ? std::nullopt : std::optional(found->second);
    }
    bool setInformation(const FinderInformation& information, const std::string& path) override
    {
        if (isLocked)
            return false;
        items[path] = information;
        return true;
    }
    void notifyModified(const std::string& path) override { notified.push_back(path); }

    bool isAliasAtPath(const std::string& path) const override { return aliases.contains(path); }
    std::optional<std::string> aliasTargetAtPath(const std::string& path) const override
    {
        const auto found = aliases.find(path);
        return found == aliases.end() ? std::nullopt : found->second;
    }

    /// The volume with the longest mount point that the path begins with.
    std::optional<Volume> volumeAtPath(const std::string& path) const override
    {
        std::optional<Volume> best;
        for (const auto& [mountPoint, name] : volumes)
            if (path.starts_with(mountPoint) &&
                (!best || best->mountPoint.size() < mountPoint.size()))
                best = Volume{name, mountPoint};
        return best;
    }

    std::map<std::string, FinderInformation> items;
    std::map<std::string, std::optional<std::string>> aliases;  // nullopt: the target is gone
    std::map<std::string, std::string> volumes;                 // mount point to name
    std::vector<std::string> notified;
    bool isLocked = false;
};

/// A platform with such a catalog and nothing in it.
class FinderFixture : public testing::Test {
protected:
    FinderFixture() { Platform::shared().setFinderCatalog(catalog); }

    PlatformScope platform;
    TemporaryFolder folder;
    std::shared_ptr<RecordingFinderCatalog> catalog = std::make_shared<RecordingFinderCatalog>();
};

}  // namespace kt::test
