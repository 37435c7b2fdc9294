#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Services/BackupArchive.h"
#include "Sync/Host/Services/BackupFacts.h"
#include "Sync/Host/Services/UnpackedTree.h"

namespace kt {

/// Reads one backup archive and trusts nothing in it: every member has a plain relative name below
/// a folder that came before it, links lead nowhere but into the same tree, and the whole has the
/// digest that its end tells. For one pass.
class BackupArchiveReader {
public:
    /// A tree that is in the archive and is to be unpacked.
    struct Root {
        std::string name;         // in the archive
        std::string destination;  // where it is unpacked to; nothing stands there yet
        /// Where it belongs. A link in it may lead out where the very same link stands there now:
        /// whoever put it there knows.
        std::string place;
    };
    /// Whether a member is to be unpacked; what it stands in has to be as well.
    using Picks = std::function<bool(const std::string& member)>;

    /// `shownName` is what failures name.
    BackupArchiveReader(std::string path, std::string shownName);

    /// Reads to the end and unpacks on the way; what was unpacked before a failure stays, and is
    /// for the caller to remove. Throws Exception NSGenericException, with a line for the user, for
    /// an archive that is damaged, that holds none of the roots, or when the disk is full.
    BackupFacts unpack(std::vector<Root> roots, const Picks& picks);
    /// Reads to the end and unpacks nothing. Throws likewise.
    BackupFacts facts();

private:
    BackupFacts read();
    void open();
    void readMember(archive_entry* entry, BackupFacts& facts);
    void checkName(const std::string& name, bool isFolder);
    void readBody(archive_entry* entry, const std::string& name, const Root* root);
    void readFile(archive_entry* entry, const std::string& path);
    void readLink(archive_entry* entry, const std::string& name, const Root& root);
    std::string textOfMember(archive_entry* entry);
    bool leadsOut(const std::string& name, const std::string& target) const;
    bool nextBlock(std::string_view& bytes);
    void checkRoots() const;
    void removeBroken(const BackupFacts& facts) const;
    const Root* rootOf(const std::string& name) const;
    [[noreturn]] void damaged(const std::string& why) const;
    [[noreturn]] void notUnpacked() const;

    std::string _path;
    std::string _shownName;
    std::vector<Root> _roots;
    Picks _picks;
    ArchivePointer _archive;
    SHA256Stream _digest;
    UnpackedTree _tree;
    std::string _buffer;
    std::unordered_set<std::string> _folders;  // members that others may stand in
    std::set<std::string> _tops;               // first components met
};

}  // namespace kt
