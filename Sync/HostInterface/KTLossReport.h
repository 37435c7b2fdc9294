#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// Something of the user's that has no place in a record, or could not be read or written.
struct KTLoss {
    enum class Kind {
        thinned,    // there is a record, but part of the text has no place in it
        unread,     // text that gave no record
        unsafe,     // text that carrying it across a rewrite would not keep
        unwritten,  // a record that could not be written this time
        curtailed,  // a record that the store's texts cannot hold whole, or not at all
    };
    /// How much is unread, and so which earlier records the text may be.
    enum class Extent {
        component,  // one component of the file, known by its UID where it has one
        file,       // whatever the file holds
        calendar,   // whatever the calendar's folder holds, the calendar itself included
    };

    std::string calendar{};  // title, or empty when no calendar is known
    std::string file{};      // path of a file or folder, or empty
    std::string reason{};    // one German line
    Kind kind = Kind::unread;
    Extent extent = Extent::file;  // of unread text
    std::string uid{};             // of an unread component, as written, or empty
    std::string digest{};          // SHA-1 of the unread text, hexadecimal, or empty
    std::string calendarKey{};     // record key of the calendar, or empty when not known

    friend bool operator==(const KTLoss&, const KTLoss&) = default;
};

/// Unread text, as far as it can be told from other such text.
struct KTUnreadText {
    KTLoss::Extent extent = KTLoss::Extent::file;
    std::string uid{};
    std::string digest{};
};

/// The host's optional class that wants to know of losses; without it nothing changes.
class KTLossReport : public KTHostClass {
public:
    static constexpr std::string_view className = "KTLossReport";

    virtual void reportLoss(const KTLoss& loss) = 0;
};

/// Says which calendar and file are being read for as long as it lives; scopes nest, an empty text
/// keeps the outer scope's. The text layer knows neither, but its losses have to name both.
class LossScope {
public:
    LossScope(std::string_view calendar, std::string_view file, std::string_view calendarKey = {});
    ~LossScope();
    LossScope(const LossScope&) = delete;
    LossScope& operator=(const LossScope&) = delete;

private:
    // Of the outer scope, as far as this one puts something in its place.
    std::optional<std::string> _outerCalendar;
    std::optional<std::string> _outerFile;
    std::optional<std::string> _outerCalendarKey;
};

// Tell the host's class, if there is one, with the calendar and file of the scopes in force on this
// thread.

void reportLoss(KTLoss::Kind kind, std::string_view reason);
void reportUnread(const KTUnreadText& text, std::string_view reason);

/// How many losses were told on this thread so far, be there anybody to hear of them or not.
std::uint64_t lossesTold();

/// While it lives, no loss is told on this thread: what is only tried out costs nobody anything.
class LossSilence {
public:
    LossSilence();
    ~LossSilence();
    LossSilence(const LossSilence&) = delete;
    LossSilence& operator=(const LossSilence&) = delete;
};

/// While it lives, collects the unread texts that are told on this thread, be there a host's class
/// or not. One at a time.
class UnreadCollector {
public:
    UnreadCollector();
    ~UnreadCollector();
    UnreadCollector(const UnreadCollector&) = delete;
    UnreadCollector& operator=(const UnreadCollector&) = delete;

    const std::vector<KTLoss>& texts() const { return _texts; }
    std::vector<KTLoss> takeTexts() { return std::move(_texts); }

private:
    friend void reportUnread(const KTUnreadText& text, std::string_view reason);

    std::vector<KTLoss> _texts;
};

}  // namespace kt
