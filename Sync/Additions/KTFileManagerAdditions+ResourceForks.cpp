#include <memory>
#include <utility>

#include "Sync/Additions/KTFileManagerAdditions+ResourceForks.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

/// An open fork, closed at the end of the scope.
class OpenFork {
public:
    OpenFork(const std::string& path, ResourceForks::Access access)
        : _forks(Platform::shared().resourceForks()),
          _isOpen(fileReference(_reference, path, access))
    {}
    ~OpenFork()
    {
        if (_isOpen)
            _forks->close(_reference);
    }
    OpenFork(const OpenFork&) = delete;
    OpenFork& operator=(const OpenFork&) = delete;

    bool isOpen() const { return _isOpen; }

    /// All of it, or nil.
    std::optional<Data> data()
    {
        const auto size = _forks->size(_reference);
        if (!size)
            return std::nullopt;
        std::string bytes = _forks->read(_reference, *size);
        if (bytes.size() != *size)
            return std::nullopt;
        return Data{std::move(bytes)};
    }

    bool setData(const Data& data)
    {
        return _forks->setSize(_reference, data.bytes.size()) &&
               _forks->write(_reference, data.bytes) == data.bytes.size();
    }

private:
    std::shared_ptr<ResourceForks> _forks;
    ResourceForks::Reference _reference = 0;
    bool _isOpen;
};

/// The fork for writing may have to be made; one that is there already will do.
bool makeResourceFile(ResourceForks& forks, const std::string& path)
{
    constexpr std::size_t kLongestName = 1024;  // UTF-16 units
    const std::string name = lastPathComponent(path);
    if (Platform::shared().isWriteGuarded() || utf16Length(name) > kLongestName)
        return false;
    return forks.createResourceFile(stringByDeletingLastPathComponent(path), name) !=
           ResourceForks::Creation::failed;
}

}  // namespace

bool hasResourceForkAtPath(const std::string& path, std::uint64_t* ofSize)
{
    const auto size = Platform::shared().resourceForks()->physicalSizeAtPath(path);
    if (!size)
        return false;
    if (ofSize != nullptr)
        *ofSize = *size;
    return *size != 0;
}

bool fileReference(ResourceForks::Reference& reference, const std::string& forResourceForkAtPath,
                   ResourceForks::Access forWriting)
{
    const auto forks = Platform::shared().resourceForks();
    if (!forks->isReachable(forResourceForkAtPath))
        return false;
    if (forWriting == ResourceForks::Access::writing &&
        !makeResourceFile(*forks, forResourceForkAtPath))
        return false;
    const auto opened = forks->open(forResourceForkAtPath, forWriting);
    if (!opened)
        return false;
    reference = *opened;
    return true;
}

std::optional<Data> dataForResourceForkAtPath(const std::string& path)
{
    OpenFork fork(path, ResourceForks::Access::reading);
    if (!fork.isOpen())
        return std::nullopt;
    return fork.data();
}

bool writeResourceFork(const std::optional<Data>& data, const std::string& atPath)
{
    if (!data || data->bytes.empty())
        return false;
    OpenFork fork(atPath, ResourceForks::Access::writing);
    return fork.isOpen() && fork.setData(*data);
}

}  // namespace kt
