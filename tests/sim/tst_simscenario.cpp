#include "inspection/Workspace.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimDesktop.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace tk;

using namespace Qt::StringLiterals;

class TestSimScenario : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesBadContent_data();
    void refusesBadContent();
    void refusesFilesItCannotUse();
    void boundsElementCountAndDepth();
    void readsEveryPartOfTheFormat();
    void builtInDesktopHoldsThePromisedCases();
    void platformStartsOnTheChosenScenario();
};

void TestSimScenario::refusesBadContent_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const QByteArray threeApps = R"({"pid": 1}, {"pid": 2}, {"pid": 3}, )";
    QTest::newRow("not JSON") << QByteArray("{\n  \"apps\": [\n")
                              << u"line 3, column 1: not valid JSON (unterminated array)"_s;
    QTest::newRow("infinite number")
        << QByteArray(R"({"apps": [{"pid": 1, "responseDelay": 1e999}]})")
        << u"line 1, column 44: not valid JSON (illegal number)"_s;
    QTest::newRow("not an object") << QByteArray("[]") << u"must hold a JSON object"_s;
    QTest::newRow("wrong type") << QByteArray(R"({"trusted": "yes"})")
                                << u"trusted: must be true or false"_s;
    QTest::newRow("app not object")
        << QByteArray(R"({"apps": [5]})") << u"apps[0]: must be an object"_s;
    QTest::newRow("negative frame width")
        << QByteArray(
               R"({"apps": [)" + threeApps +
               R"({"pid": 4, "items": [{"frame": {"x": 0, "y": 0, "width": -3, "height": 24}}]}]})")
        << u"apps[3].items[0].frame.width: must not be negative"_s;
    QTest::newRow("negative delay") << QByteArray(R"({"apps": [{"pid": 4, "responseDelay": -1}]})")
                                    << u"apps[0].responseDelay: must not be negative"_s;
    QTest::newRow("duplicate pid")
        << QByteArray(R"({"apps": [{"pid": 7}, {"pid": 8}, {"pid": 7}]})")
        << u"apps[2].pid: 7 is already the pid of apps[0]"_s;
    QTest::newRow("fractional pid")
        << QByteArray(R"({"apps": [{"pid": 1.5}]})")
        << u"apps[0].pid: must be a whole number from 1 to 2147483647"_s;
    QTest::newRow("missing pid") << QByteArray(R"({"apps": [{"name": "x"}]})")
                                 << u"apps[0].pid: is required"_s;
    QTest::newRow("misspelt key") << QByteArray(
                                         R"({"apps": [{"pid": 1, "items": [{"titel": "x"}]}]})")
                                  << u"apps[0].items[0].titel: unknown key"_s;
    QTest::newRow("frame with position")
        << QByteArray(R"({"apps": [{"pid": 1, "items": [{"frame": null, "position": null}]}]})")
        << u"apps[0].items[0].frame: cannot be given together with position or size"_s;
    QTest::newRow("items without bar")
        << QByteArray(R"({"apps": [{"pid": 1, "extrasMenuBar": false, "items": [{}]}]})")
        << u"apps[0].items: must be empty for an application without extras menu bar"_s;
    QTest::newRow("flat screen")
        << QByteArray(R"({"screens": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 0}}]})")
        << u"screens[0].frame.height: must be greater than 0"_s;
    QTest::newRow("shortcut key")
        << QByteArray(R"({"takenShortcuts": [{"key": "Q", "modifiers": "controlShift"}]})")
        << u"takenShortcuts[0].key: must be one of M, B, Space"_s;
    QTest::newRow("negative place")
        << QByteArray(R"({"tuckaway": {"place": -1}})")
        << u"tuckaway.place: must be a whole number from 0 to 2147483647"_s;
    QTest::newRow("Tuckaway's pid taken")
        << QByteArray(R"({"apps": [{"pid": 5}], "tuckaway": {"pid": 5}})")
        << u"tuckaway.pid: 5 is already the pid of apps[0]"_s;
    QTest::newRow("repeated key")
        << QByteArray(R"({"apps": [{"pid": 1, "items": [{}, {"title": "a", "title": "b"}]}]})")
        << u"apps[0].items[1].title: appears more than once"_s;
    QTest::newRow("repeated key, escaped")
        << QByteArray(R"({"trusted": true, "tru\u0073ted": false})")
        << u"trusted: appears more than once"_s;
    QTest::newRow("screen too wide")
        << QByteArray(R"({"screens": [{"frame": {"x": 0, "y": 0, "width": 800, "height": 600}},)"
                      R"({"frame": {"x": 800, "y": 0, "width": 5000000, "height": 600}}]})")
        << u"screens[1].frame.width: must be at most 16384"_s;
    QTest::newRow("item far away")
        << QByteArray(R"({"apps": [{"pid": 1, "items": [{"position": {"x": 1e300, "y": 0}}]}]})")
        << u"apps[0].items[0].position.x: must be from -1000000 to 1000000"_s;
    QTest::newRow("long delay") << QByteArray(R"({"framework": {"delay": 1e9}})")
                                << u"framework.delay: must be at most 3600"_s;
    QByteArray wideBar = R"({"apps": [{"pid": 1, "items": [)";
    for (int i = 0; i < 245; ++i)
        wideBar += i ? R"(, {"width": 16384})" : R"({"width": 16384})";
    QTest::newRow("bar too wide")
        << wideBar + "]}]}"
        << u"apps[0].items[244].width: the menu-bar items add up to more than 4000000 points"_s;
    QByteArray screens = R"({"screens": [)";
    for (int i = 0; i < 17; ++i)
        screens +=
            QByteArray(i ? "," : "") + R"({"frame": {"x": 0, "y": 0, "width": 9, "height": 9}})";
    QTest::newRow("17 screens") << screens + "]}" << u"screens: must hold at most 16 screens"_s;
}

void TestSimScenario::refusesBadContent()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    const auto result = SimScenarioLoader::parse(json, u"scenario.json"_s);
    QVERIFY(!result);
    QCOMPARE(result.error().description, u"scenario.json: "_s + message);
}

void TestSimScenario::refusesFilesItCannotUse()
{
    QTemporaryDir dir;
    const QString missing = dir.filePath(u"missing.json"_s);
    auto result = SimScenarioLoader::load(missing);
    QVERIFY(!result);
    QCOMPARE(result.error().description,
             missing + u": cannot be read (No such file or directory)"_s);

    const QString large = dir.filePath(u"large.json"_s);
    QFile file(large);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(SimScenarioLoader::maximumFileBytes + 1, ' '));
    file.close();
    result = SimScenarioLoader::load(large);
    QVERIFY(!result);
    QCOMPARE(result.error().description, large + u": is larger than 16 MiB"_s);

    result = SimScenarioLoader::load(dir.path());
    QVERIFY(!result);
    QVERIFY(result.error().description.startsWith(dir.path() + u": "_s));

    // A pipe without a writer would block the start for ever.
    const QString pipe = dir.filePath(u"pipe.json"_s);
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    result = SimScenarioLoader::load(pipe);
    QVERIFY(!result);
    QCOMPARE(result.error().description,
             pipe + u": cannot be read (Not a regular file: a named pipe, a device or a socket)"_s);

    // "--scenario" followed by an empty argument names no file, not the built-in desktop.
    result = SimScenarioLoader::load(QString());
    QVERIFY(!result);
    QCOMPARE(result.error().description, u"\"\": cannot be read (No such file or directory)"_s);
}

void TestSimScenario::boundsElementCountAndDepth()
{
    QByteArray many = R"({"apps": [{"pid": 1, "items": [)";
    for (int i = 0; i < 1000000; ++i)
        many += i ? ",{}" : "{}";
    many += "]}]}";
    auto result = SimScenarioLoader::parse(many, u"scenario.json"_s);
    QVERIFY(!result);
    QCOMPARE(result.error().description,
             u"scenario.json: apps[0].items[99999]: more than 100000 elements in the file"_s);

    QByteArray deep = R"({"apps": [{"pid": 1, "items": [)";
    for (int i = 0; i < 70; ++i)
        deep += R"({"children": [)";
    deep += QByteArray(70, ' ').replace(' ', "]}") + "]}]}";
    result = SimScenarioLoader::parse(deep, u"scenario.json"_s);
    QVERIFY(!result);
    QVERIFY2(result.error().description.endsWith(u".children: nested deeper than 64 levels"_s),
             qPrintable(result.error().description));
}

void TestSimScenario::readsEveryPartOfTheFormat()
{
    const QByteArray json = R"json({
        "osVersion": "Version 26.1 (Build 26B50)", "trusted": false,
        "screens": [{"frame": {"x": 0, "y": 0, "width": 1000, "height": 700}}],
        "tuckaway": {"pid": 99, "place": 1},
        "framework": {"present": true, "answer": "exception", "exceptionName": "NSInvalidArgumentException",
                      "exceptionReason": "bad list", "delay": 0.5},
        "takenShortcuts": [{"key": "Space", "modifiers": "controlOption"}],
        "loginItem": {"requiresApproval": true, "registerError": "Operation not permitted"},
        "apps": [{"pid": 5, "bundle": "com.example.a", "responseDelay": 0.25, "items": [
            {"role": 7, "title": null, "description": "D", "frame": null, "actions": ["AXPress", 1]},
            {"position": {"x": 3, "y": 4}, "size": null, "settableError": -25205, "positionSettable": true,
             "children": [{"role": "AXButton"}]}]}]
    })json";
    const auto result = SimScenarioLoader::parse(json, u"scenario.json"_s);
    QVERIFY2(result, qPrintable(result ? QString() : result.error().description));
    const SimScenario& s = *result;
    QCOMPARE(s.operatingSystemVersion, u"Version 26.1 (Build 26B50)"_s);
    QVERIFY(!s.trusted);
    QCOMPARE(s.screens.first().visibleFrame, (Rect{0, 0, 1000, 676}));
    QCOMPARE(s.ownPid, 99);
    QCOMPARE(s.statusItemPlace, 1);
    QCOMPARE(s.framework.answer, SimFrameworkBehaviour::Answer::Exception);
    QCOMPARE(s.framework.exceptionReason, u"bad list"_s);
    QCOMPARE(s.framework.delaySeconds, 0.5);
    QCOMPARE(s.takenShortcuts, (QList<SimShortcut>{{u"Space"_s, u"controlOption"_s}}));
    QVERIFY(s.loginItem.requiresApproval);
    QCOMPARE(s.loginItem.registerFailure->description, u"Operation not permitted"_s);

    const SimApplication& app = s.applications.first();
    QVERIFY(!app.name);
    QCOMPARE(app.responseDelay, 0.25);
    const SimElement& first = app.items.at(0);
    QCOMPARE(first.role.kind, SimText::Kind::OtherType);
    QCOMPARE(first.title.kind, SimText::Kind::Absent);
    QCOMPARE(first.description.string, u"D"_s);
    QCOMPARE(first.positionSource, SimElement::Source::Missing);
    QCOMPARE(first.sizeSource, SimElement::Source::Missing);
    QVERIFY(!first.actions);
    const SimElement& second = app.items.at(1);
    QCOMPARE(second.position, QPointF(3, 4));
    QCOMPARE(second.sizeSource, SimElement::Source::Missing);
    QCOMPARE(second.settableError, -25205);
    QCOMPARE(second.children.first().role.string, u"AXButton"_s);

    // Without "tuckaway", this process takes a pid no application has, even past the last.
    const auto highest = SimScenarioLoader::parse(
        R"({"apps": [{"pid": 2147483647}, {"pid": 1}, {"pid": 2}]})", u"scenario.json"_s);
    QVERIFY2(highest, qPrintable(highest ? QString() : highest.error().description));
    QCOMPARE(highest->ownPid, 3);
}

void TestSimScenario::builtInDesktopHoldsThePromisedCases()
{
    const SimScenario s = SimScenarioLoader::builtIn();
    QCOMPARE(s.screens.size(), 2);
    QCOMPARE(s.screens.first().frame, (Rect{0, 0, 1512, 982}));
    int thirdParty = 0;
    bool withoutBundle = false, withoutBar = false, slow = false, nestedButton = false;
    QSet<QString> bundles;
    for (const SimApplication& app : s.applications) {
        bundles.insert(app.bundleIdentifier.value_or(QString()));
        thirdParty += !app.bundleIdentifier.value_or(QString()).startsWith(u"com.apple."_s);
        withoutBundle |= !app.bundleIdentifier;
        withoutBar |= !app.hasExtrasMenuBar;
        slow |= app.responseDelay > 0.08;
        for (const SimElement& item : app.items) {
            for (const SimElement& child : item.children)
                nestedButton |= child.role.string == u"AXButton"_s;
        }
    }
    QCOMPARE(thirdParty, 12);
    QVERIFY(withoutBundle && withoutBar && slow && nestedButton);
    for (const char* apple : {"com.apple.controlcenter", "com.apple.Spotlight", "com.apple.Siri",
                              "com.apple.TextInputMenuAgent"})
        QVERIFY(bundles.contains(QString::fromLatin1(apple)));

    // One application's items stand on both sides of Tuckaway's.
    SimDesktop desktop(s);
    const Rect own = *desktop.statusItemFrame();
    QHash<qint32, QPair<bool, bool>> sides;
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems()) {
        if (item.own)
            continue;
        (item.frame.maxX() <= own.minX() ? sides[item.pid].first : sides[item.pid].second) = true;
    }
    QVERIFY(std::any_of(sides.cbegin(), sides.cend(),
                        [](const auto& side) { return side.first && side.second; }));
}

void TestSimScenario::platformStartsOnTheChosenScenario()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"desk.json"_s);
    const auto refused = SimScenarioLoader::load(path);
    QVERIFY(!refused);
    QCOMPARE(refused.error().description, path + u": cannot be read (No such file or directory)"_s);

    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"apps": [{"pid": 31, "bundle": "com.example.only"}], "tuckaway": {"pid": 32}})");
    file.close();
    auto loaded = SimScenarioLoader::load(path);
    QVERIFY2(loaded, qPrintable(loaded ? QString() : loaded.error().description));
    const auto platform = SimPlatform::forTests(std::move(loaded).value());
    const auto running = platform->workspace().runningApplications();
    QCOMPARE(running.size(), 2);
    QCOMPARE(running.first().bundleIdentifier, u"com.example.only"_s);
    QCOMPARE(platform->workspace().currentProcessId(), 32);
}

QTEST_MAIN(TestSimScenario)
#include "tst_simscenario.moc"
