// The answers simulated applications give: each attribute of their elements, read from the
// desktop's state as a request found it.
#include "platform/sim/SimAccessibilityRequest.h"

namespace tk {

using namespace Qt::StringLiterals;

namespace {

AXAttribute failed(qint32 error)
{
    AXAttribute attribute;
    attribute.error = error;
    return attribute;
}

AXAttribute text(const SimText& value)
{
    AXAttribute attribute;
    switch (value.kind) {
    case SimText::Kind::Absent:
        return failed(AXResult::noValue);
    case SimText::Kind::String:
        attribute.kind = AXAttribute::Kind::String;
        attribute.string = value.string;
        break;
    case SimText::Kind::OtherType:
        attribute.kind = AXAttribute::Kind::Other;
        break;
    }
    return attribute;
}

AXAttribute elementList(const QList<AXElementRef>& elements)
{
    AXAttribute attribute;
    attribute.kind = AXAttribute::Kind::ElementList;
    attribute.elements = elements;
    return attribute;
}

AXAttribute element(AXElementRef value)
{
    AXAttribute attribute;
    attribute.kind = AXAttribute::Kind::Element;
    attribute.element = std::move(value);
    return attribute;
}

// A point or a size value; nothing to give is no value.
AXAttribute pointValue(const std::optional<QPointF>& point)
{
    AXAttribute attribute;
    attribute.kind = AXAttribute::Kind::PointValue;
    attribute.point = point;
    return point ? attribute : failed(AXResult::noValue);
}

AXAttribute sizeValue(const std::optional<QSizeF>& size)
{
    AXAttribute attribute;
    attribute.kind = AXAttribute::Kind::SizeValue;
    attribute.size = size;
    return size ? attribute : failed(AXResult::noValue);
}

// Where an item stands and how large it is. An item that gives neither takes them from the
// menu bar's layout, an element below it from its parent.
struct Place {
    std::optional<QPointF> position;
    std::optional<QSizeF> size;
};

Place placeOf(const SimApplicationState& application, const SimAXElement::Path& path)
{
    Place place;
    if (const std::optional<Rect> frame = application.barFrames.value(path.first())) {
        place.position = QPointF(frame->x, frame->y);
        place.size = QSizeF(frame->width, frame->height);
    }
    const QList<SimElement>* level = &application.application->items;
    for (const qsizetype index : path) {
        const SimElement& item = level->at(index);
        if (item.positionSource != SimElement::Source::Layout)
            place.position = item.positionSource == SimElement::Source::Given
                                 ? std::optional(item.position)
                                 : std::nullopt;
        if (item.sizeSource != SimElement::Source::Layout)
            place.size = item.sizeSource == SimElement::Source::Given ? std::optional(item.size)
                                                                      : std::nullopt;
        level = &item.children;
    }
    return place;
}

QList<AXElementRef> childrenOf(const SimAXElement& parent, qsizetype count)
{
    QList<AXElementRef> children;
    children.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        SimAXElement::Path path = parent.path;
        path.append(i);
        children.append(parent.derived(SimAXElement::Kind::Item, std::move(path)));
    }
    return children;
}

// An application with menus has a menu bar, whether or not it is the frontmost one: its
// menus answer where they stand while it is.
AXAttribute menuBarOf(const SimAXRequest& request)
{
    if (request.application->application->menus.isEmpty())
        return failed(AXResult::noValue);
    return element(request.element->derived(SimAXElement::Kind::MenuBar));
}

AXAttribute menuBarAttribute(const SimAXRequest& request, const QString& name)
{
    if (name == "AXRole"_L1)
        return text(SimText::of(u"AXMenuBar"_s));
    if (name != "AXChildren"_L1)
        return failed(AXResult::attributeUnsupported);
    QList<AXElementRef> menus;
    for (qsizetype i = 0; i < request.application->menuFrames.size(); ++i)
        menus.append(request.element->derived(SimAXElement::Kind::Menu, {i}));
    return elementList(menus);
}

AXAttribute menuAttribute(const SimAXRequest& request, const QString& name)
{
    const qsizetype index = request.element->path.value(0, -1);
    const QList<Rect>& frames = request.application->menuFrames;
    const QList<SimMenu>& menus = request.application->application->menus;
    if (index < 0 || index >= frames.size() || index >= menus.size())
        return failed(AXResult::invalidUIElement);
    const Rect& frame = frames.at(index);
    if (name == "AXRole"_L1)
        return text(SimText::of(u"AXMenuBarItem"_s));
    if (name == "AXTitle"_L1)
        return text(SimText::of(menus.at(index).title));
    if (name == "AXPosition"_L1)
        return pointValue(QPointF(frame.x, frame.y));
    if (name == "AXSize"_L1)
        return sizeValue(QSizeF(frame.width, frame.height));
    return failed(AXResult::attributeUnsupported);
}

AXAttribute applicationAttribute(const SimAXRequest& request, const QString& name)
{
    const SimApplication& app = *request.application->application;
    if (name == "AXRole"_L1)
        return text(SimText::of(u"AXApplication"_s));
    if (name == "AXTitle"_L1)
        return app.name ? text(SimText::of(*app.name)) : failed(AXResult::noValue);
    if (name == "AXChildren"_L1)
        return elementList({});
    if (name == "AXMenuBar"_L1)
        return menuBarOf(request);
    if (name != "AXExtrasMenuBar"_L1)
        return failed(AXResult::attributeUnsupported);
    if (!app.hasExtrasMenuBar)
        return failed(AXResult::noValue);
    return element(request.element->derived(SimAXElement::Kind::ExtrasMenuBar));
}

AXAttribute barAttribute(const SimAXRequest& request, const QString& name)
{
    if (name == "AXRole"_L1)
        return text(SimText::of(u"AXMenuBar"_s));
    if (name == "AXChildren"_L1)
        return elementList(
            childrenOf(*request.element, request.application->application->items.size()));
    return failed(AXResult::attributeUnsupported);
}

// A hidden application's items have left the menu bar: they have no place at all.
AXAttribute positionAttribute(const SimAXRequest& request)
{
    if (!request.application->visible)
        return failed(AXResult::noValue);
    return pointValue(placeOf(*request.application, request.element->path).position);
}

AXAttribute sizeAttribute(const SimAXRequest& request)
{
    if (!request.application->visible)
        return failed(AXResult::noValue);
    return sizeValue(placeOf(*request.application, request.element->path).size);
}

AXAttribute itemAttribute(const SimAXRequest& request, const QString& name)
{
    const SimElement& item = *request.item;
    if (name == "AXRole"_L1)
        return text(item.role);
    if (name == "AXTitle"_L1)
        return text(item.title);
    if (name == "AXDescription"_L1)
        return text(item.description);
    if (name == "AXChildren"_L1)
        return elementList(childrenOf(*request.element, item.children.size()));
    if (name == "AXPosition"_L1)
        return positionAttribute(request);
    if (name == "AXSize"_L1)
        return sizeAttribute(request);
    return failed(AXResult::attributeUnsupported);
}

} // namespace

// What the element of a request that reached it answers for one attribute.
AXAttribute answer(const SimAXRequest& request, const QString& name)
{
    if (request.error != AXResult::success)
        return failed(request.error);
    switch (request.element->kind) {
    case SimAXElement::Kind::Application:
        return applicationAttribute(request, name);
    case SimAXElement::Kind::ExtrasMenuBar:
        return barAttribute(request, name);
    case SimAXElement::Kind::Item:
        return itemAttribute(request, name);
    case SimAXElement::Kind::MenuBar:
        return menuBarAttribute(request, name);
    case SimAXElement::Kind::Menu:
        return menuAttribute(request, name);
    }
    return failed(AXResult::failure);
}

} // namespace tk
