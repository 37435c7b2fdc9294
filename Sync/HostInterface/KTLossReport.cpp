#include "Sync/HostInterface/KTLossReport.h"

#include <utility>

namespace kt {

namespace {

thread_local KTLoss current;

}  // namespace

LossScope::LossScope(std::string_view calendar, std::string_view file)
{
    if (!calendar.empty())
        _outerCalendar = std::exchange(current.calendar, std::string(calendar));
    if (!file.empty())
        _outerFile = std::exchange(current.file, std::string(file));
}

LossScope::~LossScope()
{
    if (_outerCalendar)
        current.calendar = *std::move(_outerCalendar);
    if (_outerFile)
        current.file = *std::move(_outerFile);
}

void reportLoss(std::string_view reason)
{
    auto* report = hostClass<KTLossReport>();
    if (report == nullptr)
        return;
    KTLoss loss = current;
    loss.reason = reason;
    report->reportLoss(loss);
}

}  // namespace kt
