#pragma once

#include "inspection/AXScanner.h"

#include <QList>
#include <QSet>
#include <QString>

namespace tk {

// One item of a hidden application, as the scan before the hiding found it.
struct HiddenIcon {
    QString bundle;
    QString application; // its name
    QString title;       // as the scan reads it: title, else description, else the no-label text
    QString path;        // below the extras menu bar, "extras.0"
    bool soleItem = true; // its application has no other item: the entry shows its name

    friend bool operator==(const HiddenIcon&, const HiddenIcon&) = default;
};

namespace HiddenIcons {

// One per item of the bar of each hidden application (the first element the scan recorded
// in it), right to left as they stood; those whose place was not read follow in scan order.
QList<HiddenIcon> of(const QList<ExternalItem>& items, const QSet<QString>& hiddenBundles);

} // namespace HiddenIcons

} // namespace tk
