#include "ScenarioExport.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <QSaveFile>
#include <QSet>
#include <algorithm>
#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

AXElementRef RecordingAccessibility::applicationElement(qint32 pid)
{
    AXElementRef element = m_inner.applicationElement(pid);
    const QMutexLocker lock(&m_mutex);
    m_applications.insert(pid, element);
    m_kept.append(element);
    return element;
}

void RecordingAccessibility::setMessagingTimeout(const AXElementRef& element, double seconds)
{
    m_inner.setMessagingTimeout(element, seconds);
}

AXAttribute RecordingAccessibility::attribute(const AXElementRef& element, const QString& name)
{
    AXAttribute answer = m_inner.attribute(element, name);
    const QMutexLocker lock(&m_mutex);
    noteRequest(element, answer.error != AXResult::cannotComplete).attributes.insert(name, answer);
    return answer;
}

QList<AXAttribute> RecordingAccessibility::attributes(const AXElementRef& element,
                                                      const QStringList& names)
{
    QList<AXAttribute> answers = m_inner.attributes(element, names);
    const QMutexLocker lock(&m_mutex);
    const bool answered = std::none_of(answers.cbegin(), answers.cend(), [](const AXAttribute& a) {
        return a.error == AXResult::cannotComplete;
    });
    Answers& recorded = noteRequest(element, answered);
    for (qsizetype i = 0; i < names.size() && i < answers.size(); ++i)
        recorded.attributes.insert(names.at(i), answers.at(i));
    return answers;
}

std::optional<QStringList> RecordingAccessibility::actionNames(const AXElementRef& element)
{
    std::optional<QStringList> answer = m_inner.actionNames(element);
    const QMutexLocker lock(&m_mutex);
    noteRequest(element, answer.has_value()).actions = answer;
    return answer;
}

AXSettable RecordingAccessibility::isAttributeSettable(const AXElementRef& element,
                                                       const QString& name)
{
    const AXSettable answer = m_inner.isAttributeSettable(element, name);
    const QMutexLocker lock(&m_mutex);
    noteRequest(element, answer.error != AXResult::cannotComplete).settable = answer;
    return answer;
}

RecordingAccessibility::Answers& RecordingAccessibility::noteRequest(const AXElementRef& element,
                                                                    bool answered)
{
    Answers& recorded = m_answers[element.get()];
    recorded.requests.append({m_requests++, answered});
    m_kept.append(element);
    return recorded;
}

std::optional<RecordingAccessibility::Answers>
RecordingAccessibility::answers(const AXElementRef& element) const
{
    const QMutexLocker lock(&m_mutex);
    const auto found = m_answers.constFind(element.get());
    return found == m_answers.constEnd() ? std::nullopt : std::optional(*found);
}

AXElementRef RecordingAccessibility::application(qint32 pid) const
{
    const QMutexLocker lock(&m_mutex);
    return m_applications.value(pid);
}

namespace {

constexpr double unansweredDelay = 0.5; // seconds: longer than any scan waits for a message
constexpr double statedNoWidth = 24.0;  // what a scenario's bar gives an item of unknown width

QJsonObject rectObject(const Rect& rect)
{
    return {{u"x"_s, rect.x}, {u"y"_s, rect.y}, {u"width"_s, rect.width},
            {u"height"_s, rect.height}};
}

// A text attribute: a string as read, another kind as a number (which never reads as
// text), nothing when the read failed or was never made.
void writeText(QJsonObject& object, const QString& key, const RecordingAccessibility::Answers& a,
               const QString& attribute)
{
    const auto found = a.attributes.constFind(attribute);
    if (found == a.attributes.constEnd() || found->kind == AXAttribute::Kind::Nothing)
        return;
    object.insert(key, found->kind == AXAttribute::Kind::String ? QJsonValue(found->string)
                                                                : QJsonValue(0));
}

void writeGeometry(QJsonObject& object, const RecordingAccessibility::Answers& a)
{
    const auto position = a.attributes.constFind(u"AXPosition"_s);
    if (position != a.attributes.constEnd())
        object.insert(u"position"_s, position->point ? QJsonValue(QJsonObject{
                                                           {u"x"_s, position->point->x()},
                                                           {u"y"_s, position->point->y()}})
                                                     : QJsonValue(QJsonValue::Null));
    const auto size = a.attributes.constFind(u"AXSize"_s);
    if (size == a.attributes.constEnd())
        return;
    if (!size->size) {
        object.insert(u"size"_s, QJsonValue::Null);
        return;
    }
    object.insert(u"size"_s, QJsonObject{{u"width"_s, size->size->width()},
                                         {u"height"_s, size->size->height()}});
    object.insert(u"width"_s, size->size->width());
}

QJsonObject elementObject(const RecordingAccessibility& recording, const AXElementRef& element,
                          int depth);

QJsonArray childrenOf(const RecordingAccessibility& recording,
                      const RecordingAccessibility::Answers& a, int depth)
{
    QJsonArray children;
    const auto list = a.attributes.constFind(u"AXChildren"_s);
    if (list == a.attributes.constEnd() || list->kind != AXAttribute::Kind::ElementList)
        return children;
    for (const AXElementRef& child : list->elements)
        children.append(elementObject(recording, child, depth + 1));
    return children;
}

QJsonObject elementObject(const RecordingAccessibility& recording, const AXElementRef& element,
                          int depth)
{
    QJsonObject object;
    const std::optional<RecordingAccessibility::Answers> a = recording.answers(element);
    if (!a)
        return object;
    writeText(object, u"role"_s, *a, u"AXRole"_s);
    writeText(object, u"title"_s, *a, u"AXTitle"_s);
    writeText(object, u"description"_s, *a, u"AXDescription"_s);
    writeGeometry(object, *a);
    if (a->actions)
        object.insert(u"actions"_s, *a->actions ? QJsonValue(QJsonArray::fromStringList(**a->actions))
                                                : QJsonValue(QJsonValue::Null));
    if (a->settable) {
        object.insert(u"positionSettable"_s, a->settable->settable);
        if (a->settable->error != AXResult::success)
            object.insert(u"settableError"_s, a->settable->error);
    }
    if (const QJsonArray children = childrenOf(recording, *a, depth); !children.isEmpty())
        object.insert(u"children"_s, children);
    return object;
}

// Every request made to an element of an application's tree, as the recording kept them: each
// element is asked each thing once by a scan.
void gatherRequests(const RecordingAccessibility& recording, const AXElementRef& element,
                    QList<RecordingAccessibility::Answers::Request>& requests)
{
    const std::optional<RecordingAccessibility::Answers> a = recording.answers(element);
    if (!a)
        return;
    requests += a->requests;
    for (const AXAttribute& attribute : a->attributes) {
        if (attribute.kind == AXAttribute::Kind::Element)
            gatherRequests(recording, attribute.element, requests);
        for (const AXElementRef& child : attribute.elements)
            gatherRequests(recording, child, requests);
    }
}

// How many requests an application answered before it stopped answering: those before the
// unanswered ones that end its scan. One left unanswered and followed by an answer was an
// element's own failure, not the application hanging; nothing when none hung.
std::optional<qint64> answersBeforeHanging(const RecordingAccessibility& recording,
                                           const AXElementRef& application)
{
    QList<RecordingAccessibility::Answers::Request> requests;
    gatherRequests(recording, application, requests);
    std::sort(requests.begin(), requests.end(),
              [](const auto& a, const auto& b) { return a.sequence < b.sequence; });
    qsizetype hangsAt = requests.size();
    while (hangsAt > 0 && !requests.at(hangsAt - 1).answered)
        --hangsAt;
    if (hangsAt == requests.size())
        return std::nullopt;
    return hangsAt;
}

// An item of the menu bar as the scan read it, under the key the bar remembers it by.
struct BarItem {
    QJsonObject key;
    std::optional<double> x; // nothing: its position could not be read
    double width = statedNoWidth;
    double order = 0.0; // where it stands, right to left by decreasing value
};

BarItem barItem(const RunningApplication& running, qsizetype index, const QJsonObject& item)
{
    BarItem result;
    result.key = running.bundleIdentifier ? QJsonObject{{u"bundle"_s, *running.bundleIdentifier}}
                                          : QJsonObject{{u"pid"_s, running.pid}};
    result.key.insert(u"item"_s, index);
    const QJsonValue position = item.value(u"position"_s);
    if (position.isObject())
        result.x = position.toObject().value(u"x"_s).toDouble();
    result.width = item.value(u"width"_s).toDouble(statedNoWidth);
    return result;
}

// The first and the last menu of the application's menu bar, which the scan reads: each
// where it stood, or, when its place was not read, as a menu that was not asked, so that a
// replay makes the same requests and finds the menus at the same places.
QJsonArray menusOf(const RecordingAccessibility& recording,
                   const RecordingAccessibility::Answers& application)
{
    QJsonArray menus;
    const auto bar = application.attributes.constFind(u"AXMenuBar"_s);
    if (bar == application.attributes.constEnd() || bar->kind != AXAttribute::Kind::Element)
        return menus;
    const std::optional<RecordingAccessibility::Answers> barAnswers =
        recording.answers(bar->element);
    const auto children = barAnswers ? barAnswers->attributes.constFind(u"AXChildren"_s)
                                     : QHash<QString, AXAttribute>::const_iterator();
    if (!barAnswers || children == barAnswers->attributes.constEnd() ||
        children->elements.isEmpty())
        return menus;
    QList<AXElementRef> read{children->elements.constFirst()};
    if (children->elements.size() > 1)
        read.append(children->elements.constLast());
    for (const AXElementRef& menu : std::as_const(read)) {
        QJsonObject written{{u"title"_s, QString()}};
        const std::optional<RecordingAccessibility::Answers> a = recording.answers(menu);
        const AXAttribute position = a ? a->attributes.value(u"AXPosition"_s) : AXAttribute();
        const AXAttribute size = a ? a->attributes.value(u"AXSize"_s) : AXAttribute();
        if (position.point && size.size)
            written.insert(u"frame"_s, rectObject({position.point->x(), position.point->y(),
                                                   size.size->width(), size.size->height()}));
        menus.append(written);
    }
    return menus;
}

// The application and what its extras menu bar held when the scan asked.
QJsonObject applicationObject(const RecordingAccessibility& recording,
                              const RunningApplication& running, QList<BarItem>& barItems)
{
    QJsonObject object{{u"pid"_s, running.pid}};
    if (running.bundleIdentifier)
        object.insert(u"bundle"_s, *running.bundleIdentifier);
    if (running.localizedName)
        object.insert(u"name"_s, *running.localizedName);
    const std::optional<RecordingAccessibility::Answers> a =
        recording.answers(recording.application(running.pid));
    const auto extras = a ? a->attributes.constFind(u"AXExtrasMenuBar"_s)
                          : QHash<QString, AXAttribute>::const_iterator();
    if (a) {
        if (const QJsonArray menus = menusOf(recording, *a); !menus.isEmpty())
            object.insert(u"menus"_s, menus);
    }
    if (!a || extras == a->attributes.constEnd())
        return object;
    if (extras->error == AXResult::cannotComplete) {
        // The frontmost application's menus are read first: it may have answered those.
        const std::optional<qint64> answered =
            answersBeforeHanging(recording, recording.application(running.pid));
        if (answered.value_or(0) > 0)
            object.insert(u"answersBeforeHanging"_s, *answered);
        else
            object.insert(u"responseDelay"_s, unansweredDelay);
        return object;
    }
    if (extras->kind != AXAttribute::Kind::Element) {
        object.insert(u"extrasMenuBar"_s, false);
        return object;
    }
    if (const auto answered = answersBeforeHanging(recording, recording.application(running.pid)))
        object.insert(u"answersBeforeHanging"_s, *answered);
    QJsonArray items;
    if (const std::optional<RecordingAccessibility::Answers> bar = recording.answers(extras->element))
        items = childrenOf(recording, *bar, 0);
    for (qsizetype i = 0; i < items.size(); ++i)
        barItems.append(barItem(running, i, items.at(i).toObject()));
    object.insert(u"items"_s, items);
    return object;
}

// Right to left as their positions read; an item whose position could not be read stays
// just after the one the scan read before it.
QList<BarItem> inBarOrder(QList<BarItem> items)
{
    double order = std::numeric_limits<double>::infinity();
    for (BarItem& item : items)
        item.order = order = item.x.value_or(order);
    std::stable_sort(items.begin(), items.end(),
                     [](const BarItem& a, const BarItem& b) { return a.order > b.order; });
    return items;
}

} // namespace

// The bar is remembered in the order the scan read it, so that a replay lays it out alike.
QByteArray ScenarioExport::write(const RecordingAccessibility& recording,
                                 const ExportedDesktop& desktop)
{
    QJsonArray screens;
    for (const ScreenInfo& screen : desktop.screens) {
        QJsonObject written{{u"frame"_s, rectObject(screen.frame)},
                            {u"visibleFrame"_s, rectObject(screen.visibleFrame)}};
        if (screen.notch)
            written.insert(u"notch"_s, QJsonObject{{u"width"_s, screen.notch->width},
                                                   {u"height"_s, screen.notch->height}});
        screens.append(written);
    }
    QJsonArray apps;
    QList<BarItem> barItems;
    for (const RunningApplication& running : desktop.applications)
        apps.append(applicationObject(recording, running, barItems));
    barItems = inBarOrder(std::move(barItems));
    QJsonArray remembered;
    QSet<QByteArray> listed; // two copies of an application share their places
    for (const BarItem& item : std::as_const(barItems)) {
        const QByteArray key = QJsonDocument(item.key).toJson(QJsonDocument::Compact);
        if (!listed.contains(key))
            remembered.append(item.key);
        listed.insert(key);
    }
    QJsonObject tuckaway{{u"pid"_s, desktop.ownPid}};
    if (desktop.ownIcon)
        tuckaway.insert(u"frame"_s, rectObject(*desktop.ownIcon));
    QJsonObject root{{u"screens"_s, screens},
                     {u"apps"_s, apps},
                     {u"tuckaway"_s, tuckaway},
                     {u"trusted"_s, desktop.trusted}};
    if (!remembered.isEmpty())
        root.insert(u"remembered"_s, remembered);
    const bool frontmostListed =
        desktop.frontmost && std::any_of(desktop.applications.cbegin(), desktop.applications.cend(),
                                         [&desktop](const RunningApplication& app) {
                                             return app.pid == *desktop.frontmost;
                                         });
    if (frontmostListed)
        root.insert(u"frontmost"_s, *desktop.frontmost);
    if (!desktop.frameworkAvailable)
        root.insert(u"framework"_s, QJsonObject{{u"present"_s, false}});
    // JSON objects keep no order of their own: the warning is put first by hand.
    QByteArray body = QJsonDocument(root).toJson(QJsonDocument::Indented);
    const QByteArray warning = QJsonDocument(QJsonObject{
        {u"warning"_s,
         u"Menu-bar titles and descriptions can hold personal information (names, addresses, "
         u"messages). Read this file before sharing it."_s}}).toJson(QJsonDocument::Indented);
    return warning.left(warning.lastIndexOf('}')).trimmed() + ",\n" + body.mid(body.indexOf('\n') + 1);
}

std::optional<QString> ScenarioExport::save(const QString& path, const QByteArray& json)
{
    const QFileInfo info(path);
    if (info.isSymLink() || (info.exists() && !info.isFile()))
        return u"%1 exists and is not a regular file; it is left as it is"_s.arg(path);
    QSaveFile file(path);
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        return u"%1 could not be written: %2"_s.arg(path, file.errorString());
    return std::nullopt;
}

} // namespace tk
