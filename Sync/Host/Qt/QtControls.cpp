#include "Sync/Host/Qt/QtControls.h"

#include <QGuiApplication>
#include <QStackedWidget>
#include <utility>

namespace kt {

QWidget* widgetOfView(View* view)
{
    const auto* holder = dynamic_cast<WidgetHolder*>(view);
    return holder == nullptr ? nullptr : holder->heldWidget();
}

void QtButton::setEnabled(bool enabled)
{
    if (widget() != nullptr)
        widget()->setEnabled(enabled);
}

void QtButton::setTitle(const std::string& title)
{
    if (widget() != nullptr)
        widget()->setText(QString::fromStdString(title));
}

std::int32_t QtButton::intValue() const
{
    return widget() != nullptr && widget()->isChecked() ? 1 : 0;
}

void QtButton::setIntValue(std::int32_t value)
{
    if (widget() != nullptr)
        widget()->setChecked(value != 0);
}

void QtLabel::setStringValue(const std::string& text)
{
    if (widget() != nullptr)
        widget()->setText(QString::fromStdString(text));
}

QtProgressIndicator::QtProgressIndicator(QProgressBar* bar) : QtView(bar)
{
    QSizePolicy policy = bar->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    bar->setSizePolicy(policy);
    show(false);
}

QtProgressIndicator::~QtProgressIndicator() { showPointer(false); }

void QtProgressIndicator::setDisplayedWhenStopped(bool displayed)
{
    _isDisplayedWhenStopped = displayed;
    show(_isRunning);
}

void QtProgressIndicator::startAnimation() { show(true); }

void QtProgressIndicator::stopAnimation() { show(false); }

void QtProgressIndicator::showPointer(bool isBusy)
{
    if (std::exchange(_hasBusyPointer, isBusy) == isBusy)
        return;
    if (isBusy)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}

void QtProgressIndicator::show(bool isRunning)
{
    _isRunning = isRunning;
    showPointer(isRunning);
    if (widget() == nullptr)
        return;
    // A range from 0 to 0 is the one without an end.
    widget()->setRange(0, isRunning ? 0 : 1);
    widget()->setValue(0);
    widget()->setVisible(isRunning || _isDisplayedWhenStopped);
    if (isRunning)
        widget()->repaint();
}

void QtTabView::setHidden(bool hidden)
{
    if (widget() == nullptr)
        return;
    if (auto* stack = qobject_cast<QStackedWidget*>(widget()->parentWidget()))
        stack->setCurrentIndex(hidden ? 0 : stack->indexOf(widget()));
    else
        QtView::setHidden(hidden);
}

}  // namespace kt
