#include <chrono>
#include <csignal>
#include <exception>
#include <thread>

#include <nlohmann/json.hpp>
#include <pthread.h>
#include <unistd.h>

#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Http/SiteServer.h"
#include "Sync/Host/Publishing/PublishedText.h"

namespace kt {

namespace {

/// SIGINT and SIGTERM reach nobody but who waits for them, from before the first thread is made.
class AwaitedSignals {
public:
    AwaitedSignals()
    {
        ::sigemptyset(&_signals);
        ::sigaddset(&_signals, SIGINT);
        ::sigaddset(&_signals, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &_signals, &_before);
    }
    ~AwaitedSignals() { ::pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
    AwaitedSignals(const AwaitedSignals&) = delete;
    AwaitedSignals& operator=(const AwaitedSignals&) = delete;

    void wait() const
    {
        int signal = 0;
        ::sigwait(&_signals, &signal);
    }

private:
    sigset_t _signals{};
    sigset_t _before{};
};

constexpr std::size_t kLongestTarget = 200;
// A reader of a page waits less patiently than a sync.
constexpr std::chrono::seconds kServerWait{2};

SiteServer::AccessLog accessLog(bool isQuiet)
{
    if (isQuiet)
        return {};
    return [](std::string_view method, std::string_view target, int status) {
        writeFully(STDERR_FILENO,
                   stringWithFormat("%@ %@ %d\n", method,
                                    showableText(target.substr(0, kLongestTarget)), status));
    };
}

/// Serves until a signal asks for the end. Throws what ended it before.
void serve(SiteServer& server, const AwaitedSignals& signals)
{
    std::exception_ptr failure;
    std::thread serving([&] {
        try {
            server.run();
        } catch (...) {
            failure = std::current_exception();
            ::kill(::getpid(), SIGTERM);  // wakes the thread that waits for one
        }
    });
    signals.wait();
    server.stop();
    serving.join();
    if (failure)
        std::rethrow_exception(failure);
}

}  // namespace

ExitCode serveCommand(const CommandLine& line, const Place& place)
{
    const AwaitedSignals signals;
    const WriteGuard guard;
    Site site(syncServerWithURL(place.serverURL, kServerWait));
    SiteServer server(site, place.site.listen, place.site.port, accessLog(line.quiet));
    PublicSite own = place.site;
    own.port = server.port();
    const std::string address = own.url() + std::string(kListingPath);
    printResult(line.json
                    ? jsonText({{"address", address}, {"port", own.port}}) + "\n"
                    : stringWithFormat("Die öffentlichen Kalender stehen unter %@\n", address));
    serve(server, signals);
    return ExitCode::done;
}

}  // namespace kt
