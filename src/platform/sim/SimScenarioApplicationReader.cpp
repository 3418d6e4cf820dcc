// The applications of a scenario file: each with its menu-bar items, their children and
// geometry, and its menus, counted as elements and added up along the menu bar.
#include "SimScenarioReader.h"

#include <limits>

namespace tk {

using namespace Qt::StringLiterals;
using Range = SimJsonReader::Range;

namespace {

constexpr qint64 int32Min = std::numeric_limits<qint32>::min();
constexpr qint64 int32Max = std::numeric_limits<qint32>::max();

SimText readText(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return {};
    if (value.isString())
        return SimText::of(value.toString());
    return {SimText::Kind::OtherType, QString()};
}

// Anything but a list of strings reads as names that cannot be read.
std::optional<QStringList> readActions(const QJsonObject& object)
{
    const QJsonValue value = object.value("actions"_L1);
    if (value.isUndefined())
        return QStringList();
    if (!value.isArray())
        return std::nullopt;
    QStringList names;
    for (const QJsonValue& name : value.toArray()) {
        if (!name.isString())
            return std::nullopt;
        names.append(name.toString());
    }
    return names;
}

} // namespace

SimApplication SimScenarioReader::readApplication(const QJsonValue& value, const QString& place)
{
    SimApplication app;
    if (!countElement(place))
        return app;
    const auto object = m_json.object(value, place);
    if (!object)
        return app;
    m_json.expectKeys(*object, place,
                      {"pid"_L1, "bundle"_L1, "name"_L1, "responseDelay"_L1,
                       "answersBeforeHanging"_L1, "extrasMenuBar"_L1, "items"_L1, "menus"_L1});
    const auto pid = m_json.integer(*object, "pid"_L1, place, 1, int32Max);
    if (!object->contains("pid"_L1))
        m_json.fail(SimJsonReader::member(place, u"pid"_s), u"is required"_s);
    app.pid = qint32(pid.value_or(0));
    app.bundleIdentifier = m_json.optionalString(*object, "bundle"_L1, place);
    app.name = m_json.optionalString(*object, "name"_L1, place);
    app.responseDelay = m_json.number(*object, "responseDelay"_L1, place, 0.0, Range::Seconds);
    app.answersBeforeHanging =
        m_json.integer(*object, "answersBeforeHanging"_L1, place, 0, int32Max);
    app.hasExtrasMenuBar = m_json.boolean(*object, "extrasMenuBar"_L1, place, true);
    const QString itemsPlace = SimJsonReader::member(place, u"items"_s);
    const QJsonArray items = m_json.array(*object, "items"_L1, place);
    if (!app.hasExtrasMenuBar && !items.isEmpty())
        m_json.fail(itemsPlace, u"must be empty for an application without extras menu bar"_s);
    for (qsizetype i = 0; i < items.size() && m_json.ok(); ++i) {
        const QString itemPlace = SimJsonReader::indexed(itemsPlace, i);
        app.items.append(readElement(items.at(i), itemPlace, 1));
        addToMenuBar(app.items.constLast().width, itemPlace);
    }
    const QString menusPlace = SimJsonReader::member(place, u"menus"_s);
    const QJsonArray menus = m_json.array(*object, "menus"_L1, place);
    for (qsizetype i = 0; i < menus.size() && m_json.ok(); ++i)
        app.menus.append(readMenu(menus.at(i), SimJsonReader::indexed(menusPlace, i)));
    return app;
}

// A title alone, or an object with a title and a width or a frame (accessibility space).
SimMenu SimScenarioReader::readMenu(const QJsonValue& value, const QString& place)
{
    SimMenu menu;
    if (!countElement(place))
        return menu;
    if (value.isString()) {
        menu.title = value.toString();
        menu.width = SimMenu::widthOf(menu.title);
        return menu;
    }
    const auto object = m_json.object(value, place);
    if (!object)
        return menu;
    m_json.expectKeys(*object, place, {"title"_L1, "width"_L1, "frame"_L1});
    menu.title = m_json.string(*object, "title"_L1, place, QString());
    if (object->contains("frame"_L1)) {
        if (object->contains("width"_L1))
            m_json.fail(SimJsonReader::member(place, u"frame"_s),
                        u"cannot be given together with width"_s);
        menu.frame = readRect(object->value("frame"_L1), SimJsonReader::member(place, u"frame"_s),
                              Range::Length);
        menu.width = menu.frame->width;
    } else {
        menu.width =
            m_json.number(*object, "width"_L1, place, SimMenu::widthOf(menu.title), Range::Length);
    }
    addToMenuBar(menu.width, place);
    return menu;
}

SimElement SimScenarioReader::readElement(const QJsonValue& value, const QString& place, int depth)
{
    SimElement element;
    if (!countElement(place))
        return element;
    const auto object = m_json.object(value, place);
    if (!object)
        return element;
    m_json.expectKeys(*object, place,
                      {"role"_L1, "title"_L1, "description"_L1, "frame"_L1, "position"_L1,
                       "size"_L1, "width"_L1, "actions"_L1, "positionSettable"_L1,
                       "settableError"_L1, "pressResult"_L1, "pressDelay"_L1,
                       "children"_L1});
    element.role = readText(*object, "role"_L1);
    element.title = readText(*object, "title"_L1);
    element.description = readText(*object, "description"_L1);
    readGeometry(*object, place, element);
    element.width = m_json.number(*object, "width"_L1, place, element.width, Range::Length);
    element.actions = readActions(*object);
    element.positionSettable = m_json.boolean(*object, "positionSettable"_L1, place, false);
    element.settableError =
        qint32(m_json.integer(*object, "settableError"_L1, place, int32Min, int32Max).value_or(0));
    element.pressResult =
        qint32(m_json.integer(*object, "pressResult"_L1, place, int32Min, int32Max).value_or(0));
    element.pressDelay = m_json.number(*object, "pressDelay"_L1, place, 0.0, Range::Seconds);
    const QString childrenPlace = SimJsonReader::member(place, u"children"_s);
    const QJsonArray children = m_json.array(*object, "children"_L1, place);
    if (!children.isEmpty() && depth >= SimScenarioLoader::maximumDepth)
        m_json.fail(childrenPlace,
                    u"nested deeper than %1 levels"_s.arg(SimScenarioLoader::maximumDepth));
    for (qsizetype i = 0; i < children.size() && m_json.ok(); ++i)
        element.children.append(
            readElement(children.at(i), SimJsonReader::indexed(childrenPlace, i), depth + 1));
    return element;
}

// "frame" gives position and size at once; null takes both away. Each of "position" and
// "size" may be given or taken away (null) on its own.
void SimScenarioReader::readGeometry(const QJsonObject& object, const QString& place,
                                  SimElement& element)
{
    using Source = SimElement::Source;
    const QString framePlace = SimJsonReader::member(place, u"frame"_s);
    if (object.contains("frame"_L1)) {
        if (object.contains("position"_L1) || object.contains("size"_L1))
            m_json.fail(framePlace, u"cannot be given together with position or size"_s);
        const QJsonValue frame = object.value("frame"_L1);
        if (frame.isNull()) {
            element.positionSource = element.sizeSource = Source::Missing;
            return;
        }
        const Rect rect = readRect(frame, framePlace, Range::Length);
        element.positionSource = element.sizeSource = Source::Given;
        element.position = QPointF(rect.x, rect.y);
        element.size = QSizeF(rect.width, rect.height);
        return;
    }
    if (const auto xy = readPair(object, {"position"_L1, "x"_L1, "y"_L1}, place,
                                 Range::Coordinate, element.positionSource))
        element.position = QPointF(xy->first, xy->second);
    if (const auto extent = readPair(object, {"size"_L1, "width"_L1, "height"_L1}, place,
                                     Range::Length, element.sizeSource))
        element.size = QSizeF(extent->first, extent->second);
}

// A member of two numbers: null takes it away (`source` becomes missing), absent leaves it
// as it was.
std::optional<std::pair<double, double>>
SimScenarioReader::readPair(const QJsonObject& object, const PairKeys& keys,
                            const QString& place, SimJsonReader::Range range,
                            SimElement::Source& source)
{
    const QJsonValue value = object.value(keys.member);
    const QString memberPlace = SimJsonReader::member(place, QString(keys.member));
    if (value.isNull())
        source = SimElement::Source::Missing;
    if (value.isNull() || value.isUndefined())
        return std::nullopt;
    const auto pair = m_json.object(value, memberPlace);
    if (!pair)
        return std::nullopt;
    m_json.expectKeys(*pair, memberPlace, {keys.first, keys.second});
    source = SimElement::Source::Given;
    return std::pair{m_json.number(*pair, keys.first, memberPlace, 0.0, range),
                     m_json.number(*pair, keys.second, memberPlace, 0.0, range)};
}

} // namespace tk
