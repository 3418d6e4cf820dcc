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

// Which applications stand wholly left of Tuckaway's own icon.
namespace BoundaryPolicy {

// The bundles every one of whose items has a usable frame that ends at or before the
// boundary's left edge in the boundary's row. Apple's own bundles and the protected
// ones never count; an unusable boundary hides nothing.
QSet<QString> hidden(const QList<PositionedItem>& items, const Rect& boundary);

} // namespace BoundaryPolicy

} // namespace tk
