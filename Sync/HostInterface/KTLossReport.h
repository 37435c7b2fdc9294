#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// Something of the user's that could not be read, or was skipped, dropped or replaced.
struct KTLoss {
    std::string calendar;  // title, or empty when no calendar is known
    std::string file;      // path, or empty
    std::string reason;    // one German line

    friend bool operator==(const KTLoss&, const KTLoss&) = default;
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
    LossScope(std::string_view calendar, std::string_view file);
    ~LossScope();
    LossScope(const LossScope&) = delete;
    LossScope& operator=(const LossScope&) = delete;

private:
    // Of the outer scope, as far as this one puts something in its place.
    std::optional<std::string> _outerCalendar;
    std::optional<std::string> _outerFile;
};

/// Tells the host's class, if there is one, with the calendar and file of the scopes in force on
/// this thread.
void reportLoss(std::string_view reason);

}  // namespace kt
