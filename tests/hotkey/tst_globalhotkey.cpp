#include "hotkey/GlobalHotKey.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QTest>

using namespace tk;

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

HotKeySettings shortcut(const QString& key, const QString& modifiers,
                        const QString& action = QStringLiteral("toggle"))
{
    HotKeySettings settings;
    settings.key = key;
    settings.modifiers = modifiers;
    settings.action = action;
    return settings;
}

} // namespace

class TestGlobalHotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registersTheMacCodesAndIdentifier_data();
    void registersTheMacCodesAndIdentifier();
    void namesOutsideTheAllowedOnesAreInvalid_data();
    void namesOutsideTheAllowedOnesAreInvalid();
    void absentOrDisabledShortcutTouchesNothing();
    void sameSettingsRegisterOnceAndKeepTheNewestAction();
    void changedSettingsReplaceThePreviousRegistration();
    void takenCombinationFailsAndIsTriedAgain();
    void shortcutsTakenInTheScenarioAreRefused();
    void installFailureReportsItsCodeAndRegistersNothing();
    void pressesOfOtherHotKeysAreNotHandled();
    void actionMayReconfigureWhileItRuns();
    void pressPassedOnByAHandlerThatUnregistersIt();
    void stopForgetsSettingsButKeepsStatusAndAction();
};

void TestGlobalHotKey::registersTheMacCodesAndIdentifier_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("modifiers");
    QTest::addColumn<quint32>("keyCode");
    QTest::addColumn<quint32>("mask");
    QTest::newRow("M, control option command")
        << "M"
        << "controlOptionCommand" << quint32(46) << quint32(0x1900);
    QTest::newRow("B, control option") << "B"
                                       << "controlOption" << quint32(11) << quint32(0x1800);
    QTest::newRow("Space, control shift") << "Space"
                                          << "controlShift" << quint32(49) << quint32(0x1200);
}

void TestGlobalHotKey::registersTheMacCodesAndIdentifier()
{
    QFETCH(QString, key);
    QFETCH(QString, modifiers);
    QFETCH(quint32, keyCode);
    QFETCH(quint32, mask);
    SimHotKeyService service;
    GlobalHotKey hotKey(service);

    QCOMPARE(hotKey.configure(shortcut(key, modifiers), {}), registeredLine);
    const auto registrations = service.registrations();
    QCOMPARE(registrations.size(), 1);
    QCOMPARE(registrations[0].combination.keyCode, keyCode);
    QCOMPARE(registrations[0].combination.modifiers, mask);
    QCOMPARE(registrations[0].id.signature, quint32(0x544B5759)); // "TKWY"
    QCOMPARE(registrations[0].id.number, quint32(1));
    QCOMPARE(service.handlerCount(), 1);
}

void TestGlobalHotKey::namesOutsideTheAllowedOnesAreInvalid_data()
{
    QTest::addColumn<HotKeySettings>("settings");
    QTest::newRow("key") << shortcut("N", "controlOption");
    QTest::newRow("key in lower case") << shortcut("m", "controlOption");
    QTest::newRow("modifiers") << shortcut("M", "commandShift");
    QTest::newRow("action") << shortcut("M", "controlOption", "hide");
}

void TestGlobalHotKey::namesOutsideTheAllowedOnesAreInvalid()
{
    QFETCH(HotKeySettings, settings);
    SimHotKeyService service;
    GlobalHotKey hotKey(service);

    QCOMPARE(hotKey.configure(settings, {}), invalidLine);
    QCOMPARE(service.operationCount(), 0);
    QCOMPARE(hotKey.settings(), std::optional(settings));

    settings.enabled = false;
    QCOMPARE(hotKey.configure(settings, {}), disabledLine);
}

void TestGlobalHotKey::absentOrDisabledShortcutTouchesNothing()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    QCOMPARE(hotKey.status(), disabledLine);
    QCOMPARE(hotKey.configure(std::nullopt, {}), disabledLine);
    QCOMPARE(service.operationCount(), 0);

    // Turned off: the registration and its handler go.
    HotKeySettings settings = shortcut("M", "controlOptionCommand");
    QCOMPARE(hotKey.configure(settings, {}), registeredLine);
    settings.enabled = false;
    QCOMPARE(hotKey.configure(settings, {}), disabledLine);
    QVERIFY(service.registrations().isEmpty());
    QCOMPARE(service.handlerCount(), 0);
    QVERIFY(!hotKey.isRegistered());
    QVERIFY(!service.press(controlOptionCommandM));
}

void TestGlobalHotKey::sameSettingsRegisterOnceAndKeepTheNewestAction()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int first = 0;
    int second = 0;
    const HotKeySettings settings = shortcut("M", "controlOptionCommand");

    hotKey.configure(settings, [&] { ++first; });
    const int operations = service.operationCount();
    QCOMPARE(hotKey.configure(settings, [&] { ++second; }), registeredLine);
    QCOMPARE(service.operationCount(), operations);

    QVERIFY(service.press(controlOptionCommandM));
    QCOMPARE(first, 0);
    QCOMPARE(second, 1);
}

void TestGlobalHotKey::changedSettingsReplaceThePreviousRegistration()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int presses = 0;
    hotKey.configure(shortcut("M", "controlOptionCommand"), [&] { ++presses; });

    // Only the action differs: still a new registration.
    const int operations = service.operationCount();
    hotKey.configure(shortcut("M", "controlOptionCommand", "showAll"), [&] { ++presses; });
    QCOMPARE(service.operationCount(), operations + 4);
    QCOMPARE(service.registrations().size(), 1);
    QCOMPARE(service.handlerCount(), 1);

    hotKey.configure(shortcut("B", "controlShift"), [&] { ++presses; });
    QVERIFY(!service.press(controlOptionCommandM));
    QVERIFY(service.press(controlShiftB));
    QCOMPARE(presses, 1);
}

void TestGlobalHotKey::takenCombinationFailsAndIsTriedAgain()
{
    SimHotKeyService service;
    service.setTakenShortcuts({SimShortcut{"M", "controlOptionCommand"}});
    GlobalHotKey hotKey(service);
    const HotKeySettings settings = shortcut("M", "controlOptionCommand");

    QCOMPARE(hotKey.configure(settings, {}), takenLine);
    QVERIFY(!hotKey.isRegistered());
    QVERIFY(!hotKey.settings());
    QVERIFY(service.registrations().isEmpty());
    QCOMPARE(service.handlerCount(), 0);

    // The failed settings were forgotten, so the same ones are tried again.
    service.setTakenShortcuts({});
    QCOMPARE(hotKey.configure(settings, {}), registeredLine);

    // A second instance cannot take what the first one holds.
    GlobalHotKey other(service);
    QCOMPARE(other.configure(settings, {}), takenLine);
}

void TestGlobalHotKey::shortcutsTakenInTheScenarioAreRefused()
{
    SimScenario scenario;
    scenario.screens = {SimScreen{Rect{0, 0, 1440, 900}, Rect{0, 0, 1440, 876}}};
    scenario.takenShortcuts = {SimShortcut{"Space", "controlOption"}};
    const auto platform = SimPlatform::forTests(scenario);
    GlobalHotKey hotKey(platform->hotKeys());

    QCOMPARE(hotKey.configure(shortcut("Space", "controlOption"), {}), takenLine);
    int presses = 0;
    QCOMPARE(hotKey.configure(shortcut("Space", "controlShift"), [&] { ++presses; }),
             registeredLine);
    QVERIFY(platform->simulatedHotKeys()->press(Combination{49, 0x1200}));
    QCOMPARE(presses, 1);
}

void TestGlobalHotKey::installFailureReportsItsCodeAndRegistersNothing()
{
    SimHotKeyService service;
    service.setInstallStatus(-108);
    GlobalHotKey hotKey(service);
    const HotKeySettings settings = shortcut("Space", "controlOption");

    QCOMPARE(hotKey.configure(settings, {}),
             QStringLiteral("No se pudo instalar el atajo (-108)."));
    QCOMPARE(service.operationCount(), 1);
    QCOMPARE(service.handlerCount(), 0);
    QVERIFY(!hotKey.settings());

    service.setInstallStatus(HotKeyService::noError);
    QCOMPARE(hotKey.configure(settings, {}), registeredLine);
}

void TestGlobalHotKey::pressesOfOtherHotKeysAreNotHandled()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int presses = 0;
    hotKey.configure(shortcut("M", "controlOptionCommand"), [&] { ++presses; });

    // Another part of the same application registers a hot key of its own: its presses reach
    // the shortcut's handler, which passes them on.
    const auto foreign = service.registerHotKey(11, 0x1200, {0x41424344, 1});
    QCOMPARE(foreign.status, HotKeyService::noError);
    const auto sameSignature = service.registerHotKey(49, 0x1200, {0x544B5759, 2});
    QCOMPARE(sameSignature.status, HotKeyService::noError);
    QVERIFY(!service.press(controlShiftB));
    QVERIFY(!service.press(Combination{49, 0x1200}));
    QCOMPARE(presses, 0);

    QVERIFY(service.press(controlOptionCommandM));
    QCOMPARE(presses, 1);
}

void TestGlobalHotKey::actionMayReconfigureWhileItRuns()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int presses = 0;
    hotKey.configure(shortcut("M", "controlOptionCommand"), [&] {
        ++presses;
        hotKey.configure(shortcut("B", "controlShift"), [&] { presses += 10; });
    });

    QVERIFY(service.press(controlOptionCommandM));
    QCOMPARE(presses, 1);
    QVERIFY(service.press(controlShiftB));
    QCOMPARE(presses, 11);
}

void TestGlobalHotKey::pressPassedOnByAHandlerThatUnregistersIt()
{
    SimHotKeyService service;
    GlobalHotKey hotKey(service);
    int presses = 0;
    hotKey.configure(shortcut("M", "controlOptionCommand"), [&] { ++presses; });

    // A newer handler drops the pressed hot key before passing the press on.
    const auto key = service.registerHotKey(11, 0x1200, GlobalHotKey::identifier);
    service.installPressHandler([&](const std::optional<HotKeyService::HotKeyId>&) {
        service.unregisterHotKey(key.ref);
        return HotKeyService::eventNotHandled;
    });
    QVERIFY(service.press(controlShiftB));
    QCOMPARE(presses, 1);
    QVERIFY(!service.press(controlShiftB));
}

void TestGlobalHotKey::stopForgetsSettingsButKeepsStatusAndAction()
{
    SimHotKeyService service;
    int presses = 0;
    const HotKeySettings settings = shortcut("M", "controlOptionCommand");
    {
        GlobalHotKey hotKey(service);
        hotKey.configure(settings, [&] { ++presses; });
        hotKey.stop();
        QVERIFY(service.registrations().isEmpty());
        QCOMPARE(service.handlerCount(), 0);
        QVERIFY(!hotKey.settings());
        QCOMPARE(hotKey.status(), registeredLine);

        QCOMPARE(hotKey.configure(settings, [&] { ++presses; }), registeredLine);
        QVERIFY(service.press(controlOptionCommandM));
        QCOMPARE(presses, 1);
    }
    // Destroyed while registered: nothing of it stays with the service.
    QVERIFY(service.registrations().isEmpty());
    QCOMPARE(service.handlerCount(), 0);
}

QTEST_GUILESS_MAIN(TestGlobalHotKey)
#include "tst_globalhotkey.moc"
