#pragma once

#include <cstddef>
#include <string>

namespace kt::bench {

/// A temporary home of the 10.4 layout with one calendar, all of whose events stand in one file;
/// removed with the object. It is the process's home folder meanwhile.
class BigFileHome {
public:
    /// About that many megabytes of GeneratedStore's events.
    explicit BigFileHome(std::size_t megabytes);
    ~BigFileHome();
    BigFileHome(const BigFileHome&) = delete;
    BigFileHome& operator=(const BigFileHome&) = delete;

    /// Leaves the home where it is when the object goes.
    void keep() { _keep = true; }

    /// The calendar's key, which its folder is named after.
    static const char* sourceKey();
    /// The file of a home that keep() left.
    static std::string itemsFile(const std::string& home);

    const std::string& home() const { return _home; }
    std::string file() const { return itemsFile(_home); }
    std::size_t events() const { return _events; }
    std::size_t bytes() const { return _bytes; }

private:
    std::string _home;
    std::size_t _events = 0;
    std::size_t _bytes = 0;
    bool _keep = false;
};

}  // namespace kt::bench
