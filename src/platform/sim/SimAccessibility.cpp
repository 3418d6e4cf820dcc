#include "SimAccessibility.h"

#include "platform/sim/SimAccessibilityRequest.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/VirtualTime.h"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <chrono>
#include <thread>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const SimAXElement* simulated(const AXElementRef& element)
{
    return dynamic_cast<const SimAXElement*>(element.get());
}

// The item at `path` in the application's tree as it is now; null when there is none.
const SimElement* itemAt(const SimApplication& application, const SimAXElement::Path& path)
{
    const QList<SimElement>* level = &application.items;
    const SimElement* item = nullptr;
    for (const qsizetype index : path) {
        if (index < 0 || index >= level->size())
            return nullptr;
        item = &level->at(index);
        level = &item->children;
    }
    return item;
}

// Lets time pass for a request: `onVirtual` seconds of virtual time (which, paced, also waits
// for the clock to get there), or `onWall` of the machine's.
void letTimePass(TimeSource& time, double onVirtual, double onWall)
{
    if (auto* virtualTime = dynamic_cast<VirtualTimeSource*>(&time))
        virtualTime->elapse(onVirtual);
    else if (onWall > 0.0)
        std::this_thread::sleep_for(std::chrono::duration<double>(onWall));
}

// Lets `seconds` pass on `time`, as a request that takes so long does.
void spend(TimeSource& time, double seconds)
{
    if (seconds > 0.0)
        letTimePass(time, seconds, seconds);
}

// An application that takes longer than the element's timeout, or has stopped answering,
// costs the timeout and gives no answer.
bool answersInTime(SimAccessibility& ax, TimeSource& time, const SimAXElement& element,
                   const SimApplication& application, double requestCost)
{
    const double timeout = element.timeout;
    const bool answers = element.process->answers() && application.responseDelay <= timeout;
    const double waited = answers ? application.responseDelay : timeout;
    const double cost = answers ? std::max(waited, requestCost) : waited;
    ax.noteRoundTrip(answers, cost);
    // On virtual time every round trip costs what it would on a Mac; on the wall clock only
    // a slow or hanging application is waited for.
    letTimePass(time, cost, waited);
    return answers;
}

// Whether the request reaches the element's application, in the order the Mac checks: one
// that cannot be sent, one this process may not make, one to a process that never ran or
// has gone. Success when it reaches it.
qint32 reach(const SimDesktop& desktop, SimAXRequest& request)
{
    if (!request.element || request.element->pid <= 0)
        return AXResult::illegalArgument;
    if (!desktop.isTrusted())
        return AXResult::apiDisabled;
    if (!request.element->process)
        return AXResult::cannotComplete;
    request.world = desktop.state();
    const auto running = request.world->applications.constFind(request.element->pid);
    if (running == request.world->applications.cend() ||
        (*running)->process != request.element->process)
        return AXResult::invalidUIElement;
    request.application = running->get();
    return AXResult::success;
}

// Once it has reached the application, the request costs its time, and may be about an item
// the application no longer has.
SimAXRequest send(SimAccessibility& ax, const SimDesktop& desktop, TimeSource& time,
                  const AXElementRef& element)
{
    SimAXRequest request;
    request.element = simulated(element);
    request.error = reach(desktop, request);
    if (request.error != AXResult::success) {
        // Refused on the spot, at no cost; yet on a paced clock it waits its turn like any.
        letTimePass(time, 0.0, 0.0);
        return request;
    }
    const SimApplication& application = *request.application->application;
    if (!answersInTime(ax, time, *request.element, application, desktop.requestCost()))
        request.error = AXResult::cannotComplete;
    else if (request.element->kind == SimAXElement::Kind::Item &&
             !(request.item = itemAt(application, request.element->path)))
        request.error = AXResult::invalidUIElement;
    return request;
}

} // namespace

SimAccessibility::SimAccessibility(SimDesktop& desktop, TimeSource& time)
    : m_desktop(desktop), m_time(time)
{
}

SimAccessibility::~SimAccessibility() = default;

void SimAccessibility::holdAnswers(bool held)
{
    holdAnswersWhen(held ? HoldCondition([](qint32) { return true; }) : HoldCondition());
}

void SimAccessibility::holdAnswersWhen(HoldCondition condition)
{
    {
        const std::lock_guard lock(m_holdMutex);
        m_holding = bool(condition);
        m_holdCondition = std::move(condition);
        ++m_holdGeneration;
    }
    m_holdChanged.notify_all();
}

bool SimAccessibility::waitForHeldWalk(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_holdMutex);
    return m_holdChanged.wait_for(
        lock, timeout, [this] { return m_heldWalks > 0 && m_heldGeneration == m_holdGeneration; });
}

void SimAccessibility::waitWhileHeld(qint32 pid)
{
    if (!m_holding.load() || QThread::currentThread() == QCoreApplication::instance()->thread())
        return;
    std::unique_lock lock(m_holdMutex);
    while (m_holdCondition && m_holdCondition(pid)) {
        const quint64 generation = m_holdGeneration;
        m_heldGeneration = generation;
        ++m_heldWalks;
        m_holdChanged.notify_all();
        m_holdChanged.wait(lock, [&] { return m_holdGeneration != generation; });
        --m_heldWalks;
    }
}

void SimAccessibility::waitWhileHeld(const AXElementRef& element)
{
    const SimAXElement* simElement = simulated(element);
    waitWhileHeld(simElement ? simElement->pid : 0);
}

AXElementRef SimAccessibility::applicationElement(qint32 pid)
{
    waitWhileHeld(pid);
    const auto world = m_desktop.state();
    const auto application = world->applications.value(pid);
    return std::make_shared<SimAXElement>(pid, application ? application->process : nullptr,
                                          SimAXElement::Kind::Application);
}

// As on the Mac, zero (or less) restores the default.
void SimAccessibility::setMessagingTimeout(const AXElementRef& element, double seconds)
{
    if (const SimAXElement* simElement = simulated(element))
        simElement->timeout = seconds > 0.0 ? seconds : defaultMessagingTimeout;
}

AXAttribute SimAccessibility::attribute(const AXElementRef& element, const QString& name)
{
    waitWhileHeld(element);
    return answer(send(*this, m_desktop, m_time, element), name);
}

QList<AXAttribute> SimAccessibility::attributes(const AXElementRef& element,
                                                const QStringList& names)
{
    waitWhileHeld(element);
    const SimAXRequest request = send(*this, m_desktop, m_time, element);
    QList<AXAttribute> answers;
    answers.reserve(names.size());
    for (const QString& name : names)
        answers.append(answer(request, name));
    return answers;
}

void SimAccessibility::noteRoundTrip(bool answered, double seconds)
{
    ++m_requests;
    if (answered)
        ++m_answered;
    m_nanoseconds += quint64(std::llround(seconds * 1e9));
}

SimAccessibility::RoundTrips SimAccessibility::roundTrips() const
{
    return {m_requests.load(), m_answered.load(), double(m_nanoseconds.load()) / 1e9};
}

void SimAccessibility::resetRoundTrips()
{
    m_requests = 0;
    m_answered = 0;
    m_nanoseconds = 0;
}

std::optional<QStringList> SimAccessibility::actionNames(const AXElementRef& element)
{
    waitWhileHeld(element);
    const SimAXRequest request = send(*this, m_desktop, m_time, element);
    if (request.error != AXResult::success)
        return std::nullopt;
    return request.item ? request.item->actions : QStringList();
}

AXSettable SimAccessibility::isAttributeSettable(const AXElementRef& element, const QString& name)
{
    waitWhileHeld(element);
    const SimAXRequest request = send(*this, m_desktop, m_time, element);
    if (request.error != AXResult::success)
        return {request.error, false};
    if (!request.item)
        return {AXResult::success, false};
    if (request.item->settableError != AXResult::success)
        return {request.item->settableError, false};
    return {AXResult::success, name == "AXPosition"_L1 && request.item->positionSettable};
}

// An action the item does not list is not performed (an item whose names cannot be read
// performs any); a refused one does nothing; a late one costs the timeout and fails, though
// the application performs it when it gets to it.
qint32 SimAccessibility::performAction(const AXElementRef& element, const QString& name)
{
    waitWhileHeld(element);
    const SimAXRequest request = send(*this, m_desktop, m_time, element);
    if (request.error != AXResult::success)
        return request.error;
    const SimElement* item = request.item;
    if (!item || (item->actions && !item->actions->contains(name)))
        return AXResult::actionUnsupported;
    SimPress press;
    press.pid = request.element->pid;
    press.bundle = request.application->application->bundleIdentifier.value_or(QString());
    press.item = int(request.element->path.first());
    const bool titled = item->title.kind == SimText::Kind::String && !item->title.string.isEmpty();
    press.title = titled ? item->title.string : item->description.string;
    press.action = name;
    press.result = item->pressResult;
    if (press.result == AXResult::success) {
        const double timeout = request.element->timeout;
        spend(m_time, std::min(item->pressDelay, timeout));
        press.acted = true;
        if (item->pressDelay > timeout)
            press.result = AXResult::cannotComplete;
    }
    m_desktop.notePress(press);
    return press.result;
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

} // namespace tk
