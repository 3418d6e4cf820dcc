#pragma once

#include "core/Rect.h"

#include <QList>
#include <QSet>
#include <QString>
#include <optional>

namespace tk {

// A menu-bar item and where it stands, in accessibility space (origin at the top-left
// of the primary screen, y down). No frame when the item would not tell.
struct PositionedItem {
    QString bundle;
    std::optional<Rect> frame;

    friend bool operator==(const PositionedItem&, const PositionedItem&) = default;
};

// Which applications stand wholly left of Tuckaway's own icon, and why the others stay.
namespace BoundaryPolicy {

// Why an application is hidden or stays visible. Only `Hidden` hides.
enum class Reason {
    Hidden,     // every icon ends left of the boundary, in its row
    System,     // the identifier starts with "com.apple."
    Protected,  // one of VisibilityPolicy::protectedBundles()
    Own,        // Tuckaway itself
    Right,      // its icons stand right of the boundary (or over it)
    BothSides,  // icons left of the boundary and icons right of it
    OtherRow,   // an icon in another menu-bar row
    NoFrame,    // an icon without a usable frame
    NoBoundary, // the boundary itself is unusable
};

struct Decision {
    QString bundle;
    Reason reason = Reason::Hidden;

    bool hidden() const { return reason == Reason::Hidden; }
    friend bool operator==(const Decision&, const Decision&) = default;
};

// One decision per bundle of `items`, sorted by bundle identifier. The identity reasons
// come first (the protected ones, then Apple's own, then `own` when given); then an icon
// without a usable frame, then one in another row, then the side of the boundary.
QList<Decision> decisions(const QList<PositionedItem>& items, const Rect& boundary,
                          const QString& own = {});

// The bundles every one of whose items has a usable frame that ends at or before the
// boundary's left edge in the boundary's row. Apple's own bundles and the protected
// ones never count; an unusable boundary hides nothing.
QSet<QString> hidden(const QList<PositionedItem>& items, const Rect& boundary);

// The short word of a reason ("hidden", "both-sides", …), and back.
QString reasonWord(Reason reason);
std::optional<Reason> reasonNamed(const QString& word);
const QStringList& reasonWords();

// The reason as the interface states it: a Spanish key of the localisation table.
QString reasonText(Reason reason);

} // namespace BoundaryPolicy

} // namespace tk
