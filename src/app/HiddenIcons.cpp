#include "app/HiddenIcons.h"

#include "inspection/ItemPress.h"

#include <QHash>
#include <algorithm>

namespace tk {

namespace HiddenIcons {

namespace {

struct Found {
    HiddenIcon icon;
    std::optional<double> x;
};

} // namespace

QList<HiddenIcon> of(const QList<ExternalItem>& items, const QSet<QString>& hiddenBundles)
{
    QList<Found> found;
    QSet<QString> seen; // bundle and bar item
    QHash<QString, int> perApplication;
    for (const ExternalItem& item : items) {
        if (item.bundleID && !hiddenBundles.contains(*item.bundleID))
            continue;
        const QString path = ItemPress::pathOf(item.id);
        // Without a bundle identifier, the id starts with the process number.
        const qint32 pid = item.bundleID ? 0 : item.id.section(u':', 0, 0).toInt();
        HiddenIcon icon{item.bundleID.value_or(QString()), pid, item.app, item.title, path};
        const QString key = icon.applicationId() + u'\n' + ItemPress::barItemOf(item.id);
        if (seen.contains(key))
            continue;
        seen.insert(key);
        ++perApplication[icon.applicationId()];
        const std::optional<double> x =
            item.frame ? std::optional(item.frame->x) : std::nullopt;
        found.append({std::move(icon), x});
    }
    std::stable_sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
        if (a.x && b.x)
            return *a.x > *b.x;
        return a.x.has_value() && !b.x.has_value();
    });
    QList<HiddenIcon> icons;
    for (Found& entry : found) {
        entry.icon.soleItem = perApplication.value(entry.icon.applicationId()) == 1;
        icons.append(std::move(entry.icon));
    }
    return icons;
}

} // namespace HiddenIcons

} // namespace tk
