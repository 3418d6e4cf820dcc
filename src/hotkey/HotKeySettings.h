#pragma once

#include <QString>

namespace tk {

// The global shortcut as the settings record keeps it: names, not key codes.
struct HotKeySettings {
    // Known names: key "M", "B", "Space"; modifiers "controlOptionCommand", "controlOption",
    // "controlShift"; action "toggle", "showAll", "showHiddenIcon" (the hidden icons' menu).
    // The defaults are what a newly enabled shortcut takes.
    bool enabled = true;
    QString key = QStringLiteral("M");
    QString modifiers = QStringLiteral("controlOptionCommand");
    QString action = QStringLiteral("toggle");

    friend bool operator==(const HotKeySettings&, const HotKeySettings&) = default;
};

} // namespace tk
