#include "SimAccessibility.h"

#include "platform/sim/SimDesktop.h"
#include "platform/sim/VirtualTime.h"

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <chrono>
#include <thread>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// An element of a simulated application. It keeps the application's state as it was when
// the application element was made, so its answers never change under a reader.
class SimAXElement final : public AXElement {
public:
    enum class Kind { Application, ExtrasMenuBar, Item };

    SimAXElement(qint32 processId, std::shared_ptr<const SimApplicationState> applicationState,
                 std::shared_ptr<std::atomic<qint64>> requestCount)
        : pid(processId), state(std::move(applicationState)), requests(std::move(requestCount))
    {
    }

    // As on the Mac, an element read from another does not take over its messaging timeout.
    std::shared_ptr<SimAXElement> derived(Kind derivedKind, const SimElement* derivedItem) const
    {
        auto element = std::make_shared<SimAXElement>(pid, state, requests);
        element->kind = derivedKind;
        element->item = derivedItem;
        return element;
    }

    const qint32 pid;
    const std::shared_ptr<const SimApplicationState> state; // null: no such process
    Kind kind = Kind::Application;
    const SimElement* item = nullptr; // inside `state`, for items
    // Where the position and size come from when the item does not give its own: the
    // menu bar's layout for an item of the bar, the parent's frame below it.
    std::optional<QPointF> inheritedPosition;
    std::optional<QSizeF> inheritedSize;
    mutable std::atomic<double> timeout{SimAccessibility::defaultMessagingTimeout};
    // Requests sent to this element's application through it and its relatives.
    const std::shared_ptr<std::atomic<qint64>> requests;
};

const SimAXElement* simulated(const AXElementRef& element)
{
    return dynamic_cast<const SimAXElement*>(element.get());
}

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

// A hidden application's items have left the menu bar: they have no place at all.
std::optional<QPointF> positionOf(const SimAXElement& element)
{
    if (!element.state->visible)
        return std::nullopt;
    switch (element.item->positionSource) {
    case SimElement::Source::Given:
        return element.item->position;
    case SimElement::Source::Missing:
        return std::nullopt;
    case SimElement::Source::Layout:
        break;
    }
    return element.inheritedPosition;
}

std::optional<QSizeF> sizeOf(const SimAXElement& element)
{
    if (!element.state->visible)
        return std::nullopt;
    switch (element.item->sizeSource) {
    case SimElement::Source::Given:
        return element.item->size;
    case SimElement::Source::Missing:
        return std::nullopt;
    case SimElement::Source::Layout:
        break;
    }
    return element.inheritedSize;
}

AXAttribute itemChildren(const SimAXElement& parent)
{
    QList<AXElementRef> children;
    for (const SimElement& child : parent.item->children) {
        auto element = parent.derived(SimAXElement::Kind::Item, &child);
        element->inheritedPosition = positionOf(parent);
        element->inheritedSize = sizeOf(parent);
        children.append(std::move(element));
    }
    return elementList(children);
}

AXAttribute barChildren(const SimAXElement& bar)
{
    QList<AXElementRef> children;
    const SimApplicationState& state = *bar.state;
    for (qsizetype i = 0; i < state.application->items.size(); ++i) {
        auto element = bar.derived(SimAXElement::Kind::Item, &state.application->items.at(i));
        if (const auto frame = state.barFrames.value(i)) {
            element->inheritedPosition = QPointF(frame->x, frame->y);
            element->inheritedSize = QSizeF(frame->width, frame->height);
        }
        children.append(std::move(element));
    }
    return elementList(children);
}

AXAttribute applicationAttribute(const SimAXElement& element, const QString& name)
{
    const SimApplication& app = *element.state->application;
    AXAttribute attribute;
    if (name == "AXRole"_L1)
        return text(SimText::of(u"AXApplication"_s));
    if (name == "AXTitle"_L1)
        return app.name ? text(SimText::of(*app.name)) : failed(AXResult::noValue);
    if (name == "AXChildren"_L1)
        return elementList({});
    if (name != "AXExtrasMenuBar"_L1)
        return failed(AXResult::attributeUnsupported);
    if (!app.hasExtrasMenuBar)
        return failed(AXResult::noValue);
    attribute.kind = AXAttribute::Kind::Element;
    attribute.element = element.derived(SimAXElement::Kind::ExtrasMenuBar, nullptr);
    return attribute;
}

AXAttribute itemAttribute(const SimAXElement& element, const QString& name)
{
    AXAttribute attribute;
    if (name == "AXRole"_L1)
        return text(element.item->role);
    if (name == "AXTitle"_L1)
        return text(element.item->title);
    if (name == "AXDescription"_L1)
        return text(element.item->description);
    if (name == "AXChildren"_L1)
        return itemChildren(element);
    if (name == "AXPosition"_L1) {
        attribute.point = positionOf(element);
        attribute.kind = AXAttribute::Kind::PointValue;
        return attribute.point ? attribute : failed(AXResult::noValue);
    }
    if (name == "AXSize"_L1) {
        attribute.size = sizeOf(element);
        attribute.kind = AXAttribute::Kind::SizeValue;
        return attribute.size ? attribute : failed(AXResult::noValue);
    }
    return failed(AXResult::attributeUnsupported);
}

// Why a request to this element cannot even be sent; success when it can. As on the Mac,
// trust is asked at every request, so that one withdrawn during a walk fails the rest of it.
qint32 unreachable(const SimAXElement* element, const SimDesktop& desktop)
{
    if (!element || element->pid <= 0)
        return AXResult::illegalArgument;
    if (!desktop.isTrusted())
        return AXResult::apiDisabled;
    return element->state ? AXResult::success : AXResult::cannotComplete;
}

} // namespace

SimAccessibility::SimAccessibility(SimDesktop& desktop, TimeSource& time)
    : m_desktop(desktop), m_time(time)
{
}

SimAccessibility::~SimAccessibility() = default;

void SimAccessibility::holdAnswers(bool held)
{
    {
        const std::lock_guard lock(m_holdMutex);
        m_held = held;
    }
    m_released.notify_all();
}

void SimAccessibility::waitWhileHeld()
{
    if (QThread::currentThread() == QCoreApplication::instance()->thread())
        return;
    std::unique_lock lock(m_holdMutex);
    m_released.wait(lock, [this] { return !m_held; });
}

AXElementRef SimAccessibility::applicationElement(qint32 pid)
{
    waitWhileHeld();
    const auto world = m_desktop.state();
    return std::make_shared<SimAXElement>(pid, world->applications.value(pid),
                                          std::make_shared<std::atomic<qint64>>(0));
}

// As on the Mac, zero (or less) restores the default.
void SimAccessibility::setMessagingTimeout(const AXElementRef& element, double seconds)
{
    if (const SimAXElement* simElement = simulated(element))
        simElement->timeout = seconds > 0.0 ? seconds : defaultMessagingTimeout;
}

AXAttribute SimAccessibility::attribute(const AXElementRef& element, const QString& name)
{
    const SimAXElement* simElement = simulated(element);
    if (const qint32 error = unreachable(simElement, m_desktop))
        return failed(error);
    if (!answersInTime(*simElement))
        return failed(AXResult::cannotComplete);
    switch (simElement->kind) {
    case SimAXElement::Kind::Application:
        return applicationAttribute(*simElement, name);
    case SimAXElement::Kind::ExtrasMenuBar:
        if (name == "AXRole"_L1)
            return text(SimText::of(u"AXMenuBar"_s));
        if (name == "AXChildren"_L1)
            return barChildren(*simElement);
        return failed(AXResult::attributeUnsupported);
    case SimAXElement::Kind::Item:
        return itemAttribute(*simElement, name);
    }
    return failed(AXResult::failure);
}

std::optional<QStringList> SimAccessibility::actionNames(const AXElementRef& element)
{
    const SimAXElement* simElement = simulated(element);
    if (unreachable(simElement, m_desktop) != AXResult::success ||
        !answersInTime(*simElement))
        return std::nullopt;
    if (simElement->kind != SimAXElement::Kind::Item)
        return QStringList();
    return simElement->item->actions;
}

AXSettable SimAccessibility::isAttributeSettable(const AXElementRef& element, const QString& name)
{
    const SimAXElement* simElement = simulated(element);
    if (const qint32 error = unreachable(simElement, m_desktop))
        return {error, false};
    if (!answersInTime(*simElement))
        return {AXResult::cannotComplete, false};
    if (simElement->kind != SimAXElement::Kind::Item)
        return {AXResult::success, false};
    if (simElement->item->settableError != AXResult::success)
        return {simElement->item->settableError, false};
    return {AXResult::success, name == "AXPosition"_L1 && simElement->item->positionSettable};
}

bool SimAccessibility::isProcessTrusted()
{
    return m_desktop.isTrusted();
}

// The system shows its prompt only to an application that is not yet trusted.
bool SimAccessibility::promptForTrust()
{
    const bool trusted = m_desktop.isTrusted();
    if (!trusted)
        m_desktop.noteTrustPrompt();
    return trusted;
}

// An application that takes longer than the element's timeout, or has stopped answering,
// costs the timeout and gives no answer.
bool SimAccessibility::answersInTime(const AXElement& element)
{
    const auto& simElement = static_cast<const SimAXElement&>(element);
    const SimApplication& app = *simElement.state->application;
    const qint64 request = ++*simElement.requests;
    const bool hangs = app.answersBeforeHanging && request > *app.answersBeforeHanging;
    const double timeout = simElement.timeout;
    const bool answers = !hangs && app.responseDelay <= timeout;
    const double cost = answers ? app.responseDelay : timeout;
    if (cost <= 0.0)
        return answers;
    if (auto* virtualTime = dynamic_cast<VirtualTimeSource*>(&m_time))
        virtualTime->elapse(cost);
    else
        std::this_thread::sleep_for(std::chrono::duration<double>(cost));
    return answers;
}

} // namespace tk
