#pragma once

#include <cstdint>
#include <string>

namespace kt {

// What a configuration view is made of, as far as a plug-in has to do with it; how the controls
// look and where they stand is the business of their nib. Used on the interface thread alone. The
// nib that they came with owns them (see Nib.h).

/// Anything that can be seen in a window.
class View {
public:
    virtual ~View() = default;

    virtual void setHidden(bool hidden) = 0;
    /// Redraws at once, while the event at hand is still being worked on.
    virtual void display() = 0;
};

/// A view that a person can work with.
class Control : public View {
public:
    virtual void setEnabled(bool enabled) = 0;
};

/// A push button or a check box.
class Button : public Control {
public:
    virtual void setTitle(const std::string& title) = 0;
    /// The state of a check box: 1 ticked, 0 not.
    virtual std::int32_t intValue() const = 0;
    /// Ticks the box for any number but 0; sends no action.
    virtual void setIntValue(std::int32_t value) = 0;
};

/// A line of text that cannot be edited.
class Label : public View {
public:
    virtual void setStringValue(const std::string& text) = 0;
};

/// Shows that something is going on, without saying how far it is.
class ProgressIndicator : public View {
public:
    /// Whether it goes on moving while the interface thread is busy.
    virtual void setUsesThreadedAnimation(bool threaded) = 0;
    virtual void setDisplayedWhenStopped(bool displayed) = 0;
    virtual void startAnimation() = 0;
    virtual void stopAnimation() = 0;
};

/// Views of which one is shown at a time, each under a tab.
class TabView : public View {};

}  // namespace kt
