#pragma once

#include "inspection/AXScanner.h"

#include <QList>
#include <QSet>
#include <QString>

namespace tk {

// One item of a hidden application, as the scan before the hiding found it.
struct HiddenIcon {
    QString bundle;      // empty for an application without bundle identifier,
    qint32 pid = 0;      // which is known by its process instead (0 for the others)
    QString application; // its name
    QString title;       // as the scan reads it: title, else description, else the no-label text
    QString path;        // below the extras menu bar, "extras.0"
    bool soleItem = true; // its application has no other item: the entry shows its name

    // As the control interface names the application: its bundle identifier, else "pid:N".
    QString applicationId() const
    {
        return pid != 0 ? QStringLiteral("pid:") + QString::number(pid) : bundle;
    }

    friend bool operator==(const HiddenIcon&, const HiddenIcon&) = default;
};

namespace HiddenIcons {

// One per item of the bar of each hidden application (the first element the scan recorded
// in it), right to left as they stood; those whose place was not read follow in scan order.
// The applications without bundle identifier are among them: no allow-list can name them,
// so every hiding hides them.
QList<HiddenIcon> of(const QList<ExternalItem>& items, const QSet<QString>& hiddenBundles);

} // namespace HiddenIcons

} // namespace tk
