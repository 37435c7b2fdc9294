#include "Sync/Host/Qt/SettingsWindow.h"

#include <QCloseEvent>
#include <QFont>
#include <QHBoxLayout>
#include <QIcon>
#include <QMenuBar>
#include <QMetaObject>
#include <QPixmap>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <memory>
#include <string_view>
#include <utility>

#include "Sync/Host/Qt/OwnerCall.h"
#include "Sync/Host/Qt/QtControls.h"
#include "Sync/Host/Services/IconFile.h"

namespace kt {

namespace {

QIcon iconFromImage(const Image* image)
{
    QIcon icon;
    if (image == nullptr)
        return icon;
    for (const auto png : pngPicturesOfIcon(image->contents())) {
        QPixmap pixmap;
        if (pixmap.loadFromData(reinterpret_cast<const uchar*>(png.data()),
                                static_cast<uint>(png.size()), "PNG"))
            icon.addPixmap(pixmap);
    }
    return icon;
}

QString textOf(std::string_view line)
{
    return QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size()));
}

/// Layouts and containers belong to the widget that they are given to.
template <class T, class... Arguments>
T* made(Arguments&&... arguments)
{
    return std::make_unique<T>(std::forward<Arguments>(arguments)...).release();
}

}  // namespace

SettingsWindow::SettingsWindow(SettingsWorkplace& workplace, SyncCommand syncCommand)
    : _workplace(workplace),
      _plugin(workplace.plugin()),
      _syncCommand(std::move(syncCommand)),
      _sync({[this](const QString& line) { addToLog(line); },
             [this](const QString& status) { _status.setText(status); },
             [this](const QString& title, int current, int total) {
                 _progress.setRange(0, total);
                 _progress.setValue(current);
                 _progress.setTitle(title);
             },
             [this](const SyncOutcome& outcome) { syncEnded(outcome); }})
{
    setWindowTitle(QString::fromStdString(_plugin.displayName()));
    auto* column = made<QVBoxLayout>();
    column->addWidget(header());
    column->addWidget(viewAndLog(), 1);
    column->addLayout(syncRow());
    column->addWidget(&_status);
    setCentralWidget(made<QWidget>());
    centralWidget()->setLayout(column);
    makeMenus();
    nameThings();
    followState();
    _workplace.setListener({[this](std::string_view line) { tellProblem(textOf(line)); },
                            [this](std::string_view line) { addToLog(textOf(line)); },
                            [this] { unlockLater(); }});
    reload();
    constexpr QSize kUsualSize(760, 620);
    resize(kUsualSize.expandedTo(minimumSizeHint()));
}

SettingsWindow::~SettingsWindow()
{
    _workplace.setListener({});
    _workplace.unlock();
}

QWidget* SettingsWindow::header()
{
    constexpr QSize kIconSize(48, 48);
    constexpr qreal kTitleGrowth = 1.3;
    const QIcon icon = iconFromImage(_plugin.menuIcon().get());
    setWindowIcon(icon);
    _icon.setPixmap(icon.pixmap(kIconSize, devicePixelRatioF()));
    QFont font = _title.font();
    font.setPointSizeF(font.pointSizeF() * kTitleGrowth);
    font.setBold(true);
    _title.setFont(font);
    _title.setTextFormat(Qt::PlainText);
    _title.setText(QString::fromStdString(_plugin.displayName()));
    _home.setText(QString::fromStdString(_workplace.place().home));
    _home.setTextFormat(Qt::PlainText);
    _home.setTextInteractionFlags(Qt::TextSelectableByMouse);
    _isOn.setText(tr("Synchronisierung ein&geschaltet"));
    QObject::connect(&_isOn, &QCheckBox::toggled, this, [this](bool isOn) { switchPlugin(isOn); });

    auto* names = made<QVBoxLayout>();
    names->setSpacing(0);
    names->addWidget(&_title);
    names->addWidget(&_home);
    auto* row = made<QHBoxLayout>();
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(&_icon);
    row->addLayout(names, 1);
    row->addWidget(&_isOn);
    auto* container = made<QWidget>();
    container->setLayout(row);
    return container;
}

QWidget* SettingsWindow::viewAndLog()
{
    _viewPlace.setLayout(made<QVBoxLayout>());
    _viewPlace.layout()->setContentsMargins(0, 0, 0, 0);
    _noView.setAlignment(Qt::AlignCenter);
    _noView.setWordWrap(true);
    _noView.setTextFormat(Qt::PlainText);
    _viewPlace.layout()->addWidget(&_noView);

    constexpr int kMostLines = 5000;
    _logLabel.setText(tr("&Protokoll:"));
    _logLabel.setBuddy(&_log);
    _log.setReadOnly(true);
    _log.setMaximumBlockCount(kMostLines);
    _log.setTabChangesFocus(true);
    // Read with the keyboard as well: selecting, copying, moving a cursor.
    _log.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* logColumn = made<QVBoxLayout>();
    logColumn->setContentsMargins(0, 0, 0, 0);
    logColumn->addWidget(&_logLabel);
    logColumn->addWidget(&_log);
    auto* logPlace = made<QWidget>();
    logPlace->setLayout(logColumn);

    auto* splitter = made<QSplitter>(Qt::Vertical);
    splitter->addWidget(&_viewPlace);
    splitter->addWidget(logPlace);
    splitter->setChildrenCollapsible(false);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    return splitter;
}

QLayout* SettingsWindow::syncRow()
{
    constexpr int kRoomBesideText = 16;
    _syncButton.setText(tr("Jetzt &synchronisieren"));
    _syncButton.setDefault(true);
    _syncButton.setMinimumWidth(_syncButton.sizeHint().width() + kRoomBesideText);
    _cancelButton.setText(tr("Abbre&chen"));
    QObject::connect(&_syncButton, &QPushButton::clicked, this, [this] { startSync({}); });
    QObject::connect(&_cancelButton, &QPushButton::clicked, this, [this] { cancelSync(); });
    QSizePolicy policy = _progress.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    _progress.setSizePolicy(policy);
    _status.setTextFormat(Qt::PlainText);
    _status.setWordWrap(true);
    _status.setTextInteractionFlags(Qt::TextSelectableByMouse);
    // Room for the lines of a summary, so that nothing moves when it comes.
    constexpr int kLines = 3;
    _status.setMinimumHeight(kLines * _status.fontMetrics().lineSpacing());
    _status.setAlignment(Qt::AlignTop | Qt::AlignLeft);
    auto* row = made<QHBoxLayout>();
    row->addWidget(&_syncButton);
    row->addWidget(&_cancelButton);
    row->addWidget(&_progress, 1);
    return row;
}

void SettingsWindow::makeMenus()
{
    _reloadAction.setText(tr("Kalender &neu laden"));
    _reloadAction.setShortcut(Qt::Key_F5);
    _quitAction.setText(tr("&Beenden"));
    _quitAction.setShortcut(QKeySequence::Quit);
    _syncAction.setText(tr("&Jetzt synchronisieren"));
    _syncAction.setShortcut(Qt::CTRL | Qt::Key_R);
    _fullSyncAction.setText(tr("Alles &vergleichen"));
    _fullSyncAction.setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_R);
    _cancelAction.setText(tr("&Abbrechen"));
    _cancelAction.setShortcut(Qt::Key_Escape);
    QObject::connect(&_reloadAction, &QAction::triggered, this, [this] { reload(); });
    QObject::connect(&_quitAction, &QAction::triggered, this, [this] { close(); });
    QObject::connect(&_syncAction, &QAction::triggered, this, [this] { startSync({}); });
    QObject::connect(&_fullSyncAction, &QAction::triggered, this,
                     [this] { startSync({QStringLiteral("--full")}); });
    QObject::connect(&_cancelAction, &QAction::triggered, this, [this] { cancelSync(); });
    menuBar()->addMenu(tr("&Datei"))->addActions({&_reloadAction, &_quitAction});
    menuBar()
        ->addMenu(tr("S&ynchronisierung"))
        ->addActions({&_syncAction, &_fullSyncAction, &_cancelAction});
}

/// For screen readers, and for who looks a widget up by its name.
void SettingsWindow::nameThings()
{
    _title.setObjectName(QStringLiteral("title"));
    _home.setObjectName(QStringLiteral("home"));
    _isOn.setObjectName(QStringLiteral("isOn"));
    _log.setObjectName(QStringLiteral("log"));
    _log.setAccessibleName(tr("Protokoll"));
    _syncButton.setObjectName(QStringLiteral("syncButton"));
    _cancelButton.setObjectName(QStringLiteral("cancelButton"));
    _progress.setObjectName(QStringLiteral("progress"));
    _progress.setAccessibleName(tr("Fortschritt der Synchronisierung"));
    _status.setObjectName(QStringLiteral("status"));
    _noView.setObjectName(QStringLiteral("noView"));
    _icon.setAccessibleName(tr("Symbol"));
    _home.setAccessibleDescription(tr("Heimordner, dessen Kalender synchronisiert werden"));
}

/// Null while there is none, with the reason where the view would stand.
QWidget* SettingsWindow::currentView()
{
    if (const auto obstacle = _workplace.obstacle()) {
        _noView.setText(QString::fromStdString(*obstacle));
        return nullptr;
    }
    QWidget* view = widgetOfView(_workplace.configView());
    _noView.setText(tr("Die Liste der Kalender kann hier nicht gezeigt werden."));
    return view;
}

void SettingsWindow::showView()
{
    QWidget* view = currentView();
    if (view == nullptr && _view)
        _view->hide();
    if (view != nullptr && view != _view)
        _viewPlace.layout()->addWidget(view);
    if (view != nullptr) {
        view->show();
        _view = view;
    }
    _noView.setVisible(view == nullptr);
    const QSignalBlocker blocker(&_isOn);
    callOwner("isEnabled", [this] { _isOn.setChecked(_plugin.isEnabled()); });
}

void SettingsWindow::reload()
{
    if (isSyncing())
        return;
    ++_reloadsUnderWay;
    showView();
    // The table reads its rows, and the plug-in looks after the selected one, when this event is
    // over; what goes wrong until then is no reason to begin again.
    const auto end = [this] {
        --_reloadsUnderWay;
        _problem.clear();
    };
    QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
}

/// A setting could not be stored. What is shown is read anew, since it may not be what holds. An
/// event that stores several settings says the same of each, which is worth one line.
void SettingsWindow::tellProblem(const QString& line)
{
    _status.setText(line);
    if (std::exchange(_problem, line) != line)
        addToLog(line);
    if (_reloadsUnderWay > 0 || std::exchange(_isReloadDue, true))
        return;
    const auto readAgain = [this] {
        _isReloadDue = false;
        reload();
    };
    QMetaObject::invokeMethod(this, readAgain, Qt::QueuedConnection);
}

void SettingsWindow::unlockLater()
{
    QMetaObject::invokeMethod(
        this, [this] { _workplace.unlock(); }, Qt::QueuedConnection);
}

void SettingsWindow::switchPlugin(bool isOn)
{
    callOwner(isOn ? "enable" : "disable", [&] { isOn ? _plugin.enable() : _plugin.disable(); });
}

void SettingsWindow::startSync(const QStringList& options)
{
    if (isSyncing())
        return;
    _status.setText(tr("Die Synchronisierung beginnt..."));
    _progress.setRange(0, 0);
    _progress.setTitle({});
    _sync.start(_syncCommand.program, _syncCommand.arguments, options);
    followState();
}

void SettingsWindow::cancelSync()
{
    _sync.cancel();
    _status.setText(tr("Die Synchronisierung wird abgebrochen..."));
    followState();
}

void SettingsWindow::syncEnded(const SyncOutcome& outcome)
{
    _status.setText(outcome.isCompleted && !outcome.counts.isEmpty()
                        ? outcome.status + QStringLiteral("\n") + outcome.counts
                        : outcome.status);
    for (const QString& line : outcome.log)
        addToLog(line);
    if (!outcome.isCompleted)
        addToLog(outcome.status);
    followState();
    reload();
    if (_closesAfterSync)
        close();
}

void SettingsWindow::followState()
{
    const bool isRunning = isSyncing();
    _viewPlace.setEnabled(!isRunning);
    _isOn.setEnabled(!isRunning);
    _syncButton.setEnabled(!isRunning);
    _cancelButton.setEnabled(isRunning && !_sync.isCancelled());
    _progress.setVisible(isRunning);
    _reloadAction.setEnabled(!isRunning);
    _syncAction.setEnabled(!isRunning);
    _fullSyncAction.setEnabled(!isRunning);
    _cancelAction.setEnabled(isRunning && !_sync.isCancelled());
}

void SettingsWindow::addToLog(const QString& line) { _log.appendPlainText(line); }

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    if (!isSyncing()) {
        QMainWindow::closeEvent(event);
        return;
    }
    _closesAfterSync = true;
    cancelSync();
    event->ignore();
}

}  // namespace kt
