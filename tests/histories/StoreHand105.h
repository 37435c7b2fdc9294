#pragma once

#include "tests/histories/StoreHand.h"

namespace kt::test {

/// One folder per calendar or group; a group's description names its calendars.
class StoreHand105 : public StoreHand {
public:
    using StoreHand::StoreHand;

    void begin() override;
    std::vector<Calendar> calendars() const override;
    void addCalendar(const std::string& key, const std::string& title, Kind kind) override;
    void removeCalendar(const Calendar& calendar) override;
    void putFirst(std::size_t index) override;
    void setColor(const Calendar& calendar, const std::string& color) override;
    std::vector<Group> groups() const override;
    void addGroup(const std::string& key, const std::string& title) override;
    void removeGroup(const Group& group) override;
    using StoreHand::rename;
    void rename(const Group& group, const std::string& title) override;
    void putInto(const Group* group, const Calendar& calendar) override;
    std::vector<std::string> roots() const override;
    std::vector<std::string> itemFiles(const Calendar& calendar) const override;
    std::string fileForNewItem(const Calendar& calendar, const std::string& name) const override;

protected:
    bool removesEmptyFiles() const override { return true; }

private:
    std::vector<std::string> foldersOf(std::string_view extension) const;
    std::string folderOf(const Group& group) const;
    void set(const std::string& folder, std::string_view key, const Value& value) const;
};

}  // namespace kt::test
