#pragma once

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStringList>

#include "Sync/Host/Qt/SettingsWorkplace.h"
#include "Sync/Host/Qt/StepBar.h"
#include "Sync/Host/Qt/SyncProcess.h"

namespace kt {

/// The window of icalsync-settings: the plug-in's configuration view, and below it what a sync is
/// doing. The view is locked while a sync of this window runs. Closing the window then cancels the
/// sync, and the window goes when it has ended.
class SettingsWindow : public QMainWindow {
public:
    /// How a sync is started.
    struct SyncCommand {
        QString program;
        QStringList arguments;  // those that say where
    };

    /// The workplace is not owned, and outlives the window.
    SettingsWindow(SettingsWorkplace& workplace, SyncCommand syncCommand);
    ~SettingsWindow() override;

    /// Reads calendars and settings anew.
    void reload();
    bool isSyncing() const { return _sync.isRunning(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* header();
    QWidget* viewAndLog();
    QLayout* syncRow();
    void makeMenus();
    void nameThings();

    QWidget* currentView();
    void showView();
    void switchPlugin(bool isOn);
    void startSync(const QStringList& options);
    void cancelSync();
    void syncEnded(const SyncOutcome& outcome);
    void followState();
    void tellProblem(const QString& line);
    void unlockLater();
    void addToLog(const QString& line);

    SettingsWorkplace& _workplace;
    KTSyncPluginProtocol& _plugin;
    SyncCommand _syncCommand;
    int _reloadsUnderWay = 0;  // until the table has read its rows, which is when the event is over
    bool _isReloadDue = false;
    QString _problem;  // the last one of the event at hand
    bool _closesAfterSync = false;

    QLabel _icon;
    QLabel _title;
    QLabel _home;
    QCheckBox _isOn;
    QWidget _viewPlace;
    QPointer<QWidget> _view;  // the plug-in's; null before it was shown first
    QLabel _noView;
    QLabel _logLabel;
    QPlainTextEdit _log;
    QPushButton _syncButton;
    QPushButton _cancelButton;
    StepBar _progress;
    QLabel _status;
    QAction _reloadAction;
    QAction _quitAction;
    QAction _syncAction;
    QAction _fullSyncAction;
    QAction _cancelAction;
    SyncProcess _sync;  // goes first: it tells the others
};

}  // namespace kt
