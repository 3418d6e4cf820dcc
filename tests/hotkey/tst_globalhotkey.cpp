#include "hotkey/GlobalHotKey.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimScenario.h"

#include <QTest>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

using Combination = SimHotKeyService::Combination;

const QString disabledLine = QStringLiteral("Atajo desactivado.");
const QString invalidLine = QStringLiteral("Combinación no válida.");
const QString registeredLine =
    QStringLiteral("Atajo registrado. No se solicita monitorización de entrada.");
const QString takenLine = QStringLiteral("No se pudo registrar el atajo (-9878). Puede estar "
                                         "ocupado; cambia la combinación o desactívalo.");

constexpr Combination controlOptionCommandM{46, 0x1900};
constexpr Combination controlShiftB{11, 0x1200};

// Another application's hold on a combination.
SimShortcut held(const QString& key, const QString& modifiers, const QString& holder,
                 bool exclusive = false, HotKeyService::Status registerStatus = 0)
{
    SimShortcut shortcut;
    shortcut.key = key;
    shortcut.modifiers = modifiers;
    if (!holder.isEmpty())
        shortcut.holder = holder;
    shortcut.exclusive = exclusive;
    shortcut.registerStatus = registerStatus;
    return shortcut;
}

HotKeySettings shortcut(const QString& key, const QString& modifiers,
                        const QString& action = QStringLiteral("toggle"))
{
    return HotKeySettings{true, key, modifiers, action};
}

} // namespace

class TestGlobalHotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void configureAnswersItsStatus_data();
    void configureAnswersItsStatus();
    void registeredOnceUntilChangedStoppedOrDestroyed();
    void pressesReachOnlyTheShortcutsAction();
    void combinationsOthersHold_data();
    void combinationsOthersHold();
    void theHostsKeyboardMeetsTheSameHolds();
};

void TestGlobalHotKey::configureAnswersItsStatus_data()
{
    QTest::addColumn<HotKeySettings>("settings");
    QTest::addColumn<int>("installStatus"); // what installing the press handler answers
    QTest::addColumn<QString>("line");
    const HotKeySettings invalidButOff{false, "N", "controlOption", "toggle"};
    const HotKeySettings valid = shortcut("Space", "controlShift", "showAll");
    QTest::newRow("valid") << valid << 0 << registeredLine;
    QTest::newRow("off before invalid") << invalidButOff << 0 << disabledLine;
    QTest::newRow("key") << shortcut("N", "controlOption") << 0 << invalidLine;
    QTest::newRow("modifiers") << shortcut("M", "commandShift") << 0 << invalidLine;
    QTest::newRow("action") << shortcut("M", "controlOption", "hide") << 0 << invalidLine;
    QTest::newRow("taken") << shortcut("Space", "controlOption") << 0 << takenLine;
    QTest::newRow("handler refused")
        << valid << -108 << QStringLiteral("No se pudo instalar el atajo (-108).");
}

// Whatever fails leaves no registration and no handler behind. Failed settings are forgotten,
// so that the same ones are tried again once the cause is gone; refused names are kept.
void TestGlobalHotKey::configureAnswersItsStatus()
{
    QFETCH(HotKeySettings, settings);
    QFETCH(int, installStatus);
    QFETCH(QString, line);
    SimHotKeyService service;
    service.setTakenShortcuts(
        {held(u"Space"_s, u"controlOption"_s, {}, false, HotKeyService::hotKeyExists)});
    service.setInstallStatus(installStatus);
    GlobalHotKey hotKey(service);

    QCOMPARE(hotKey.configure(settings, {}), line);
    const bool registered = line == registeredLine;
    QCOMPARE(service.handlerCount(), registered ? 1 : 0);
    const auto registrations = service.registrations();
    QCOMPARE(registrations.size(), registered ? 1 : 0);
    if (registered)
        QCOMPARE(registrations[0].combination, (Combination{49, 0x1200})); // the Mac's codes
    if (line == invalidLine || line == disabledLine)
        QCOMPARE(service.operationCount(), 0);

    const bool failed = line.startsWith(u"No se pudo");
    QCOMPARE(hotKey.settings(), failed ? std::nullopt : std::optional(settings));
    service.setTakenShortcuts({});
    service.setInstallStatus(HotKeyService::noError);
    QCOMPARE(hotKey.configure(settings, {}), failed ? registeredLine : line);
}

void TestGlobalHotKey::registeredOnceUntilChangedStoppedOrDestroyed()
{
    SimHotKeyService service;
    const HotKeySettings settings = shortcut("M", "controlOptionCommand");
    {
        GlobalHotKey hotKey(service);
        QCOMPARE(hotKey.status(), disabledLine);
        int presses = 0;
        hotKey.configure(settings, [&] { ++presses; });
        const int operations = service.operationCount();
        QCOMPARE(hotKey.configure(settings, [&] { presses += 10; }), registeredLine);
        QCOMPARE(service.operationCount(), operations);
        QVERIFY(service.press(controlOptionCommandM));
        QCOMPARE(presses, 10); // the newest action runs

        // Only the action differs: still a new registration, in place of the old one.
        hotKey.configure(shortcut("M", "controlOptionCommand", "showAll"), {});
        QCOMPARE(service.operationCount(), operations + 4);
        QCOMPARE(service.registrations().size(), 1);
        QCOMPARE(hotKey.configure(std::nullopt, {}), disabledLine);
        QVERIFY(service.registrations().isEmpty());
        QCOMPARE(service.handlerCount(), 0);

        // Stopped: the settings go, the status line stays.
        hotKey.configure(settings, {});
        hotKey.stop();
        QVERIFY(service.registrations().isEmpty());
        QCOMPARE(hotKey.status(), registeredLine);
        QCOMPARE(hotKey.configure(settings, {}), registeredLine);
        // A second instance cannot take what the first one holds.
        QCOMPARE(GlobalHotKey(service).configure(settings, {}), takenLine);
    }
    QVERIFY(service.registrations().isEmpty());
    QCOMPARE(service.handlerCount(), 0);
}

void TestGlobalHotKey::pressesReachOnlyTheShortcutsAction()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int presses = 0;
    // The action may reconfigure the shortcut while it runs.
    hotKey.configure(shortcut("M", "controlOptionCommand"), [&] {
        ++presses;
        hotKey.configure(shortcut("B", "controlShift"), [&] { presses += 10; });
    });
    QVERIFY(service.press(controlOptionCommandM));
    QCOMPARE(presses, 1);
    QVERIFY(service.press(controlShiftB));
    QCOMPARE(presses, 11);

    // Other hot keys of the application reach the shortcut's handler, which passes them on.
    QCOMPARE(service.registerHotKey(46, 0x1900, {0x41424344, 1}).status, HotKeyService::noError);
    QCOMPARE(service.registerHotKey(49, 0x1200, {0x544B5759, 2}).status, HotKeyService::noError);
    QVERIFY(!service.press(controlOptionCommandM));
    QVERIFY(!service.press(Combination{49, 0x1200}));
    QCOMPARE(presses, 11);
}

void TestGlobalHotKey::combinationsOthersHold_data()
{
    QTest::addColumn<QList<SimShortcut>>("holders"); // in the order they registered
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("presses"); // what a press of Control-Option-Space does here
    QTest::addColumn<QList<int>>("reached"); // the holders a press reaches, by place
    const QString space = u"Space"_s;
    const QString controlOption = u"controlOption"_s;
    QTest::newRow("shared")
        << QList{held(space, controlOption, u"Clipjar"_s), held(space, controlOption, {})}
        << registeredLine << 1 << QList{0, 1};
    QTest::newRow("held exclusively")
        << QList{held(space, controlOption, u"Clipjar"_s, true), held(space, controlOption, {})}
        << registeredLine << 0 << QList{0};
    QTest::newRow("another combination held")
        << QList{held(u"B"_s, u"controlShift"_s, u"Clipjar"_s, true)} << registeredLine << 1
        << QList<int>();
    QTest::newRow("refused as the scenario says")
        << QList{held(space, controlOption, {}, false, HotKeyService::hotKeyExists)} << takenLine
        << 0 << QList{0};
    QTest::newRow("refused with another status")
        << QList{held(space, controlOption, u"Clipjar"_s, true, -50)}
        << u"No se pudo registrar el atajo (-50). Puede estar ocupado; cambia la combinación o "
           u"desactívalo."_s
        << 0 << QList{0};
}

// Registered without options, as Tuckaway registers, a combination is shared with the other
// applications that hold it, and an exclusive holder keeps every press to itself.
void TestGlobalHotKey::combinationsOthersHold()
{
    QFETCH(QList<SimShortcut>, holders);
    QFETCH(QString, line);
    QFETCH(int, presses);
    QFETCH(QList<int>, reached);
    SimHotKeyService service;
    service.setTakenShortcuts(holders);
    GlobalHotKey hotKey(service);
    int pressed = 0;
    QCOMPARE(hotKey.configure(shortcut(u"Space"_s, u"controlOption"_s), [&] { ++pressed; }), line);
    const Combination controlOptionSpace{49, 0x1800};
    QCOMPARE(service.press(controlOptionSpace), presses == 1);
    QCOMPARE(pressed, presses);
    QList<int> places;
    for (const SimHotKeyService::Holder& holder : service.holdersReached(controlOptionSpace))
        places << holder.place;
    QCOMPARE(places, reached);
}

// With a display, the person's own keyboard comes through the host's service: it is asked to
// grab only what the simulated system lets this application register, and its presses meet
// the other applications' holds as the simulated ones do.
void TestGlobalHotKey::theHostsKeyboardMeetsTheSameHolds()
{
    auto ownedHost = std::make_unique<SimHotKeyService>();
    SimHotKeyService& host = *ownedHost;
    host.setTakenShortcuts({held(u"M"_s, u"controlOptionCommand"_s, {}, false, -50)});
    SimHotKeyService service(std::move(ownedHost));
    service.setTakenShortcuts({held(u"B"_s, u"controlShift"_s, {}, false, -9878),
                               held(u"Space"_s, u"controlOption"_s, u"Clipjar"_s, true)});
    GlobalHotKey hotKey(service);
    int pressed = 0;
    const auto press = [&] { ++pressed; };
    QCOMPARE(hotKey.configure(shortcut(u"B"_s, u"controlShift"_s), press), takenLine);
    QVERIFY(host.registrations().isEmpty());
    QVERIFY(hotKey.configure(shortcut(u"M"_s, u"controlOptionCommand"_s), press).contains(u"(-50)"));
    QVERIFY(service.registrations().isEmpty());

    QCOMPARE(hotKey.configure(shortcut(u"Space"_s, u"controlOption"_s), press), registeredLine);
    const Combination controlOptionSpace{49, 0x1800};
    QCOMPARE(host.registrations().size(), 1);
    QVERIFY(!host.press(controlOptionSpace)); // Clipjar holds it exclusively
    service.setTakenShortcuts({});
    QVERIFY(host.press(controlOptionSpace));
    QCOMPARE(pressed, 1);
    QCOMPARE(hotKey.configure(HotKeySettings{false, u"Space"_s, u"controlOption"_s, u"toggle"_s},
                              press),
             disabledLine);
    QVERIFY(host.registrations().isEmpty());
}

QTEST_GUILESS_MAIN(TestGlobalHotKey)
#include "tst_globalhotkey.moc"
