#include "hotkey/GlobalHotKey.h"
#include "inspection/Workspace.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace tk;

using namespace Qt::StringLiterals;

class TestSimScenario : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesBadContent_data();
    void refusesBadContent();
    void refusesFilesItCannotUse_data();
    void refusesFilesItCannotUse();
    void readsEveryPartOfTheFormat();
};

void TestSimScenario::refusesBadContent_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const QByteArray& json, const QString& message) {
        QTest::newRow(name) << json << message;
    };
    row("not JSON", "{\n  \"apps\": [\n",
        u"line 3, column 1: not valid JSON (unterminated array)"_s);
    row("not an object", "[]", u"must hold a JSON object"_s);
    row("wrong type", R"({"trusted": "yes"})", u"trusted: must be true or false"_s);
    row("negative frame width",
        R"({"apps": [{"pid": 1}, {"pid": 2}, {"pid": 3}, )"
        R"({"pid": 4, "items": [{"frame": {"x": 0, "y": 0, "width": -3, "height": 24}}]}]})",
        u"apps[3].items[0].frame.width: must not be negative"_s);
    row("duplicate pid", R"({"apps": [{"pid": 7}, {"pid": 8}, {"pid": 7}]})",
        u"apps[2].pid: 7 is already the pid of apps[0]"_s);
    row("fractional pid", R"({"apps": [{"pid": 1.5}]})",
        u"apps[0].pid: must be a whole number from 1 to 2147483647"_s);
    row("missing pid", R"({"apps": [{"name": "x"}]})", u"apps[0].pid: is required"_s);
    row("request cost past an hour", R"({"requestCost": 3601})",
        u"requestCost: must be at most 3600"_s);
    row("request cost as text", R"({"requestCost": "0.2ms"})",
        u"requestCost: must be a number"_s);
    row("misspelt key", R"({"apps": [{"pid": 1, "items": [{"titel": "x"}]}]})",
        u"apps[0].items[0].titel: unknown key"_s);
    row("frame with position",
        R"({"apps": [{"pid": 1, "items": [{"frame": null, "position": null}]}]})",
        u"apps[0].items[0].frame: cannot be given together with position or size"_s);
    row("items without bar", R"({"apps": [{"pid": 1, "extrasMenuBar": false, "items": [{}]}]})",
        u"apps[0].items: must be empty for an application without extras menu bar"_s);
    row("flat screen", R"({"screens": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 0}}]})",
        u"screens[0].frame.height: must be greater than 0"_s);
    row("notch as wide as its screen",
        R"({"screens": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 600}, )"
        R"("notch": {"width": 800, "height": 30}}]})",
        u"screens[0].notch.width: must be narrower than its screen"_s);
    row("notch without height",
        R"({"screenSets": {"laptop": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 600}, )"
        R"("notch": {"width": 180}}]}})",
        u"screenSets.laptop[0].notch.height: is required"_s);
    row("menu with width and frame",
        R"({"apps": [{"pid": 1, "menus": [{"title": "File", "width": 40, )"
        R"("frame": {"x": 0, "y": 0, "width": 40, "height": 24}}]}]})",
        u"apps[0].menus[0].frame: cannot be given together with width"_s);
    row("menu that is a number", R"({"apps": [{"pid": 1, "menus": [3]}]})",
        u"apps[0].menus[0]: must be an object"_s);
    row("frontmost not running", R"({"apps": [{"pid": 1}], "frontmost": 2})",
        u"frontmost: 2 is the pid of no application of apps"_s);
    row("shortcut key", R"({"takenShortcuts": [{"key": "Q", "modifiers": "controlShift"}]})",
        u"takenShortcuts[0].key: must be one of M, B, Space"_s);
    row("fractional press result", R"({"apps": [{"pid": 1, "items": [{"pressResult": 0.5}]}]})",
        u"apps[0].items[0].pressResult: must be a whole number from -2147483648 to 2147483647"_s);
    row("press a day late", R"({"apps": [{"pid": 1, "items": [{"pressDelay": 86400}]}]})",
        u"apps[0].items[0].pressDelay: must be at most 3600"_s);
    row("screen list kept for the system", R"({"screenSets": {"none": []}})",
        u"screenSets.none: is a name kept for the system's own screen events"_s);
    row("screen list's name", R"({"screenSets": {"Docked 2": []}})",
        u"screenSets.Docked 2: a name is a lowercase letter and at most 31 more lowercase "
        u"letters, digits or hyphens"_s);
    row("screen list not a list", R"({"screenSets": {"docked": {}}})",
        u"screenSets.docked: must be a list"_s);
    row("exclusive over a holder",
        R"({"takenShortcuts": [{"key": "B", "modifiers": "controlShift"}, {"key": "M", )"
        R"("modifiers": "controlShift"}, {"key": "B", "modifiers": "controlShift", "exclusive": true}]})",
        u"takenShortcuts[2].exclusive: controlShift B is already held, and the system refuses an "
        u"exclusive registration of a held combination"_s);
    row("holder without a name",
        R"({"takenShortcuts": [{"key": "B", "modifiers": "controlShift", "holder": 7}]})",
        u"takenShortcuts[0].holder: must be a string or null"_s);
    row("holder's long name",
        R"({"takenShortcuts": [{"key": "B", "modifiers": "controlShift", "holder": ")" +
            QByteArray(256, 'x') + R"("}]})",
        u"takenShortcuts[0].holder: must be at most 255 characters"_s);
    row("login item status", R"({"loginItem": {"status": "approved"}})",
        u"loginItem.status: must be one of notRegistered, requiresApproval, enabled"_s);
    row("login item enabled though switched off",
        R"({"loginItem": {"status": "enabled", "switchedOff": true}})",
        u"loginItem.status: cannot be enabled while switched off in System Settings"_s);
    row("Tuckaway's long bundle", R"({"tuckaway": {"bundle": ")" + QByteArray(2049, 'a') + "\"}}",
        u"tuckaway.bundle: must be at most 2048 characters"_s);
    row("Tuckaway's pid taken", R"({"apps": [{"pid": 5}], "tuckaway": {"pid": 5}})",
        u"tuckaway.pid: 5 is already the pid of apps[0]"_s);
    row("Tuckaway's frame and place",
        R"({"tuckaway": {"place": 0, "frame": {"x": 900, "y": 0, "width": 30, "height": 24}}})",
        u"tuckaway.frame: cannot be given together with place"_s);
    row("Tuckaway's frame without extent",
        R"({"tuckaway": {"frame": {"x": 900, "y": 0, "width": 0, "height": 24}}})",
        u"tuckaway.frame.width: must be greater than 0"_s);
    row("Tuckaway's frame just off the only screen's right edge",
        R"({"tuckaway": {"frame": {"x": 1512, "y": 0, "width": 30, "height": 24}}})",
        u"tuckaway.frame: lies outside every screen"_s);
    row("Tuckaway's frame just above the primary screen",
        R"({"tuckaway": {"frame": {"x": 900, "y": -24, "width": 30, "height": 24}}})",
        u"tuckaway.frame: lies outside every screen"_s);
    row("Tuckaway's frame and its remembered place",
        R"({"tuckaway": {"frame": {"x": 900, "y": 0, "width": 30, "height": 24}}, )"
        R"("remembered": [{"autosaveName": "Tuckaway.main"}]})",
        u"tuckaway.frame: cannot be given when remembered holds Tuckaway.main"_s);
    row("repeated key, escaped", R"({"trusted": true, "tru\u0073ted": false})",
        u"trusted: appears more than once"_s);
    row("screen too wide",
        R"({"screens": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 600}},)"
        R"({"frame": {"x": 800, "y": 0, "width": 5000000, "height": 600}}]})",
        u"screens[1].frame.width: must be at most 16384"_s);
    row("item far away", R"({"apps": [{"pid": 1, "items": [{"position": {"x": 1e300, "y": 0}}]}]})",
        u"apps[0].items[0].position.x: must be from -1000000 to 1000000"_s);

    row("remembered twice",
        R"({"remembered": [{"bundle": "a"}, {"pid": 3}, {"bundle": "a", "item": 0}]})",
        u"remembered[2]: the same item as remembered[0]"_s);
    row("remembered, whose", R"({"remembered": [{"item": 1}]})",
        u"remembered[0]: must hold one of bundle, pid and autosaveName"_s);
    row("remembered, both", R"({"remembered": [{"bundle": "a", "pid": 3}]})",
        u"remembered[0]: must hold one of bundle, pid and autosaveName"_s);
    row("remembered, another autosave name", R"({"remembered": [{"autosaveName": "Other.main"}]})",
        u"remembered[0].autosaveName: must be one of Tuckaway.main"_s);
    row("remembered, Tuckaway's item",
        R"({"remembered": [{"autosaveName": "Tuckaway.main", "item": 0}]})",
        u"remembered[0].item: cannot be given with autosaveName"_s);
    row("remembered, item out of reach", R"({"remembered": [{"pid": 3, "item": 100000}]})",
        u"remembered[0].item: must be a whole number from 0 to 99999"_s);
    row("Tuckaway's place given twice",
        R"({"tuckaway": {"place": 0}, "remembered": [{"autosaveName": "Tuckaway.main"}]})",
        u"tuckaway.place: cannot be given when remembered holds Tuckaway.main"_s);

    // The bounds on the file as a whole.
    const QByteArray items = R"({"apps": [{"pid": 1, "items": [)";
    const QByteArray screen = R"({"frame": {"x": 0, "y": 0, "width": 9, "height": 9}},)";
    row("bar too wide", items + QByteArray(R"({"width": 16384},)").repeated(245) + "{}]}]}",
        u"apps[0].items[244].width: the menu-bar items add up to more than 4000000 points"_s);
    row("too many elements", items + QByteArray("{},").repeated(1000000) + "{}]}]}",
        u"apps[0].items[99999]: more than 100000 elements in the file"_s);
    row("too deep",
        items + QByteArray(R"({"children": [)").repeated(70) + QByteArray("]}").repeated(70) +
            "]}]}",
        u"apps[0].items[0]"_s + u".children[0]"_s.repeated(63) +
            u".children: nested deeper than 64 levels"_s);
    row("remembered past the elements",
        items + QByteArray("{},").repeated(99998) + R"({}]}], "remembered": [{"pid": 1}]})",
        u"remembered[0]: more than 100000 elements in the file"_s);
    row("17 lists of screens",
        R"({"screenSets": {"a": [], "b": [], "c": [], "d": [], "e": [], "f": [], "g": [], )"
        R"("h": [], "i": [], "j": [], "k": [], "l": [], "m": [], "n": [], "o": [], "p": [], )"
        R"("q": []}})",
        u"screenSets: must hold at most 16 lists of screens"_s);
    row("17 screens in a list",
        R"({"screenSets": {"wall": [)" + screen.repeated(16) + screen.chopped(1) + "]}}",
        u"screenSets.wall: must hold at most 16 screens"_s);
    row("65 taken shortcuts",
        R"({"takenShortcuts": [)" +
            QByteArray(R"({"key": "B", "modifiers": "controlShift"},)").repeated(64) +
            R"({"key": "B", "modifiers": "controlShift"}]})",
        u"takenShortcuts: must hold at most 64 shortcuts"_s);
    row("17 screens", R"({"screens": [)" + screen.repeated(16) + screen.chopped(1) + "]}",
        u"screens: must hold at most 16 screens"_s);
}

void TestSimScenario::refusesBadContent()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    const auto result = SimScenarioLoader::parse(json, u"scenario.json"_s);
    QVERIFY(!result);
    QCOMPARE(result.error().description, u"scenario.json: "_s + message);
}

// Folders and pipes are refused by FileAccess, whose own tests cover them.
void TestSimScenario::refusesFilesItCannotUse_data()
{
    QTest::addColumn<QString>("name"); // made by the test; empty: "--scenario" given ""
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << u"missing"_s << u"cannot be read (No such file or directory)"_s;
    QTest::newRow("empty name") << QString() << u"cannot be read (No such file or directory)"_s;
    QTest::newRow("too large") << u"large"_s << u"is larger than 16 MiB"_s;
}

void TestSimScenario::refusesFilesItCannotUse()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    QTemporaryDir dir;
    const QString path = name.isEmpty() ? QString() : dir.filePath(name);
    QFile file(path);
    if (name == u"large") {
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(SimScenarioLoader::maximumFileBytes + 1));
        file.close();
    }
    const auto result = SimScenarioLoader::load(path);
    QVERIFY(!result);
    QCOMPARE(result.error().description, (name.isEmpty() ? u"\"\""_s : path) + u": "_s + reason);
}

// Items are read back through the accessibility API in tst_simdesktop and tst_desktopscan.
void TestSimScenario::readsEveryPartOfTheFormat()
{
    const QByteArray json = R"json({
        "osVersion": "Version 26.1 (Build 26B50)", "trusted": false,
        "screens": [{"frame": {"x": 0, "y": 0, "width": 1000, "height": 700}}],
        "screenSets": {"lid-closed": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 500}}],
                       "blank": []},
        "tuckaway": {"pid": 99, "place": 1, "bundle": null},
        "framework": {"present": true, "answer": "exception", "exceptionName": "NSInvalidArgumentException",
                      "exceptionReason": "bad list", "delay": 0.5},
        "takenShortcuts": [{"key": "Space", "modifiers": "controlOption", "registerStatus": -9878},
                           {"key": "M", "modifiers": "controlShift", "holder": "Clipjar", "exclusive": true}],
        "loginItem": {"requiresApproval": true, "registerError": "Operation not permitted",
                      "status": "requiresApproval", "switchedOff": true},
        "apps": [{"pid": 5, "bundle": "com.example.a", "items": [
            {"title": null, "description": "D", "position": {"x": 3, "y": 4}}]}],
        "remembered": [{"bundle": "com.example.b", "item": 2}, {"pid": 7}, {"bundle": "com.example.a"}]
    })json";
    auto result = SimScenarioLoader::parse(json, u"scenario.json"_s);
    QVERIFY2(result, qPrintable(result ? QString() : result.error().description));
    const SimScenario& s = *result;
    QCOMPARE(s.operatingSystemVersion, u"Version 26.1 (Build 26B50)"_s);
    QVERIFY(!s.trusted);
    QCOMPARE(s.screens.first().visibleFrame, (Rect{0, 0, 1000, 676}));
    QCOMPARE(s.screenSets.size(), 2); // by name
    QCOMPARE(s.screenSets.at(0).name, u"blank"_s);
    QVERIFY(s.screenSets.at(0).screens.isEmpty());
    QCOMPARE(s.screenSets.at(1).screens.first().visibleFrame, (Rect{0, 0, 800, 476}));
    QCOMPARE(s.framework.answer, SimFrameworkBehaviour::Answer::Exception);
    QCOMPARE(s.framework.exceptionReason, u"bad list"_s);
    QCOMPARE(s.framework.delaySeconds, 0.5);
    QVERIFY(s.loginItem.requiresApproval);
    QCOMPARE(s.loginItem.registerFailure->description, u"Operation not permitted"_s);
    QCOMPARE(s.loginItem.registration, LoginItemService::Status::RequiresApproval);
    QVERIFY(s.loginItem.switchedOff);
    const SimElement& item = s.applications.first().items.first();
    QCOMPARE(item.title.kind, SimText::Kind::Absent);
    QCOMPARE(item.description.string, u"D"_s);
    QCOMPARE(item.position, QPointF(3, 4));
    using Kind = SimBarKey::Kind;
    QCOMPARE(s.remembered, (QList<SimBarKey>{{Kind::Bundle, u"com.example.b"_s, 0, 2},
                                             {Kind::Process, QString(), 7, 0},
                                             {Kind::Bundle, u"com.example.a"_s, 0, 0}}));

    QCOMPARE(s.takenShortcuts.at(1).holder, u"Clipjar"_s);
    QVERIFY(s.takenShortcuts.at(1).exclusive);

    // A platform on it: this process; the shortcuts other applications hold, one refused
    // as the file says, one shared as a registration without options is.
    const auto platform = SimPlatform::forTests(std::move(result).value());
    QCOMPARE(platform->workspace().currentProcessId(), 99);
    QCOMPARE(platform->workspace().mainBundleIdentifier(), std::nullopt); // outside a bundle
    QCOMPARE(platform->desktop().application(99)->bundleIdentifier, std::nullopt);
    QCOMPARE(platform->hotKeys().registerHotKey(49, 0x1800, GlobalHotKey::identifier).status,
             HotKeyService::hotKeyExists);
    QCOMPARE(platform->hotKeys().registerHotKey(46, 0x1200, GlobalHotKey::identifier).status,
             HotKeyService::noError);

    // Without "tuckaway", this process takes a pid no application has, even past the last.
    const auto highest = SimScenarioLoader::parse(
        R"({"apps": [{"pid": 2147483647}, {"pid": 1}, {"pid": 2}]})", u"scenario.json"_s);
    QVERIFY2(highest, qPrintable(highest ? QString() : highest.error().description));
    QCOMPARE(highest->ownPid, 3);
}

QTEST_MAIN(TestSimScenario)
#include "tst_simscenario.moc"
