#pragma once

#include "inspection/AXScanner.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

// What became of a press on one item of another application.
struct PressOutcome {
    enum class Kind {
        Pressed,      // the item performed `action`
        NotOnScreen,  // a scan of its application did not find it standing in the bar
        Quit,         // its application is no longer running
        Refused,      // the item answered `error`
        NoPermission, // Accessibility is no longer granted to this copy
    };
    Kind kind = Kind::NotOnScreen;
    qint32 error = 0;
    QString action = {};
};

// Presses one menu-bar item, found afresh by a scan of its application alone.
namespace ItemPress {

// The item's place below its application's extras menu bar, "extras.0.1", as item ids hold it.
QString pathOf(const QString& itemId);
// The place of the bar's own item that the element belongs to: "extras.0" for "extras.0.1".
QString barItemOf(const QString& itemId);
// The item's application as the control interface names it: its bundle identifier, else
// "pid:N" with the process number that starts the id.
QString applicationIdOf(const ExternalItem& item);

// "AXPress" when the item lists it, else "AXShowMenu", else the first it lists; "AXPress"
// when it lists none.
QString actionFor(const QStringList& actions);

// Scans `app` and presses the item at `path` when it stands in the bar, with the scan's
// per-element timeout. Synchronous; on the thread that runs the scan.
PressOutcome scanAndPress(const ScanApp& app, const QString& path,
                          const ScanEnvironment& environment);

} // namespace ItemPress

} // namespace tk
