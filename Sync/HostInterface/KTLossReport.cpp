#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

namespace {

thread_local KTLoss current;

}  // namespace

LossScope::LossScope(std::string_view calendar, std::string_view file) : _outer(current)
{
    if (!calendar.empty())
        current.calendar = calendar;
    if (!file.empty())
        current.file = file;
}

LossScope::~LossScope() { current = std::move(_outer); }

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
