#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kt {

/// The second fork of a file, on a system whose volumes have one. As it stands nothing is
/// reachable, which is how it is on a system without it; one that has it (or a test) puts its own
/// into Platform. Nothing here throws.
class ResourceForks {
public:
    using Reference = std::int16_t;  // of an open fork
    enum class Access { reading, writing };
    enum class Creation { created, existsAlready, failed };

    virtual ~ResourceForks() = default;

    /// Whether an item stands at the path.
    virtual bool isReachable(const std::string& /*path*/) const { return false; }
    /// Bytes allocated; nullopt when the item cannot be reached.
    virtual std::optional<std::uint64_t> physicalSizeAtPath(const std::string& /*path*/) const
    {
        return std::nullopt;
    }
    /// An empty fork for the item of that name.
    virtual Creation createResourceFile(const std::string& /*folder*/, const std::string& /*name*/)
    {
        return Creation::failed;
    }

    /// Nullopt when there is no fork, or not that kind of access to it.
    virtual std::optional<Reference> open(const std::string& /*path*/, Access /*access*/)
    {
        return std::nullopt;
    }
    virtual void close(Reference /*reference*/) {}

    // Of an open fork; sizes in bytes.
    virtual std::optional<std::uint64_t> size(Reference /*reference*/) { return std::nullopt; }
    virtual bool setSize(Reference /*reference*/, std::uint64_t /*size*/) { return false; }
    /// From the fork's start, at most that many bytes; less when there are fewer.
    virtual std::string read(Reference /*reference*/, std::uint64_t /*count*/) { return {}; }
    /// From the fork's start; the number of bytes written.
    virtual std::size_t write(Reference /*reference*/, std::string_view /*bytes*/) { return 0; }
};

}  // namespace kt
