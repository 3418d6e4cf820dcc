#include "ScenarioExport.h"
#include "core/ScenarioLimits.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace tk {

using namespace Qt::StringLiterals;
namespace Limits = ScenarioLimits;

namespace {

// Reads a written scenario as the loader will, and names the first bound it goes beyond.
// A number that is not finite is written as null, which no bound admits.
class LimitWalk {
public:
    std::optional<QString> beyond;

    void root(const QJsonObject& root)
    {
        const QJsonArray screens = root.value("screens"_L1).toArray();
        if (screens.size() > Limits::maximumScreens)
            fail(u"at most %1 screens"_s.arg(Limits::maximumScreens));
        for (const QJsonValue& screen : screens) {
            m_screens.append(rect(screen.toObject().value("frame"_L1), true));
            rect(screen.toObject().value("visibleFrame"_L1), false);
        }
        double barWidth = 0.0;
        for (const QJsonValue& app : root.value("apps"_L1).toArray()) {
            count();
            for (const QJsonValue& item : app.toObject().value("items"_L1).toArray()) {
                element(item.toObject(), 1);
                barWidth += item.toObject().value("width"_L1).toDouble(24.0);
            }
            for (const QJsonValue& menu : app.toObject().value("menus"_L1).toArray()) {
                count();
                barWidth += rect(menu.toObject().value("frame"_L1), false).width;
            }
        }
        for (qsizetype i = root.value("remembered"_L1).toArray().size(); i > 0; --i)
            count();
        if (barWidth > Limits::longestMenuBar)
            fail(u"menu-bar items adding up to at most %1 points"_s.arg(Limits::longestMenuBar, 0,
                                                                        'f', 0));
        const QJsonValue icon = root.value("tuckaway"_L1).toObject().value("frame"_L1);
        if (!icon.isUndefined())
            ownIcon(rect(icon, true));
    }

private:
    void fail(const QString& limit)
    {
        if (!beyond)
            beyond = limit;
    }

    void count()
    {
        if (++m_elements > Limits::maximumElements)
            fail(u"at most %1 applications, elements and remembered places"_s.arg(
                Limits::maximumElements));
    }

    double coordinate(const QJsonValue& value)
    {
        const double number = value.toDouble(qQNaN());
        if (!(std::abs(number) <= Limits::largestCoordinate))
            fail(u"places within %1 points of the origin"_s.arg(Limits::largestCoordinate, 0, 'f',
                                                                0));
        return number;
    }

    double length(const QJsonValue& value, bool positive)
    {
        const double number = value.toDouble(qQNaN());
        if (!(number >= 0.0 && number <= Limits::longestLength) || (positive && number == 0.0))
            fail(u"sides %1 and at most %2 points"_s.arg(positive ? u"above 0"_s : u"from 0"_s)
                     .arg(Limits::longestLength, 0, 'f', 0));
        return number;
    }

    Rect rect(const QJsonValue& value, bool positive)
    {
        const QJsonObject object = value.toObject();
        if (!value.isObject())
            return {};
        return {coordinate(object.value("x"_L1)), coordinate(object.value("y"_L1)),
                length(object.value("width"_L1), positive),
                length(object.value("height"_L1), positive)};
    }

    void element(const QJsonObject& element, int depth)
    {
        count();
        rect(element.value("frame"_L1), false);
        const QJsonObject position = element.value("position"_L1).toObject();
        for (const auto key : {"x"_L1, "y"_L1}) {
            if (position.contains(key))
                coordinate(position.value(key));
        }
        const QJsonObject size = element.value("size"_L1).toObject();
        for (const auto key : {"width"_L1, "height"_L1}) {
            if (size.contains(key))
                length(size.value(key), false);
        }
        if (element.contains("width"_L1))
            length(element.value("width"_L1), false);
        const QJsonArray children = element.value("children"_L1).toArray();
        if (!children.isEmpty() && depth >= Limits::maximumDepth)
            fail(u"children at most %1 levels deep"_s.arg(Limits::maximumDepth));
        for (const QJsonValue& child : children)
            this->element(child.toObject(), depth + 1);
    }

    // Tuckaway's icon overlaps a screen; accessibility space runs down from the primary's top.
    void ownIcon(const Rect& icon)
    {
        const double top = m_screens.value(0).maxY();
        const Rect onScreen{icon.x, top - (icon.y + icon.height), icon.width, icon.height};
        for (const Rect& s : std::as_const(m_screens)) {
            if (onScreen.x < s.maxX() && onScreen.maxX() > s.x && onScreen.y < s.maxY() &&
                onScreen.maxY() > s.y)
                return;
        }
        fail(u"Tuckaway's icon on a screen"_s);
    }

    QList<Rect> m_screens;
    qint64 m_elements = 0;
};

} // namespace

std::optional<QString> ScenarioExport::beyondLoaderLimits(const QByteArray& json)
{
    if (json.size() > Limits::maximumFileBytes)
        return u"at most %1 MiB"_s.arg(Limits::maximumFileBytes / (1024 * 1024));
    LimitWalk walk;
    walk.root(QJsonDocument::fromJson(json).object());
    return walk.beyond;
}

} // namespace tk
