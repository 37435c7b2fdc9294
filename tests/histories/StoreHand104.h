#pragma once

#include <functional>

#include "tests/histories/StoreHand.h"

namespace kt::test {

/// A node file that names calendars and groups in their tree, and one folder per calendar.
class StoreHand104 : public StoreHand {
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
    std::vector<std::string> roots() const override { return {paths.iCalFolder()}; }
    // Beside the common file there is another one where that could not be read.
    std::vector<std::string> itemFiles(const Calendar& calendar) const override;
    std::string fileForNewItem(const Calendar& calendar, const std::string&) const override;

protected:
    bool removesEmptyFiles() const override { return false; }

private:
    Array nodes() const;
    void writeNodes(const Array& list) const;
};

}  // namespace kt::test
