#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kt {

/// What a Finder keeps about one item of a volume.
struct FinderInformation {
    std::uint32_t fileType = 0;  // four characters, the first in the high-order byte
    std::uint32_t fileCreator = 0;
    std::uint16_t finderFlags = 0;
    bool isDirectory = false;

    friend bool operator==(const FinderInformation&, const FinderInformation&) = default;
};

/// A mounted volume under the name that its user gave it.
struct Volume {
    std::string name;
    std::string mountPoint;  // absolute
};

/// The catalog of a system whose volumes have names, Finder information and alias files. As it
/// stands nothing is reachable, which is how it is on a system without these; one that has them (or
/// a test) puts its own into Platform. Nothing here throws.
class FinderCatalog {
public:
    virtual ~FinderCatalog() = default;

    /// Nullopt when the item cannot be reached.
    virtual std::optional<FinderInformation> informationAtPath(const std::string& /*path*/) const
    {
        return std::nullopt;
    }
    /// Writes codes and flags; the kind of the item stays as it is.
    virtual bool setInformation(const FinderInformation& /*information*/,
                                const std::string& /*path*/)
    {
        return false;
    }
    /// Tells those who show the item that it has changed.
    virtual void notifyModified(const std::string& /*path*/) {}

    /// False also when the item cannot be reached.
    virtual bool isAliasAtPath(const std::string& /*path*/) const { return false; }
    /// Where an alias file leads, one step, which may be another alias; nullopt when that is gone.
    virtual std::optional<std::string> aliasTargetAtPath(const std::string& /*path*/) const
    {
        return std::nullopt;
    }

    /// The volume that the path belongs to, whether or not something stands there.
    virtual std::optional<Volume> volumeAtPath(const std::string& /*path*/) const
    {
        return std::nullopt;
    }
};

}  // namespace kt
