#pragma once

#include "core/Rect.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

// Whether a menu-bar item can be seen where it stands, from its frame alone: the system
// keeps the frames of the items it does not draw where they would stand, under a screen's
// notch, over the frontmost application's menus or past every screen.
namespace SightPolicy {

// Why an item cannot be seen.
enum class Reason {
    UnderNotch,     // in its screen's notch row, reaching into the notch or beyond it
    CoveredByMenus, // overlapping the frontmost application's menus
    OffScreen,      // overlapping no screen
};

// A screen as the rule needs it, in accessibility space (origin at the top-left of the
// primary screen, y down).
struct Screen {
    Rect frame;
    std::optional<Rect> notch;
};

// Nothing when the item can be seen, or when its frame cannot tell (none, empty, not
// finite). The item stands on the first screen it overlaps. Items stand right of a notch:
// one that reaches past the notch's right edge in its row is under it or beyond it. Edges
// that only touch neither overlap nor reach: an item ending where the menus begin, or
// beginning where the notch ends, is seen. The notch is judged before the menus.
std::optional<Reason> reason(const std::optional<Rect>& frame, const QList<Screen>& screens,
                             const std::optional<Rect>& menus);

// The short word of a reason ("under-notch", "covered", "off-screen").
QString reasonWord(Reason reason);
// The reason as the interface states it: a Spanish key of the localisation table.
QString reasonText(Reason reason);

} // namespace SightPolicy

} // namespace tk
