#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kt::test {

/// A fresh folder on disk, removed with all its content at the end of the scope. Paths given to its
/// operations are relative to it.
class TemporaryFolder {
public:
    TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}
    explicit TemporaryFolder(const std::filesystem::path& parent)
    {
        std::string pattern = (parent / "kt-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        _path = std::filesystem::canonical(pattern).string();
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Absolute, without a slash at the end.
    const std::string& path() const { return _path; }
    std::string path(std::string_view relative) const
    {
        return _path + "/" + std::string(relative);
    }

    /// Writes a file, and the folders it needs.
    void write(std::string_view relative, std::string_view bytes) const
    {
        const std::filesystem::path target(path(relative));
        std::filesystem::create_directories(target.parent_path());
        std::ofstream stream(target, std::ios::binary | std::ios::trunc);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!stream.flush())
            throw std::runtime_error("cannot write " + target.string());
    }
    void makeFolder(std::string_view relative) const
    {
        std::filesystem::create_directories(path(relative));
    }

    /// Nullopt when there is no such file.
    std::optional<std::string> read(std::string_view relative) const
    {
        if (!std::filesystem::is_regular_file(path(relative)))
            return std::nullopt;
        return contents(path(relative));
    }
    /// Links are not followed.
    bool exists(std::string_view relative) const
    {
        return std::filesystem::symlink_status(path(relative)).type() !=
               std::filesystem::file_type::not_found;
    }
    void remove(std::string_view relative) const { std::filesystem::remove_all(path(relative)); }

    /// Every file below the folder by its relative path, with its bytes. An empty folder stands
    /// there as its path and a slash, a link as its path and "-> target".
    std::map<std::string, std::string> tree() const
    {
        std::map<std::string, std::string> all;
        for (const auto& item : std::filesystem::recursive_directory_iterator(_path)) {
            const std::string name = item.path().lexically_relative(_path).string();
            if (item.is_symlink())
                all[name] = "-> " + std::filesystem::read_symlink(item.path()).string();
            else if (item.is_regular_file())
                all[name] = contents(item.path().string());
            else if (item.is_directory() && std::filesystem::is_empty(item.path()))
                all[name + "/"] = "";
        }
        return all;
    }

private:
    static std::string contents(const std::string& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    std::string _path;
};

}  // namespace kt::test
