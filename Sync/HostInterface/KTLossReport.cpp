#include "Sync/HostInterface/KTLossReport.h"

#include <utility>

namespace kt {

namespace {

thread_local KTLoss current;
thread_local int silences = 0;
thread_local std::uint64_t told = 0;
thread_local UnreadCollector* collector = nullptr;

/// Puts the text in place of the outer scope's, unless it is empty.
std::optional<std::string> replaced(std::string& text, std::string_view by)
{
    if (by.empty())
        return std::nullopt;
    return std::exchange(text, std::string(by));
}

void putBack(std::string& text, std::optional<std::string>& outer)
{
    if (outer)
        text = *std::move(outer);
}

}  // namespace

LossScope::LossScope(std::string_view calendar, std::string_view file, std::string_view calendarKey)
    : _outerCalendar(replaced(current.calendar, calendar)),
      _outerFile(replaced(current.file, file)),
      _outerCalendarKey(replaced(current.calendarKey, calendarKey))
{}

LossScope::~LossScope()
{
    putBack(current.calendar, _outerCalendar);
    putBack(current.file, _outerFile);
    putBack(current.calendarKey, _outerCalendarKey);
}

LossSilence::LossSilence() { ++silences; }

LossSilence::~LossSilence() { --silences; }

UnreadCollector::UnreadCollector() { collector = this; }

UnreadCollector::~UnreadCollector() { collector = nullptr; }

std::uint64_t lossesTold() { return told; }

void reportLoss(KTLoss::Kind kind, std::string_view reason)
{
    ++told;
    auto* report = silences == 0 ? hostClass<KTLossReport>() : nullptr;
    if (report == nullptr)
        return;
    KTLoss loss = current;
    loss.kind = kind;
    loss.reason = reason;
    report->reportLoss(loss);
}

void reportUnread(const KTUnreadText& text, std::string_view reason)
{
    ++told;
    auto* report = silences == 0 ? hostClass<KTLossReport>() : nullptr;
    if (report == nullptr && collector == nullptr)
        return;
    KTLoss loss = current;
    loss.kind = KTLoss::Kind::unread;
    loss.extent = text.extent;
    loss.uid = text.uid;
    loss.digest = text.digest;
    if (collector != nullptr)
        collector->_texts.push_back(loss);
    loss.reason = reason;
    if (report != nullptr)
        report->reportLoss(loss);
}

}  // namespace kt
