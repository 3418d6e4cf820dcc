#pragma once

#include "core/Rect.h"

#include <QByteArray>
#include <QString>
#include <optional>

class QImage;

namespace tk {

// The interface report: where the settings window stands and what state the application
// is in, for a person or a script checking the interface from outside. Rectangles are in
// screen space (origin at the bottom-left of the primary screen, y up).
struct InterfaceReport {
    static inline const QString imageFileName = QStringLiteral("menubar-rendered.png");

    QString path; // the application bundle
    Rect window;  // the settings window's frame
    Rect screen;  // the visible frame of the screen that holds the window
    QString language;
    QString symbol;
    bool collapsed = false;
    bool scanning = false;
    bool trusted = false;
    QString status;                      // the visibility controller's message, untranslated
    QString notice;                      // untranslated
    std::optional<Rect> separatorWindow; // the window of the status item's button
    std::optional<Rect> separatorScreen; // the button's bounds on screen

    double centerErrorX() const { return window.midX() - screen.midX(); }
    double centerErrorY() const { return window.midY() - screen.midY(); }

    // One object with fourteen keys, sorted, indented. Missing rectangles read "nil".
    QByteArray json() const;

    // Writes `image` as PNG beside `reportPath` (when it converts), then the JSON at
    // `reportPath`, each replacing the earlier file whole or not at all; only a regular file is
    // ever replaced. A failure leaves the earlier file as it was; answers whether the JSON was
    // written.
    bool write(const QString& reportPath, const QImage& image) const;
};

} // namespace tk
