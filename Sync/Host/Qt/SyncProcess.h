#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace kt {

/// How a sync ended, as its program says.
struct SyncOutcome {
    bool isCompleted = false;
    QString status;            // one line for the user
    QString counts;            // what the plug-in said last; may hold a line break
    std::vector<QString> log;  // what is to be known besides: losses, reasons
};

/// A sync in a program of its own, icalsync, so that a window stays alive whatever happens. To be
/// used on the interface thread; everything is told there. The program is not left alone: a process
/// that is still running when this object goes is ended.
class SyncProcess {
public:
    struct Listener {
        std::function<void(const QString& line)> log;
        std::function<void(const QString& status)> status;
        std::function<void(const QString& title, int current, int total)> step;
        std::function<void(const SyncOutcome& outcome)> finished;
    };

    explicit SyncProcess(Listener listener);
    ~SyncProcess();
    SyncProcess(const SyncProcess&) = delete;
    SyncProcess& operator=(const SyncProcess&) = delete;

    /// `arguments` are those that say where, `options` those of the command, which is added. Not
    /// while one is running.
    void start(const QString& program, const QStringList& arguments, const QStringList& options);
    bool isRunning() const { return _process.state() != QProcess::NotRunning; }
    /// Asks the run to stop where nothing is half done; it ends, later, with its own outcome. Asks
    /// once only: more signals would end the program wherever it is.
    void cancel();
    /// Whether the run at hand was asked to stop.
    bool isCancelled() const { return _isCancelled; }

private:
    void readEvents();
    void takeEvent(const QByteArray& line);
    void ended();
    void couldNotStart();

    Listener _listener;
    QByteArray _unfinishedLine;  // of the program's standard error
    bool _isCancelled = false;
    QProcess _process;
};

/// What `icalsync --json sync` printed; a failure of its own when that is no report.
SyncOutcome outcomeFromReport(const QByteArray& json);

}  // namespace kt
