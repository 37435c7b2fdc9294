#include "Sync/Host/Qt/SyncProcess.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <csignal>
#include <utility>

#include <sys/types.h>

namespace kt {

namespace {

/// What happened to the text, by the kind of loss that the program names.
QString wordForKind(const QString& kind)
{
    if (kind == QLatin1String("unwritten"))
        return QStringLiteral("Nicht geschrieben");
    if (kind == QLatin1String("curtailed"))
        return QStringLiteral("Nicht ganz geschrieben");
    return QStringLiteral("Nicht gelesen");
}

/// Of what is read, though not in all, the program's "check" tells.
bool isRemark(const QJsonObject& loss)
{
    return loss[QLatin1String("kind")].toString() == QLatin1String("thinned");
}

/// "Nicht gelesen: Arbeit: /pfad/1.ics: kein Datum", without what is not known.
QString lineForLoss(const QJsonObject& loss)
{
    QStringList parts(wordForKind(loss[QLatin1String("kind")].toString()));
    for (const char* key : {"calendar", "file", "reason"}) {
        const QString part = loss[QLatin1String(key)].toString();
        if (!part.isEmpty())
            parts << part;
    }
    return parts.join(QStringLiteral(": "));
}

/// What the system says of it is in whatever language the system speaks.
QString whyNotStarted(const QString& program)
{
    const QFileInfo file(program);
    if (!file.exists())
        return QStringLiteral("Das Programm gibt es nicht.");
    if (!file.isFile() || !file.isExecutable())
        return QStringLiteral("Das ist kein Programm, das gestartet werden darf.");
    return QStringLiteral("Das System lässt es nicht zu.");
}

}  // namespace

SyncOutcome outcomeFromReport(const QByteArray& json)
{
    const QJsonObject report = QJsonDocument::fromJson(json).object();
    SyncOutcome outcome;
    outcome.isCompleted = report[QLatin1String("completed")].toBool();
    outcome.status = report[QLatin1String("status")].toString();
    outcome.counts = report[QLatin1String("pluginStatus")].toString();
    if (report.contains(QLatin1String("error")))
        outcome.status = report[QLatin1String("error")].toString();
    else if (outcome.status.isEmpty())
        outcome.status = QStringLiteral("Die Synchronisierung ist unerwartet zu Ende gegangen.");
    for (const QJsonValue& loss : report[QLatin1String("losses")].toArray())
        if (!isRemark(loss.toObject()))
            outcome.log.push_back(lineForLoss(loss.toObject()));
    for (const QJsonValue& reason : report[QLatin1String("reasons")].toArray())
        if (reason.toString() != outcome.status)
            outcome.log.push_back(reason.toString());
    return outcome;
}

SyncProcess::SyncProcess(Listener listener) : _listener(std::move(listener))
{
    QObject::connect(&_process, &QProcess::readyReadStandardError, &_process,
                     [this] { readEvents(); });
    QObject::connect(&_process, &QProcess::finished, &_process, [this] { ended(); });
    QObject::connect(&_process, &QProcess::errorOccurred, &_process,
                     [this](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             couldNotStart();
                     });
}

SyncProcess::~SyncProcess()
{
    // Nobody is there any more to be told how it ends.
    QObject::disconnect(&_process, nullptr, nullptr, nullptr);
    if (!isRunning())
        return;
    constexpr int kPatience = 5000;  // ms
    cancel();
    _process.waitForFinished(kPatience);
}

void SyncProcess::start(const QString& program, const QStringList& arguments,
                        const QStringList& options)
{
    _unfinishedLine.clear();
    _isCancelled = false;
    _process.start(program, arguments +
                                QStringList{QStringLiteral("--json"), QStringLiteral("--events"),
                                            QStringLiteral("sync")} +
                                options);
}

void SyncProcess::cancel()
{
    if (isRunning() && _process.processId() > 0 && !std::exchange(_isCancelled, true))
        ::kill(static_cast<pid_t>(_process.processId()), SIGINT);
}

void SyncProcess::readEvents()
{
    _unfinishedLine += _process.readAllStandardError();
    for (qsizetype end = 0; (end = _unfinishedLine.indexOf('\n')) >= 0;) {
        const QByteArray line = _unfinishedLine.left(end);
        _unfinishedLine.remove(0, end + 1);
        takeEvent(line);
    }
}

void SyncProcess::takeEvent(const QByteArray& line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line);
    const QJsonObject event = document.object();
    const QJsonObject step = event[QLatin1String("step")].toObject();
    if (!document.isObject())
        _listener.log(QString::fromUtf8(line));
    else if (event.contains(QLatin1String("log")))
        _listener.log(event[QLatin1String("log")].toString());
    else if (event.contains(QLatin1String("status")))
        _listener.status(event[QLatin1String("status")].toString());
    else if (!step.isEmpty())
        _listener.step(step[QLatin1String("title")].toString(),
                       step[QLatin1String("current")].toInt(),
                       step[QLatin1String("total")].toInt());
}

void SyncProcess::ended()
{
    readEvents();
    if (!_unfinishedLine.isEmpty())
        takeEvent(std::exchange(_unfinishedLine, {}));
    const QByteArray report = _process.readAllStandardOutput();
    SyncOutcome outcome = outcomeFromReport(report);
    // It was asked before it could listen, and so before it began anything.
    if (_isCancelled && report.isEmpty())
        outcome.status = QStringLiteral("Die Synchronisierung wurde abgebrochen.");
    _listener.finished(outcome);
}

void SyncProcess::couldNotStart()
{
    SyncOutcome outcome;
    outcome.status = QStringLiteral("\"%1\" kann nicht gestartet werden: %2")
                         .arg(_process.program(), whyNotStarted(_process.program()));
    _listener.finished(outcome);
}

}  // namespace kt
