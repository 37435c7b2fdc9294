#include "Sync/Host/Command/CancelOnSignal.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include <unistd.h>

namespace kt {

namespace {

constexpr std::array<int, 2> kSignals{SIGINT, SIGTERM};

std::atomic<StopWish*> wishToMake{nullptr};
std::atomic<const std::string*> patienceToAskFor{nullptr};
std::atomic<int> signalsSoFar{0};

void askForPatience()
{
    const std::string* line = patienceToAskFor;
    if (line == nullptr)
        return;
    const int error = errno;
    [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, line->data(), line->size());
    errno = error;
}

extern "C" void cancelForSignal(int signal)
{
    switch (signalsSoFar++) {
    case 0:
        if (StopWish* wish = wishToMake)
            wish->wish();
        break;
    case 1:
        askForPatience();
        break;
    default:
        // Takes effect as soon as this handler returns.
        std::signal(signal, SIG_DFL);
        ::raise(signal);
    }
}

}  // namespace

CancelOnSignal::CancelOnSignal(StopWish& wish, std::string patience)
    : _patience(std::move(patience))
{
    signalsSoFar = 0;
    wishToMake = &wish;
    patienceToAskFor = &_patience;
    struct sigaction action {};
    action.sa_handler = cancelForSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : kSignals)
        ::sigaction(signal, &action, nullptr);
}

CancelOnSignal::~CancelOnSignal()
{
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    wishToMake = nullptr;
    patienceToAskFor = nullptr;
}

}  // namespace kt
