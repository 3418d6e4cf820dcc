// The parts of a scenario file that say how the system around Tuckaway behaves: the screens
// it can change to, the shortcuts other applications hold, the login item as the person
// left it in System Settings, and whether this copy runs from an application bundle.
#include "SimScenarioReader.h"

#include <QRegularExpression>
#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestHolderName = 255;        // characters
constexpr qsizetype longestBundleIdentifier = 2048; // characters, as in the settings record

} // namespace

// Each by a name a script can give as one word; the empty list stands for a moment without
// screens.
QList<SimScreenSet> SimScenarioReader::readScreenSets(const QJsonObject& root)
{
    static const QRegularExpression name(u"^[a-z][a-z0-9-]{0,31}$"_s);
    QList<SimScreenSet> sets;
    if (!root.contains("screenSets"_L1))
        return sets;
    const auto object = m_json.object(root.value("screenSets"_L1), u"screenSets"_s);
    if (!object)
        return sets;
    if (object->size() > SimScenarioLoader::maximumScreenSets)
        m_json.fail(u"screenSets"_s, u"must hold at most %1 lists of screens"_s.arg(
                                         SimScenarioLoader::maximumScreenSets));
    for (auto it = object->begin(); it != object->end() && m_json.ok(); ++it) {
        const QString place = SimJsonReader::member(u"screenSets"_s, it.key());
        if (!name.match(it.key()).hasMatch())
            m_json.fail(place, u"a name is a lowercase letter and at most 31 more lowercase "
                               "letters, digits or hyphens"_s);
        else if (SimScenarioLoader::reservedScreenSetNames.contains(it.key()))
            m_json.fail(place, u"is a name kept for the system's own screen events"_s);
        if (!it->isArray())
            m_json.fail(place, u"must be a list"_s);
        sets.append({it.key(), readScreenList(it->toArray(), place)});
    }
    return sets;
}

QList<SimScreen> SimScenarioReader::readScreenList(const QJsonArray& screens, const QString& place)
{
    if (screens.size() > SimScenarioLoader::maximumScreens)
        m_json.fail(place,
                    u"must hold at most %1 screens"_s.arg(SimScenarioLoader::maximumScreens));
    QList<SimScreen> result;
    for (qsizetype i = 0; i < screens.size() && m_json.ok(); ++i)
        result.append(readScreen(screens.at(i), SimJsonReader::indexed(place, i)));
    return result;
}

void SimScenarioReader::readHolding(const QJsonObject& object, const QString& place,
                                    SimShortcut& shortcut)
{
    shortcut.holder = m_json.optionalString(object, "holder"_L1, place);
    if (shortcut.holder && shortcut.holder->size() > longestHolderName)
        m_json.fail(SimJsonReader::member(place, u"holder"_s),
                    u"must be at most %1 characters"_s.arg(longestHolderName));
    shortcut.exclusive = m_json.boolean(object, "exclusive"_L1, place, false);
    shortcut.registerStatus =
        qint32(m_json
                   .integer(object, "registerStatus"_L1, place, std::numeric_limits<qint32>::min(),
                            std::numeric_limits<qint32>::max())
                   .value_or(0));
}

// The list is in the order the holders registered. The system refuses an exclusive
// registration while anyone else holds the combination, so no file can describe one.
void SimScenarioReader::checkExclusive(const QList<SimShortcut>& earlier,
                                       const SimShortcut& shortcut, const QString& place)
{
    if (!shortcut.exclusive)
        return;
    for (const SimShortcut& other : earlier) {
        if (other.key == shortcut.key && other.modifiers == shortcut.modifiers) {
            m_json.fail(
                SimJsonReader::member(place, u"exclusive"_s),
                u"%1 %2 is already held, and the system refuses an exclusive "
                "registration of a held combination"_s.arg(shortcut.modifiers, shortcut.key));
            return;
        }
    }
}

// How the login item stands at launch, and whether the person switched Tuckaway off in
// System Settings, which leaves nothing enabled.
void SimScenarioReader::readLoginSwitch(const QJsonObject& object, const QString& place,
                                        SimLoginItems::Behaviour& behaviour)
{
    using Status = LoginItemService::Status;
    static const QStringList statuses{u"notRegistered"_s, u"requiresApproval"_s, u"enabled"_s};
    behaviour.switchedOff = m_json.boolean(object, "switchedOff"_L1, place, false);
    const QString status = m_json.choice(object, "status"_L1, place, statuses, statuses.first());
    behaviour.registration = status == u"enabled"_s            ? Status::Enabled
                             : status == u"requiresApproval"_s ? Status::RequiresApproval
                                                               : Status::NotRegistered;
    if (behaviour.switchedOff && behaviour.registration == Status::Enabled)
        m_json.fail(SimJsonReader::member(place, u"status"_s),
                    u"cannot be enabled while switched off in System Settings"_s);
}

// Left out, this copy runs from its bundle and has the built-in identifier; null, it runs
// outside any bundle and has none.
void SimScenarioReader::readOwnBundle(const QJsonObject& object, const QString& place,
                                      SimScenario& scenario)
{
    if (!object.contains("bundle"_L1))
        return;
    scenario.ownBundleIdentifier = m_json.optionalString(object, "bundle"_L1, place);
    if (scenario.ownBundleIdentifier &&
        scenario.ownBundleIdentifier->size() > longestBundleIdentifier)
        m_json.fail(SimJsonReader::member(place, u"bundle"_s),
                    u"must be at most %1 characters"_s.arg(longestBundleIdentifier));
}

} // namespace tk
