#pragma once

#include <QString>

// The global shortcut as the settings record keeps it: names, not key codes.
struct HotKeySettings {
    bool enabled = true;
    QString key = QStringLiteral("M");                            // "M", "B", "Space"
    QString modifiers = QStringLiteral("controlOptionCommand");   // "controlOptionCommand", "controlOption", "controlShift"
    QString action = QStringLiteral("toggle");                    // "toggle", "showAll"

    friend bool operator==(const HotKeySettings&, const HotKeySettings&) = default;
};
