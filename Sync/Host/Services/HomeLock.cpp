#include "Sync/Host/Services/HomeLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

[[noreturn]] void refuse()
{
    throw Exception(NSGenericException,
                    "Für diesen Heimordner läuft gerade eine andere Synchronisierung.");
}

bool lock(int descriptor, int operation)
{
    while (::flock(descriptor, operation | LOCK_NB) != 0)
        if (errno != EINTR)
            return false;
    return true;
}

}  // namespace

std::unique_ptr<HomeLock> HomeLock::exclusive(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0)
        throw Exception(NSGenericException,
                        stringWithFormat("Die Datei \"%@\" kann nicht geöffnet werden.", path));
    std::unique_ptr<HomeLock> taken(new HomeLock(descriptor));
    if (!lock(descriptor, LOCK_EX))
        refuse();
    return taken;
}

std::unique_ptr<HomeLock> HomeLock::shared(const std::string& path)
{
    std::unique_ptr<HomeLock> taken(new HomeLock(::open(path.c_str(), O_RDONLY | O_CLOEXEC)));
    if (taken->_descriptor >= 0 && !lock(taken->_descriptor, LOCK_SH))
        refuse();
    return taken;
}

HomeLock::~HomeLock()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

}  // namespace kt
