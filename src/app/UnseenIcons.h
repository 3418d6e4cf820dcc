#pragma once

#include "app/DesktopServices.h"
#include "inspection/AXScanner.h"
#include "visibility/SightPolicy.h"

#include <QList>
#include <QString>
#include <optional>

namespace tk {

// One item of the bar that stands where it cannot be seen, as the latest scan found it.
struct UnseenIcon {
    QString application; // bundle identifier, or "pid:N" for an application without one
    QString name;        // the application's name
    QString title;
    QString path; // of its bar item below the extras menu bar, "extras.0"
    SightPolicy::Reason reason = SightPolicy::Reason::OffScreen;

    friend bool operator==(const UnseenIcon&, const UnseenIcon&) = default;
};

namespace UnseenIcons {

// The screens in accessibility space, each with its notch.
QList<SightPolicy::Screen> sightScreens(const QList<ScreenInfo>& screens);

// One per item of each application's bar (the first element the scan recorded in it), in
// scan order, that the rule finds out of sight.
QList<UnseenIcon> of(const QList<ExternalItem>& items, const QList<SightPolicy::Screen>& screens,
                     const std::optional<Rect>& menus);

// The applications named once each, in the order of `icons`.
QStringList names(const QList<UnseenIcon>& icons);
// "Lumen: bajo la muesca", once for each application and reason, in the order of `icons`.
QStringList lines(const QList<UnseenIcon>& icons);
// "2 iconos no se ven: Clipjar, Lumen", "1 icono no se ve: Lumen"; a Spanish text that the
// table translates by its fragments. Empty without icons.
QString statusLine(const QList<UnseenIcon>& icons);

} // namespace UnseenIcons

} // namespace tk
