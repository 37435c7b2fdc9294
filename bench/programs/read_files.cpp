// Opens, reads and closes every item file below a home, and nothing else: the least that a program
// has to do that wants to know what is in them. Prints how many files and bytes there were.

#include <filesystem>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::cerr << "read_files HOME\n";
        return 2;
    }
    std::size_t files = 0;
    std::size_t bytes = 0;
    std::string contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             std::filesystem::path(arguments[1]) / "Library/Calendars")) {
        if (entry.path().extension() != ".ics")
            continue;
        const int file = ::open(entry.path().c_str(), O_RDONLY);
        struct stat status {};
        if (file < 0 || ::fstat(file, &status) != 0)
            return 1;
        contents.resize(static_cast<std::size_t>(status.st_size));
        const ssize_t got = ::read(file, contents.data(), contents.size());
        ::close(file);
        if (got < 0)
            return 1;
        ++files;
        bytes += static_cast<std::size_t>(got);
    }
    std::cout << files << " files, " << bytes << " bytes\n";
    return 0;
}
