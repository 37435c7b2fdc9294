#pragma once

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string>

#include <malloc.h>

namespace kt::bench {

/// How much more memory this process held at its peak than when the object was made, as Linux
/// counts resident pages.
class PeakMemory {
public:
    PeakMemory()
    {
        ::malloc_trim(0);                               // what is free is nobody's
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts anew
        _before = kilobytes("VmRSS:");
    }

    std::size_t bytes() const { return (kilobytes("VmHWM:") - _before) * 1024; }

private:
    static std::size_t kilobytes(const std::string& name)
    {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(name))
                return std::strtoull(line.c_str() + name.size(), nullptr, 10);
        }
        return 0;
    }

    std::size_t _before = 0;
};

}  // namespace kt::bench
