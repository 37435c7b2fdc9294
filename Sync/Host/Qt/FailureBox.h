#pragma once

#include <QMessageBox>
#include <string>

namespace kt {

/// Says why the program cannot go on. The line can hold anything that a path can hold, and is shown
/// as it is.
class FailureBox : public QMessageBox {
public:
    explicit FailureBox(const std::string& line)
    {
        setIcon(QMessageBox::Critical);
        setWindowTitle(QStringLiteral("iCal-Kalender"));
        setTextFormat(Qt::PlainText);
        setText(QString::fromStdString(line));
    }
};

}  // namespace kt
