#pragma once

#include <memory>
#include <string>

#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {

/// How the text of an item is damaged.
enum class Damage {
    inPlace,    // where it stands, under its name
    elsewhere,  // so that neither a file nor a UID says whose text it was
};

/// The value of a component's property that is not folded; empty without one.
std::string valueInText(const std::string& component, const std::string& name);

/// The texts of a store's items, which are put into files, changed there, damaged and taken out
/// again. To be used where the home's disk is in force.
class HomeItemTexts {
public:
    HomeItemTexts(Layout layout, Damage damage);

    /// Puts a new text into the file at that path: the one that the item has elsewhere, where that
    /// says what the item does.
    std::shared_ptr<const StoredText> add(const HomeItem& item, const std::string& path);
    /// Makes the item's text say what the item does, be it that it cannot be read.
    void update(HomeItem& item);
    void remove(const StoredText& stored) const;

    /// A file of the calendar program's without items.
    static std::string emptyFile();
    /// What an item's file is named after.
    static std::string fileName(const HomeItem& item);

private:
    std::string textOf(const HomeItem& item);
    std::shared_ptr<const StoredText> damaged(const std::shared_ptr<const StoredText>& whole) const;
    std::shared_ptr<const StoredText> mended(const StoredText& broken) const;
    void replace(const StoredText& stored, const StoredText& by) const;
    void put(const StoredText& stored) const;

    Layout _layout;
    Damage _damage;
    RecordingPluginHelper _helper;
};

}  // namespace kt::test
