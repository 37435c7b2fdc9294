#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QTabWidget>
#include <QWidget>

#include "Sync/HostInterface/Controls.h"

namespace kt {

/// The widget behind a control; null once it is gone.
class WidgetHolder {
public:
    virtual ~WidgetHolder() = default;
    virtual QWidget* heldWidget() const = 0;
};

/// The widget behind a view of this host; null for none, or for one of another host.
QWidget* widgetOfView(View* view);

/// A view that stands for a widget, which it does not own. What is asked of one whose widget is
/// gone does nothing.
template <class Base, class Widget>
class QtView : public Base, public WidgetHolder {
public:
    explicit QtView(Widget* widget) : _widget(widget) {}

    void setHidden(bool hidden) override
    {
        if (_widget)
            _widget->setHidden(hidden);
    }
    void display() override
    {
        if (_widget)
            _widget->repaint();
    }
    QWidget* heldWidget() const override { return _widget; }

protected:
    Widget* widget() const { return _widget; }

private:
    QPointer<Widget> _widget;
};

class QtPlainView : public QtView<View, QWidget> {
public:
    using QtView::QtView;
};

/// A push button or check box.
class QtButton : public QtView<Button, QAbstractButton> {
public:
    using QtView::QtView;

    void setEnabled(bool enabled) override;
    void setTitle(const std::string& title) override;
    std::int32_t intValue() const override;
    void setIntValue(std::int32_t value) override;
};

class QtLabel : public QtView<Label, QLabel> {
public:
    using QtView::QtView;

    void setStringValue(const std::string& text) override;
};

/// Keeps its place in the window while it is hidden. Widgets are drawn on the interface thread
/// alone, so it moves only while events are handled; for a call that keeps that thread busy it is
/// drawn once, before the call, and the pointer says that there is something to wait for.
class QtProgressIndicator : public QtView<ProgressIndicator, QProgressBar> {
public:
    explicit QtProgressIndicator(QProgressBar* widget);
    ~QtProgressIndicator() override;
    QtProgressIndicator(const QtProgressIndicator&) = delete;
    QtProgressIndicator& operator=(const QtProgressIndicator&) = delete;

    void setUsesThreadedAnimation(bool) override {}
    void setDisplayedWhenStopped(bool displayed) override;
    void startAnimation() override;
    void stopAnimation() override;

private:
    void show(bool isRunning);
    void showPointer(bool isBusy);

    bool _isDisplayedWhenStopped = true;
    bool _isRunning = false;
    bool _hasBusyPointer = false;
};

/// A hidden tab view that lies in a stack leaves its place to the first page of the stack.
class QtTabView : public QtView<TabView, QTabWidget> {
public:
    using QtView::QtView;

    void setHidden(bool hidden) override;
};

}  // namespace kt
