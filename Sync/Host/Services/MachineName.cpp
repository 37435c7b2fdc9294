#include "Sync/Host/Services/MachineName.h"

#include <array>

#include <unistd.h>

namespace kt {

std::string machineName()
{
    std::array<char, 256> buffer{};
    if (::gethostname(buffer.data(), buffer.size() - 1) != 0 || buffer[0] == '\0')
        return "localhost";
    const std::string name = buffer.data();
    return name.substr(0, name.find('.'));
}

}  // namespace kt
