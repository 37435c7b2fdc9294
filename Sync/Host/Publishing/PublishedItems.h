#pragma once

#include <optional>
#include <string>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Publishing/PublishedCalendar.h"

namespace kt {

/// Turns the records of one public calendar into what others may see of them. For an anonymised
/// calendar nothing but times is taken from a record at all, so nothing else can get out; not even
/// zones, which tell where somebody is, unless a series needs its own to be right all year.
class PublishedItems {
public:
    /// `secret` goes into the names that anonymised items get, so that none can be guessed.
    PublishedItems(PublishingOptions options, std::string secret, std::string since);

    /// The series that a detached occurrence belongs to.
    struct Series {
        std::string key;
        PublishedDate start;
    };

    /// Nullopt without a start. Without a series the event stands for itself. Throws Exception for
    /// a record that holds values of the wrong kind.
    std::optional<PublishedEvent> event(const std::string& key, const Dictionary& record,
                                        const std::optional<Series>& series) const;
    /// Nullopt for an anonymised task that is done or has no date.
    std::optional<PublishedTask> task(const std::string& key, const Dictionary& record) const;

private:
    PublishedItem item(const std::string& uidKey, const Dictionary& record) const;

    PublishingOptions _options;
    std::string _secret;
    std::string _since;
};

}  // namespace kt
