#pragma once

#include <QTranslator>

namespace kt {

/// The texts that Qt itself puts into this program's windows, in German: context menus, keys, what
/// a control can do for a screen reader. The program's own texts are German as they stand. To be
/// installed before the first window is made.
class GermanTexts : public QTranslator {
public:
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int n) const override;
    bool isEmpty() const override { return false; }
};

}  // namespace kt
