#include "BoundaryPolicy.h"

#include "visibility/VisibilityPolicy.h"

#include <QHash>
#include <cmath>

namespace tk {

namespace BoundaryPolicy {

namespace {

bool isUsableBoundary(const Rect& boundary)
{
    const Rect r = boundary.standardized();
    // Written so that a NaN size counts as unusable.
    if (!(r.width > 0.0) || !(r.height > 0.0))
        return false;
    return !boundary.isInfinite() && !boundary.isNull();
}

bool standsLeftInRow(const std::optional<Rect>& frame, const Rect& boundary)
{
    if (!frame)
        return false;
    const Rect r = frame->standardized();
    if (!(r.width > 0.0) || !(r.height > 0.0))
        return false;
    if (!std::isfinite(r.minX()) || !std::isfinite(r.minY()))
        return false;
    if (!(r.maxX() <= boundary.minX()))
        return false;
    return r.minY() < boundary.maxY() && r.maxY() > boundary.minY();
}

bool staysVisibleByIdentity(const QString& bundle)
{
    return bundle.startsWith(QLatin1String("com.apple.")) ||
           VisibilityPolicy::protectedBundles().contains(bundle);
}

} // namespace

QSet<QString> hidden(const QList<PositionedItem>& items, const Rect& boundary)
{
    if (!isUsableBoundary(boundary))
        return {};
    QHash<QString, bool> allLeft;
    for (const PositionedItem& item : items) {
        const bool left = standsLeftInRow(item.frame, boundary);
        const auto found = allLeft.find(item.bundle);
        if (found == allLeft.end())
            allLeft.insert(item.bundle, left);
        else
            *found = *found && left;
    }
    QSet<QString> result;
    for (auto it = allLeft.cbegin(); it != allLeft.cend(); ++it) {
        if (it.value() && !staysVisibleByIdentity(it.key()))
            result.insert(it.key());
    }
    return result;
}

} // namespace BoundaryPolicy

} // namespace tk
