#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFileEdit.h"
#include "Sync/PlugIns/iCal/Calendar/ItemPairing.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"
#include "Sync/PlugIns/iCal/Calendar/StoreEdits.h"
#include "Sync/PlugIns/iCal/Calendar/StoredItems.h"

namespace kt {

/// Where a layout files the items of one calendar.
struct ItemFiling {
    std::string folder;                     // of the item files
    std::optional<std::string> commonFile;  // path of the file for all; nullopt: a file an item
};

/// What a rewrite knows of the whole store. Nothing is owned.
struct CarefulRewriting {
    const std::vector<KTLoss>& unread;
    const StoredItems& items;
    std::function<void()> saveStore;  // called before anything is touched
};

/// What a rewrite that keeps texts makes of the item files of one calendar. An item that the writer
/// would write as before keeps its text where it stands; one that changed is written anew in its
/// place, under its UID; one that comes from another calendar brings its text along; a new one gets
/// a file of its own or stands last in the common one, beside
/// its series; what could not be read stays, unless the host gives it up.
class CarefulItems {
public:
    /// `stored` is the calendar as it was loaded, null for one that the store lacks. All outlives
    /// the object.
    CarefulItems(KTSyncPluginHelper* pluginHelper, const LoadedCalendar* stored,
                 const CarefulRewriting& rewriting, ItemFiling filing, std::string title);

    /// Adds what is to be done. Reads files, touches none but attachments. Throws Exception,
    /// logged, for a record that cannot be taken, and for a file that changed since it was loaded.
    void plan(const std::vector<SyncRecord>& wanted, StoreEdits& edits);

private:
    /// A series and its detached occurrences share a UID and a file.
    struct Home {
        std::string uid;
        std::string path;  // empty while it has no file
    };
    struct OpenFile {
        ItemFileEdit edit;
        bool isChanged = false;
    };

    void giveUp();
    void giveUp(const KTLoss& unread);
    void giveUpUnreadIn(const std::string& path);
    void findHome(const SyncRecord& wanted, const LoadedItem& stored);
    void keepOrChange(const SyncRecord& wanted, const ItemPair& pair);
    std::vector<std::optional<std::size_t>> knownItems(const std::vector<SyncRecord>& wanted) const;
    void add(const SyncRecord& wanted);
    std::string textOfNew(const SyncRecord& wanted, const std::string& uid);
    std::string changedText(std::string_view storedText, const SyncRecord& stored,
                            const SyncRecord& wanted, const std::string& uid) const;
    std::optional<StoredItems::Item> movedItem(const SyncRecord& wanted) const;
    void refuse(const SyncRecord& wanted) const;
    void removeUnwanted();
    void finish(StoreEdits& edits);

    bool isOfThisCalendar(const KTLoss& unread) const;
    std::string uidOf(const LoadedItem& stored, const SyncRecord& wanted) const;
    const std::string& pathOf(const TextPlace& place) const;
    std::string pathForNew(const std::string& key);
    std::string freePath(const std::string& stem) const;
    OpenFile& open(const std::string& path);
    std::string freeUID(const std::string& key);
    const ItemSources::File* loadedFile(const std::string& path) const;
    void replace(const TextPlace& place, std::string component);
    void append(const std::string& path, const std::string& component);

    KTSyncPluginHelper* _pluginHelper;
    const LoadedCalendar* _stored;
    const CarefulRewriting& _rewriting;
    ItemFiling _filing;
    std::string _title;
    std::optional<std::unordered_set<std::string>> _uids;  // of all items, once one is new
    std::vector<bool> _stays;                              // stored items whose text stays
    std::vector<bool> _isWanted;                           // stored items that are to be written
    std::unordered_map<std::string, Home> _homes;          // by the key of the series
    std::map<std::string, OpenFile> _open;                 // by path
    std::map<std::string, std::string> _newFiles;          // path to components
};

}  // namespace kt
