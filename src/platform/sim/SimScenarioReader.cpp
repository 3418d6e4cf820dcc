#include "SimScenarioReader.h"

#include "core/Identity.h"

#include <QHash>
#include <QJsonDocument>
#include <QSet>
#include <algorithm>
#include <limits>

namespace tk {

using namespace Qt::StringLiterals;
using Range = SimJsonReader::Range;

namespace {

constexpr qint64 int32Max = std::numeric_limits<qint32>::max();
constexpr double defaultMenuBarHeight = 24.0;

} // namespace

Result<SimScenario> SimScenarioReader::read(const QJsonDocument& document)
{
    if (!document.isObject()) {
        m_json.fail(QString(), u"must hold a JSON object"_s);
        return m_json.error();
    }
    const QJsonObject root = document.object();
    m_json.expectKeys(root, QString(),
                      {"osVersion"_L1, "trusted"_L1, "requestCost"_L1, "screens"_L1, "apps"_L1,
                       "tuckaway"_L1, "framework"_L1, "takenShortcuts"_L1, "loginItem"_L1,
                       "warning"_L1, "remembered"_L1, "screenSets"_L1, "frontmost"_L1});
    SimScenario scenario;
    scenario.operatingSystemVersion =
        m_json.string(root, "osVersion"_L1, QString(), scenario.operatingSystemVersion);
    scenario.trusted = m_json.boolean(root, "trusted"_L1, QString(), true);
    scenario.requestCost = m_json.number(root, "requestCost"_L1, QString(), scenario.requestCost,
                                         Range::Seconds);
    scenario.screens = readScreens(root, scenario.screens);
    scenario.screenSets = readScreenSets(root);
    const QJsonArray apps = m_json.array(root, "apps"_L1, QString());
    for (qsizetype i = 0; i < apps.size() && m_json.ok(); ++i)
        scenario.applications.append(
            readApplication(apps.at(i), SimJsonReader::indexed(u"apps"_s, i)));
    readOwnProcess(root, scenario);
    checkUniquePids(scenario);
    readFrontmost(root, scenario);
    readRemembered(root, scenario);
    scenario.framework = readFramework(root);
    scenario.takenShortcuts = readShortcuts(root);
    scenario.loginItem = readLoginItem(root);
    if (!m_json.ok())
        return m_json.error();
    return scenario;
}

QList<SimScreen> SimScenarioReader::readScreens(const QJsonObject& root,
                                             const QList<SimScreen>& fallback)
{
    if (!root.contains("screens"_L1))
        return fallback;
    const QJsonArray screens = m_json.array(root, "screens"_L1, QString());
    if (screens.isEmpty())
        m_json.fail(u"screens"_s, u"must hold at least one screen"_s);
    if (screens.size() > SimScenarioLoader::maximumScreens)
        m_json.fail(u"screens"_s,
                    u"must hold at most %1 screens"_s.arg(SimScenarioLoader::maximumScreens));
    QList<SimScreen> result;
    for (qsizetype i = 0; i < screens.size() && m_json.ok(); ++i)
        result.append(readScreen(screens.at(i), SimJsonReader::indexed(u"screens"_s, i)));
    return result;
}

// A visible frame left out is the frame without its menu bar, as tall as a notch.
SimScreen SimScenarioReader::readScreen(const QJsonValue& value, const QString& place)
{
    SimScreen screen;
    const auto object = m_json.object(value, place);
    if (!object)
        return screen;
    m_json.expectKeys(*object, place, {"frame"_L1, "visibleFrame"_L1, "notch"_L1});
    screen.frame = readRect(object->value("frame"_L1), SimJsonReader::member(place, u"frame"_s),
                            Range::PositiveLength);
    if (object->contains("notch"_L1))
        screen.notch = readNotch(object->value("notch"_L1),
                                 SimJsonReader::member(place, u"notch"_s), screen.frame);
    screen.visibleFrame = screen.frame;
    const double barHeight = screen.notch ? screen.notch->height() : defaultMenuBarHeight;
    screen.visibleFrame.height = qMax(0.0, screen.frame.height - barHeight);
    if (object->contains("visibleFrame"_L1))
        screen.visibleFrame =
            readRect(object->value("visibleFrame"_L1),
                     SimJsonReader::member(place, u"visibleFrame"_s), Range::Length);
    return screen;
}

// A notch has an extent, and leaves room on both sides of it on its screen.
QSizeF SimScenarioReader::readNotch(const QJsonValue& value, const QString& place,
                                    const Rect& screen)
{
    const auto object = m_json.object(value, place);
    if (!object)
        return {};
    m_json.expectKeys(*object, place, {"width"_L1, "height"_L1});
    for (const auto key : {"width"_L1, "height"_L1}) {
        if (!object->contains(key))
            m_json.fail(SimJsonReader::member(place, key), u"is required"_s);
    }
    const double width = m_json.number(*object, "width"_L1, place, 0.0, Range::PositiveLength);
    const double height = m_json.number(*object, "height"_L1, place, 0.0, Range::PositiveLength);
    if (m_json.ok() && width >= screen.width)
        m_json.fail(SimJsonReader::member(place, u"width"_s),
                    u"must be narrower than its screen"_s);
    if (m_json.ok() && height >= screen.height)
        m_json.fail(SimJsonReader::member(place, u"height"_s), u"must be lower than its screen"_s);
    return QSizeF(width, height);
}

Rect SimScenarioReader::readRect(const QJsonValue& value, const QString& place, Range sizeRange)
{
    Rect rect;
    const auto object = m_json.object(value, place);
    if (!object)
        return rect;
    m_json.expectKeys(*object, place, {"x"_L1, "y"_L1, "width"_L1, "height"_L1});
    for (const auto key : {"x"_L1, "y"_L1, "width"_L1, "height"_L1}) {
        if (!object->contains(key))
            m_json.fail(SimJsonReader::member(place, key), u"is required"_s);
    }
    rect.x = m_json.number(*object, "x"_L1, place, 0.0, Range::Coordinate);
    rect.y = m_json.number(*object, "y"_L1, place, 0.0, Range::Coordinate);
    rect.width = m_json.number(*object, "width"_L1, place, 0.0, sizeRange);
    rect.height = m_json.number(*object, "height"_L1, place, 0.0, sizeRange);
    return rect;
}

// The frontmost application is one of the scenario's applications.
void SimScenarioReader::readFrontmost(const QJsonObject& root, SimScenario& scenario)
{
    if (!root.contains("frontmost"_L1) || !m_json.ok())
        return;
    const auto pid = m_json.integer(root, "frontmost"_L1, QString(), 1, int32Max);
    if (!pid)
        return;
    const bool known = std::any_of(scenario.applications.cbegin(), scenario.applications.cend(),
                                   [&pid](const SimApplication& app) { return app.pid == *pid; });
    if (!known)
        m_json.fail(u"frontmost"_s, u"%1 is the pid of no application of apps"_s.arg(*pid));
    scenario.frontmost = qint32(*pid);
}

SimFrameworkBehaviour SimScenarioReader::readFramework(const QJsonObject& root)
{
    SimFrameworkBehaviour behaviour;
    if (!root.contains("framework"_L1))
        return behaviour;
    const QString place = u"framework"_s;
    const auto object = m_json.object(root.value("framework"_L1), place);
    if (!object)
        return behaviour;
    m_json.expectKeys(*object, place,
                      {"present"_L1, "answer"_L1, "errorDescription"_L1, "exceptionName"_L1,
                       "exceptionReason"_L1, "delay"_L1});
    behaviour.present = m_json.boolean(*object, "present"_L1, place, true);
    const QStringList answers{u"success"_s, u"error"_s, u"exception"_s, u"none"_s};
    const auto answer =
        answers.indexOf(m_json.choice(*object, "answer"_L1, place, answers, answers.first()));
    behaviour.answer = SimFrameworkBehaviour::Answer(qMax(0, int(answer)));
    behaviour.errorDescription = m_json.string(*object, "errorDescription"_L1, place, QString());
    behaviour.exceptionName = m_json.string(*object, "exceptionName"_L1, place, QString());
    behaviour.exceptionReason = m_json.string(*object, "exceptionReason"_L1, place, QString());
    behaviour.delaySeconds = m_json.number(*object, "delay"_L1, place, 0.0, Range::Seconds);
    return behaviour;
}

QList<SimShortcut> SimScenarioReader::readShortcuts(const QJsonObject& root)
{
    static const QStringList keys{u"M"_s, u"B"_s, u"Space"_s};
    static const QStringList modifiers{u"controlOptionCommand"_s, u"controlOption"_s,
                                       u"controlShift"_s};
    QList<SimShortcut> result;
    const QJsonArray shortcuts = m_json.array(root, "takenShortcuts"_L1, QString());
    if (shortcuts.size() > SimScenarioLoader::maximumTakenShortcuts)
        m_json.fail(u"takenShortcuts"_s, u"must hold at most %1 shortcuts"_s.arg(
                                             SimScenarioLoader::maximumTakenShortcuts));
    for (qsizetype i = 0; i < shortcuts.size() && m_json.ok(); ++i) {
        const QString place = SimJsonReader::indexed(u"takenShortcuts"_s, i);
        const auto object = m_json.object(shortcuts.at(i), place);
        if (!object)
            break;
        m_json.expectKeys(
            *object, place,
            {"key"_L1, "modifiers"_L1, "holder"_L1, "exclusive"_L1, "registerStatus"_L1});
        SimShortcut shortcut;
        shortcut.key = m_json.choice(*object, "key"_L1, place, keys, keys.first());
        shortcut.modifiers =
            m_json.choice(*object, "modifiers"_L1, place, modifiers, modifiers.first());
        readHolding(*object, place, shortcut);
        checkExclusive(result, shortcut, place);
        result.append(shortcut);
    }
    return result;
}

SimLoginItems::Behaviour SimScenarioReader::readLoginItem(const QJsonObject& root)
{
    SimLoginItems::Behaviour behaviour;
    if (!root.contains("loginItem"_L1))
        return behaviour;
    const QString place = u"loginItem"_s;
    const auto object = m_json.object(root.value("loginItem"_L1), place);
    if (!object)
        return behaviour;
    m_json.expectKeys(*object, place,
                      {"requiresApproval"_L1, "appFound"_L1, "registerError"_L1,
                       "unregisterError"_L1, "switchedOff"_L1, "status"_L1});
    behaviour.requiresApproval = m_json.boolean(*object, "requiresApproval"_L1, place, false);
    behaviour.appFound = m_json.boolean(*object, "appFound"_L1, place, true);
    const auto failure = [](const std::optional<QString>& description) -> std::optional<Error> {
        if (!description)
            return std::nullopt;
        return Error{u"SMAppServiceErrorDomain"_s, 1, *description};
    };
    behaviour.registerFailure = failure(m_json.optionalString(*object, "registerError"_L1, place));
    behaviour.unregisterFailure =
        failure(m_json.optionalString(*object, "unregisterError"_L1, place));
    readLoginSwitch(*object, place, behaviour);
    return behaviour;
}

// Left out, this process is the newest one (or has the lowest free pid when the newest
// has the highest there is) and its item stands leftmost of all.
void SimScenarioReader::readOwnProcess(const QJsonObject& root, SimScenario& scenario)
{
    qint32 newest = 0;
    int barItems = 0;
    QSet<qint32> taken;
    for (const SimApplication& app : std::as_const(scenario.applications)) {
        newest = qMax(newest, app.pid);
        barItems += int(app.items.size());
        taken.insert(app.pid);
    }
    scenario.ownPid = newest < int32Max ? newest + 1 : 1;
    while (taken.contains(scenario.ownPid))
        ++scenario.ownPid;
    scenario.statusItemPlace = barItems;
    if (!root.contains("tuckaway"_L1))
        return;
    const QString place = u"tuckaway"_s;
    const auto object = m_json.object(root.value("tuckaway"_L1), place);
    if (!object)
        return;
    m_json.expectKeys(*object, place, {"pid"_L1, "place"_L1, "frame"_L1, "bundle"_L1});
    readOwnBundle(*object, place, scenario);
    scenario.ownPid =
        qint32(m_json.integer(*object, "pid"_L1, place, 1, int32Max).value_or(scenario.ownPid));
    scenario.statusItemPlace =
        int(m_json.integer(*object, "place"_L1, place, 0, int32Max).value_or(barItems));
    scenario.statusItemFrame = readOwnFrame(*object, scenario.screens);
}

// Tuckaway's icon where a scenario puts it: on some screen, with an extent, and instead of
// a place, never besides one.
std::optional<Rect> SimScenarioReader::readOwnFrame(const QJsonObject& object,
                                                    const QList<SimScreen>& screens)
{
    const QString place = u"tuckaway.frame"_s;
    if (!object.contains("frame"_L1))
        return std::nullopt;
    if (object.contains("place"_L1))
        m_json.fail(place, u"cannot be given together with place"_s);
    const Rect frame = readRect(object.value("frame"_L1), place, Range::PositiveLength);
    if (!m_json.ok())
        return std::nullopt;
    // Accessibility space runs down from the primary screen's top; screens' frames run up.
    const double top = screens.value(0).frame.maxY();
    const Rect onScreen{frame.x, top - (frame.y + frame.height), frame.width, frame.height};
    const auto overlaps = [&onScreen](const SimScreen& screen) {
        const Rect& s = screen.frame;
        return onScreen.x < s.maxX() && onScreen.maxX() > s.x && onScreen.y < s.maxY() &&
               onScreen.maxY() > s.y;
    };
    if (std::none_of(screens.cbegin(), screens.cend(), overlaps))
        m_json.fail(place, u"lies outside every screen"_s);
    return frame;
}

// Where the menu bar remembers items stood, right to left: items of running applications,
// of applications that ran before, and Tuckaway's own, whose place is then not given twice.
void SimScenarioReader::readRemembered(const QJsonObject& root, SimScenario& scenario)
{
    const QJsonArray entries = m_json.array(root, "remembered"_L1, QString());
    QHash<SimBarKey, qsizetype> listed;
    for (qsizetype i = 0; i < entries.size() && m_json.ok(); ++i) {
        const QString place = SimJsonReader::indexed(u"remembered"_s, i);
        const std::optional<SimBarKey> key =
            countElement(place) ? readBarKey(entries.at(i), place) : std::nullopt;
        if (!key)
            return;
        if (const auto earlier = listed.constFind(*key); earlier != listed.constEnd())
            m_json.fail(place, u"the same item as remembered[%1]"_s.arg(*earlier));
        listed.insert(*key, i);
        scenario.remembered.append(*key);
    }
    const auto own = SimBarKey::autosave(Identity::statusItemAutosaveName);
    for (const auto key : {"place"_L1, "frame"_L1}) {
        if (listed.contains(own) && root.value("tuckaway"_L1).toObject().contains(key))
            m_json.fail(u"tuckaway."_s + key,
                        u"cannot be given when remembered holds %1"_s.arg(own.name));
    }
}

// One item: "bundle" or "pid" with its "item" index, or Tuckaway's "autosaveName".
std::optional<SimBarKey> SimScenarioReader::readBarKey(const QJsonValue& value,
                                                       const QString& place)
{
    const auto object = m_json.object(value, place);
    if (!object)
        return std::nullopt;
    m_json.expectKeys(*object, place, {"bundle"_L1, "pid"_L1, "item"_L1, "autosaveName"_L1});
    const bool own = object->contains("autosaveName"_L1);
    if (int(object->contains("bundle"_L1)) + int(object->contains("pid"_L1)) + int(own) != 1)
        m_json.fail(place, u"must hold one of bundle, pid and autosaveName"_s);
    if (own && object->contains("item"_L1))
        m_json.fail(SimJsonReader::member(place, u"item"_s),
                    u"cannot be given with autosaveName"_s);
    SimBarKey key;
    if (own) {
        const QString name = Identity::statusItemAutosaveName;
        key = SimBarKey::autosave(m_json.choice(*object, "autosaveName"_L1, place, {name}, name));
    } else if (object->contains("bundle"_L1)) {
        key.name = m_json.string(*object, "bundle"_L1, place, QString());
    } else {
        key.kind = SimBarKey::Kind::Process;
        key.pid = qint32(m_json.integer(*object, "pid"_L1, place, 1, int32Max).value_or(0));
    }
    constexpr int lastIndex = SimScenarioLoader::maximumElements - 1;
    if (!own)
        key.index = int(m_json.integer(*object, "item"_L1, place, 0, lastIndex).value_or(0));
    return m_json.ok() ? std::optional(key) : std::nullopt;
}

void SimScenarioReader::checkUniquePids(const SimScenario& scenario)
{
    QHash<qint32, qsizetype> owners;
    for (qsizetype i = 0; i < scenario.applications.size() && m_json.ok(); ++i) {
        const qint32 pid = scenario.applications.at(i).pid;
        const auto owner = owners.constFind(pid);
        if (owner != owners.constEnd())
            m_json.fail(SimJsonReader::indexed(u"apps"_s, i) + u".pid"_s,
                        u"%1 is already the pid of apps[%2]"_s.arg(pid).arg(*owner));
        owners.insert(pid, i);
    }
    const auto owner = owners.constFind(scenario.ownPid);
    if (m_json.ok() && owner != owners.constEnd())
        m_json.fail(u"tuckaway.pid"_s,
                    u"%1 is already the pid of apps[%2]"_s.arg(scenario.ownPid).arg(*owner));
}

// The bar lays items out side by side, so their widths add up; bounded, the sum stays a
// finite place and the picture of the bar a reasonable size.
void SimScenarioReader::addToMenuBar(double width, const QString& place)
{
    m_menuBarWidth += width;
    if (m_menuBarWidth > SimScenarioLoader::longestMenuBar)
        m_json.fail(SimJsonReader::member(place, u"width"_s),
                    u"the menu-bar items add up to more than %1 points"_s.arg(
                        SimScenarioLoader::longestMenuBar, 0, 'f', 0));
}

// Applications and their elements together; a bound on the work a file can cause.
bool SimScenarioReader::countElement(const QString& place)
{
    if (++m_elements <= SimScenarioLoader::maximumElements)
        return true;
    m_json.fail(place,
                u"more than %1 elements in the file"_s.arg(SimScenarioLoader::maximumElements));
    return false;
}

} // namespace tk
