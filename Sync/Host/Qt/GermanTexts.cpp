#include "Sync/Host/Qt/GermanTexts.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kt {

namespace {

struct GermanText {
    std::string_view context;
    std::string_view source;
    const char* german;
};

constexpr auto kTexts = std::to_array<GermanText>({
    {"QWidgetTextControl", "&Copy", "&Kopieren"},
    {"QWidgetTextControl", "Copy &Link Location", "&Adresse kopieren"},
    {"QWidgetTextControl", "Select All", "Alles auswählen"},
    {"QWidgetTextControl", "&Undo", "&Rückgängig"},
    {"QWidgetTextControl", "&Redo", "&Wiederholen"},
    {"QWidgetTextControl", "Cu&t", "&Ausschneiden"},
    {"QWidgetTextControl", "&Paste", "&Einfügen"},
    {"QWidgetTextControl", "Delete", "Löschen"},
    {"QScrollBar", "Scroll here", "Hierher blättern"},
    {"QScrollBar", "Top", "Zum Anfang"},
    {"QScrollBar", "Bottom", "Zum Ende"},
    {"QScrollBar", "Left edge", "Zum linken Rand"},
    {"QScrollBar", "Right edge", "Zum rechten Rand"},
    {"QScrollBar", "Page up", "Eine Seite nach oben"},
    {"QScrollBar", "Page down", "Eine Seite nach unten"},
    {"QScrollBar", "Page left", "Eine Seite nach links"},
    {"QScrollBar", "Page right", "Eine Seite nach rechts"},
    {"QScrollBar", "Scroll up", "Nach oben"},
    {"QScrollBar", "Scroll down", "Nach unten"},
    {"QScrollBar", "Scroll left", "Nach links"},
    {"QScrollBar", "Scroll right", "Nach rechts"},
    {"QShortcut", "Ctrl", "Strg"},
    {"QShortcut", "Shift", "Umschalt"},
    {"QShortcut", "Del", "Entf"},
    {"QAccessibleActionInterface", "Press", "Drücken"},
    {"QAccessibleActionInterface", "Toggle", "Umschalten"},
    {"QAccessibleActionInterface", "SetFocus", "Fokus setzen"},
    {"QAccessibleActionInterface", "ShowMenu", "Menü zeigen"},
    {"QAccessibleActionInterface", "Increase", "Erhöhen"},
    {"QAccessibleActionInterface", "Decrease", "Verringern"},
    {"QAccessibleActionInterface", "Previous Page", "Vorige Seite"},
    {"QAccessibleActionInterface", "Next Page", "Nächste Seite"},
});

}  // namespace

QString GermanTexts::translate(const char* context, const char* sourceText, const char*, int) const
{
    if (context == nullptr || sourceText == nullptr)
        return {};
    const std::string_view wantedContext = context;
    const std::string_view wanted = sourceText;
    const auto found = std::find_if(kTexts.begin(), kTexts.end(), [&](const GermanText& text) {
        return text.context == wantedContext && text.source == wanted;
    });
    return found == kTexts.end() ? QString() : QString::fromUtf8(found->german);
}

}  // namespace kt
