#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Services/BackupFacts.h"
#include "Sync/Host/Services/BackupName.h"
#include "Sync/Host/Services/RunBackups.h"
#include "Sync/Host/Services/UnpackedBackup.h"

namespace kt {

/// The dated backups of the store: the last ten, and the very first for good. Each is one archive,
/// `NAME.tar.zst`, with its facts beside it in a hidden file; older versions made folders, which
/// are read as well. A name is that of BackupName, without the extension.
class StoreBackups : public RunBackups {
public:
    /// The folder is made with the first backup.
    explicit StoreBackups(std::string folder);

    using Copy = BackupCopy;
    std::optional<Copy> make(const std::vector<std::string>& paths,
                             const Pause& pause = {}) const override;
    /// The last ten are kept.
    void prune(const std::optional<std::string>& kept) const override;

    /// Oldest first.
    std::vector<BackupName> all() const;
    std::vector<std::string> names() const;
    /// The one backup that a person means: by its name, a beginning of it, its number, or "letzte".
    /// Throws Exception NSGenericException, with a line for the user, for none or several.
    BackupName named(std::string_view text) const;

    /// What it holds; read from the backup itself where it does not stand beside it. Throws
    /// Exception NSGenericException, with a line for the user, when that is damaged.
    BackupFacts facts(const BackupName& name) const;
    /// Bytes that it takes.
    std::uint64_t size(const BackupName& name) const;

    using Picks = std::function<bool(const std::string& member)>;
    /// Unpacks a backup beside the paths that it was made from, and checks it. A path of which it
    /// holds nothing has no root. Picks choose among an archive's members. Throws Exception
    /// NSGenericException, with a line for the user, when that fails, or when it holds none of the
    /// paths; nothing is then left behind.
    std::unique_ptr<UnpackedBackup> unpack(const std::string& name,
                                           const std::vector<std::string>& paths,
                                           const Picks& picks = {}) const;

    /// Unpacks a backup and puts it in place. Throws as unpack does.
    void restore(const std::string& name, const std::vector<std::string>& paths) const override;

private:
    std::string pathOf(const BackupName& name) const;
    std::string factsPathOf(const BackupName& name) const;
    std::optional<BackupFacts> factsBeside(const BackupName& name) const;
    std::optional<BackupName> known(const std::string& name) const;
    /// The last backup, if it was made of exactly this.
    std::optional<Copy> lastOne(const std::string& fingerprint) const;
    Copy makeArchive(const std::vector<std::string>& paths, const std::string& fingerprint,
                     const Pause& pause) const;
    void remove(const BackupName& name) const;
    void removeLeftovers() const;

    std::string _folder;
};

}  // namespace kt
