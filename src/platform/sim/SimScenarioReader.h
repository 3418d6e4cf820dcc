#pragma once

#include "platform/sim/SimJsonReader.h"
#include "platform/sim/SimScenario.h"

#include <optional>
#include <utility>

class QJsonDocument;

namespace tk {

// Turns a scenario file's JSON into a scenario, as `SimScenarioLoader` describes the file;
// counts elements and adds up the menu bar across the whole file.
class SimScenarioReader {
public:
    explicit SimScenarioReader(const QString& fileName) : m_json(fileName) {}

    Result<SimScenario> read(const QJsonDocument& document);

private:
    QList<SimScreen> readScreens(const QJsonObject& root, const QList<SimScreen>& fallback);
    SimScreen readScreen(const QJsonValue& value, const QString& place);
    QSizeF readNotch(const QJsonValue& value, const QString& place, const Rect& screen);
    SimMenu readMenu(const QJsonValue& value, const QString& place);
    void readFrontmost(const QJsonObject& root, SimScenario& scenario);
    Rect readRect(const QJsonValue& value, const QString& place, SimJsonReader::Range sizeRange);
    SimApplication readApplication(const QJsonValue& value, const QString& place);
    SimElement readElement(const QJsonValue& value, const QString& place, int depth);
    void readGeometry(const QJsonObject& object, const QString& place, SimElement& element);
    struct PairKeys {
        QLatin1StringView member, first, second;
    };
    std::optional<std::pair<double, double>> readPair(const QJsonObject& object,
                                                      const PairKeys& keys, const QString& place,
                                                      SimJsonReader::Range range,
                                                      SimElement::Source& source);
    SimFrameworkBehaviour readFramework(const QJsonObject& root);
    QList<SimScreenSet> readScreenSets(const QJsonObject& root);
    QList<SimScreen> readScreenList(const QJsonArray& screens, const QString& place);
    QList<SimShortcut> readShortcuts(const QJsonObject& root);
    void readHolding(const QJsonObject& object, const QString& place, SimShortcut& shortcut);
    void checkExclusive(const QList<SimShortcut>& earlier, const SimShortcut& shortcut,
                        const QString& place);
    SimLoginItems::Behaviour readLoginItem(const QJsonObject& root);
    void readLoginSwitch(const QJsonObject& object, const QString& place,
                         SimLoginItems::Behaviour& behaviour);
    void readOwnProcess(const QJsonObject& root, SimScenario& scenario);
    std::optional<Rect> readOwnFrame(const QJsonObject& object, const QList<SimScreen>& screens);
    void readRemembered(const QJsonObject& root, SimScenario& scenario);
    std::optional<SimBarKey> readBarKey(const QJsonValue& value, const QString& place);
    void readOwnBundle(const QJsonObject& object, const QString& place, SimScenario& scenario);
    void checkUniquePids(const SimScenario& scenario);
    bool countElement(const QString& place);
    void addToMenuBar(double width, const QString& place);

    SimJsonReader m_json;
    int m_elements = 0;
    double m_menuBarWidth = 0.0; // every application's items together
};

} // namespace tk
