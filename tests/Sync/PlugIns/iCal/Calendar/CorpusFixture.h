#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {

// Calendar files of many programs, at least those of tests/corpus.

inline const std::filesystem::path kCorpus = KT_CORPUS_DIR;

inline std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Every file but those that describe the corpus.
inline std::vector<std::filesystem::path> corpusFiles()
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kCorpus)) {
        const std::string name = entry.path().filename();
        if (entry.is_regular_file() && name != "README.md" && !name.starts_with("LICENSE"))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Line ends of any kind become CR LF, for wider coverage: many archives hold bare line feeds.
inline std::string withCRLF(const std::string& text)
{
    std::string converted;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '\n' && (index == 0 || text[index - 1] != '\r'))
            converted += '\r';
        converted += text[index];
    }
    return converted;
}

class Corpus : public ModelFixture {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(std::filesystem::is_directory(kCorpus)) << "no corpus at " << kCorpus;
    }

    /// A calendar whose folder holds that one file, loaded. Null when an Exception ended it.
    std::shared_ptr<KTSyncCalendar> loaded(const std::string& content)
    {
        helper.clear();
        home.write("Library/Calendars/source.calendar/Events/a.ics", content);
        auto made = calendar();
        made->recordKey();
        try {
            EXPECT_NE(made->events(), nullptr);
        } catch (const Exception&) {
            return nullptr;
        }
        return made;
    }
};

}  // namespace kt::test
