#include "app/UnseenIcons.h"

#include "inspection/ItemPress.h"

#include <QSet>

namespace tk {

namespace UnseenIcons {

using namespace Qt::StringLiterals;

QList<SightPolicy::Screen> sightScreens(const QList<ScreenInfo>& screens)
{
    QList<SightPolicy::Screen> result;
    if (screens.isEmpty())
        return result;
    // Accessibility space runs down from the primary screen's top; screen space runs up.
    const double top = screens.first().frame.maxY();
    const auto flipped = [top](const Rect& r) {
        const Rect s = r.standardized();
        return Rect{s.x, top - s.maxY(), s.width, s.height};
    };
    for (const ScreenInfo& screen : screens) {
        result.append({flipped(screen.frame),
                       screen.notch ? std::optional(flipped(*screen.notch)) : std::nullopt});
    }
    return result;
}

QList<UnseenIcon> of(const QList<ExternalItem>& items, const QList<SightPolicy::Screen>& screens,
                     const std::optional<Rect>& menus)
{
    QList<UnseenIcon> icons;
    QSet<QString> seen; // application and bar item
    for (const ExternalItem& item : items) {
        const QString application = ItemPress::applicationIdOf(item);
        const QString path = ItemPress::barItemOf(item.id);
        const QString key = application + u'\n' + path;
        if (seen.contains(key))
            continue;
        seen.insert(key);
        const std::optional<SightPolicy::Reason> reason =
            SightPolicy::reason(item.frame, screens, menus);
        if (!reason)
            continue;
        icons.append({application, item.app, item.title, path, *reason});
    }
    return icons;
}

QStringList names(const QList<UnseenIcon>& icons)
{
    QStringList result;
    for (const UnseenIcon& icon : icons) {
        if (!result.contains(icon.name))
            result << icon.name;
    }
    return result;
}

QStringList lines(const QList<UnseenIcon>& icons)
{
    QStringList result;
    for (const UnseenIcon& icon : icons) {
        const QString line = icon.name + u": "_s + SightPolicy::reasonText(icon.reason);
        if (!result.contains(line))
            result << line;
    }
    return result;
}

QString statusLine(const QList<UnseenIcon>& icons)
{
    if (icons.isEmpty())
        return {};
    const QString count = QString::number(icons.size());
    const QString said = icons.size() == 1 ? u" icono no se ve: "_s : u" iconos no se ven: "_s;
    return count + said + names(icons).join(u", "_s);
}

} // namespace UnseenIcons

} // namespace tk
