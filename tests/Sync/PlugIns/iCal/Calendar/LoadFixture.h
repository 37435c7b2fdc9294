#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {

/// Item files of one calendar in the newer layout, written and loaded.
class LoadFixture : public ModelFixture {
protected:
    inline static const std::string kFolder = "Library/Calendars/source.calendar/Events";

    /// Lines one in a row, as they stand in a file between BEGIN:VCALENDAR and END:VCALENDAR.
    void write(const std::string& name, const std::string& lines)
    {
        writeLines(name, "BEGIN:VCALENDAR\nVERSION:2.0\n" + lines + "\nEND:VCALENDAR\n");
    }
    void writeLines(const std::string& name, const std::string& lines)
    {
        std::string text;
        for (const char character : lines)
            text += character == '\n' ? std::string("\r\n") : std::string(1, character);
        home.write(kFolder + "/" + name, text);
    }
    std::shared_ptr<KTSyncCalendar> loaded()
    {
        auto made = calendar();
        made->recordKey();
        EXPECT_TRUE(made->loadEventsAndTasks());
        return made;
    }
    static std::vector<std::string> titles(KTSyncCalendar& calendar)
    {
        std::vector<std::string> all;
        for (const auto& event : *calendar.events())
            all.emplace_back(event->title().string());
        for (const auto& task : *calendar.tasks())
            all.push_back("Aufgabe " + std::string(task->title().string()));
        return all;
    }
    std::vector<KTLoss> lossesIn(const std::string& name) const
    {
        std::vector<KTLoss> found;
        for (const KTLoss& loss : classes.losses()) {
            if (loss.file == home.path(kFolder + "/" + name))
                found.push_back(loss);
        }
        return found;
    }
    KTLoss loss(const std::string& name, const std::string& reason) const
    {
        return {"Privat", home.path(kFolder + "/" + name), reason};
    }
};

inline std::string eventLines(const std::string& lines)
{
    return "BEGIN:VEVENT\n" + lines + "\nEND:VEVENT";
}
inline std::string taskLines(const std::string& lines)
{
    return "BEGIN:VTODO\n" + lines + "\nEND:VTODO";
}

}  // namespace kt::test
