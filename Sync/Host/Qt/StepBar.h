#pragma once

#include <QProgressBar>
#include <QString>

namespace kt {

/// A progress bar whose text is the title of the step at hand. That is somebody's own text, so a
/// percent sign in it means nothing, unlike one in a progress bar's format.
class StepBar : public QProgressBar {
public:
    void setTitle(const QString& title)
    {
        _title = title;
        update();
    }
    QString text() const override { return _title; }

private:
    QString _title;
};

}  // namespace kt
