// The parts of a scenario file that say how the system's services around Tuckaway answer:
// shortcuts other applications hold.
#include "SimScenarioReader.h"

#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestHolderName = 255; // characters

} // namespace

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

} // namespace tk
