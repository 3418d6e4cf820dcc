#include "settings/SettingsData.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace tk;

Q_DECLARE_METATYPE(SettingsData)

using namespace Qt::StringLiterals;

char* toString(const SettingsData& record)
{
    return qstrdup(record.encoded(SettingsData::Form::Stored).constData());
}

namespace {

template <class Change> SettingsData with(Change change)
{
    SettingsData record;
    change(record);
    return record;
}

QStringList repeated(const QString& entry, qsizetype count)
{
    return QStringList(count, entry);
}

QByteArray defaultStored()
{
    return SettingsData().encoded(SettingsData::Form::Stored);
}

QByteArray defaultObjectWith(const QString& key, const QJsonValue& value)
{
    QJsonObject object = QJsonDocument::fromJson(defaultStored()).object();
    if (value.isUndefined())
        object.remove(key);
    else
        object.insert(key, value);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray defaultWithDelayLiteral(const char* literal)
{
    return defaultStored().replace("\"delay\":10", QByteArray("\"delay\":") + literal);
}

// Test messages are evaluated even when the check passes.
QByteArray failureOf(const Result<SettingsData>& result)
{
    return result.ok() ? QByteArray() : result.error().description.toUtf8();
}

QJsonObject hotkeyWithout(const QString& key)
{
    QJsonObject hotkey{{QStringLiteral("enabled"), true},
                       {QStringLiteral("key"), QStringLiteral("M")},
                       {QStringLiteral("modifiers"), QStringLiteral("controlShift")},
                       {QStringLiteral("action"), QStringLiteral("toggle")}};
    hotkey.remove(key);
    return hotkey;
}

const QString emoji = QStringLiteral("\U0001F600");    // beyond the BMP: a surrogate pair
const QString fullwidthA = QStringLiteral("\uFF21");   // above the surrogate range
const QString decomposedE = QStringLiteral("e\u0301"); // one grapheme, two code units

} // namespace

class TestSettingsData : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void validationRules_data();
    void validationRules();
    void normalisation_data();
    void normalisation();
    void exportedFormIsSortedAndHoldsTheDefaults();
    void encodingRoundTrips_data();
    void encodingRoundTrips();
    void decodingFailures_data();
    void decodingFailures();
    void decodingAcceptsIntegralNumbers_data();
    void decodingAcceptsIntegralNumbers();
    void decodingSkipsOptionalAndUnknownKeysAndDoesNotValidate();
    void hostileInputIsRejectedOrDecoded();
};

void TestSettingsData::validationRules_data()
{
    QTest::addColumn<SettingsData>("record");
    QTest::addColumn<bool>("valid");

    QTest::newRow("defaults") << SettingsData() << true;
    for (const qint64 delay : {5, 10, 30, 60})
        QTest::addRow("delay %lld", delay) << with([=](auto& r) { r.delay = delay; }) << true;
    for (const qint64 delay : {0, -10, 15})
        QTest::addRow("delay %lld", delay) << with([=](auto& r) { r.delay = delay; }) << false;
    QTest::newRow("version 2") << with([](auto& r) { r.version = 2; }) << false;
    QTest::newRow("mode manual") << with([](auto& r) { r.mode = u"manual"_s; }) << true;
    QTest::newRow("mode capitalised") << with([](auto& r) { r.mode = u"Boundary"_s; }) << false;
    QTest::newRow("symbol dots") << with([](auto& r) { r.symbol = u"dots"_s; }) << true;
    QTest::newRow("symbol unknown") << with([](auto& r) { r.symbol = u"chevron"_s; }) << false;

    QTest::newRow("hotkey other names") << with([](auto& r) {
        r.hotkey = HotKeySettings{false, u"Space"_s, u"controlShift"_s, u"showAll"_s};
    }) << true;
    QTest::newRow("disabled hotkey, key K") << with([](auto& r) {
        r.hotkey = HotKeySettings{false, u"K"_s, u"controlOption"_s, u"toggle"_s};
    }) << false;
    QTest::newRow("hotkey modifiers unknown") << with([](auto& r) {
        r.hotkey = HotKeySettings{true, u"B"_s, u"command"_s, u"toggle"_s};
    }) << false;
    QTest::newRow("hotkey action unknown") << with([](auto& r) {
        r.hotkey = HotKeySettings{true, u"B"_s, u"controlOption"_s, u"hide"_s};
    }) << false;

    const QString id = u"com.example.same"_s;
    QTest::newRow("hidden 500") << with([&](auto& r) { r.hiddenBundles = repeated(id, 500); })
                                << true;
    QTest::newRow("hidden 501 identical")
        << with([&](auto& r) { r.hiddenBundles = repeated(id, 501); }) << false;
    QTest::newRow("selected 1000")
        << with([&](auto& r) { r.selected = repeated(id, 1000); }) << true;
    QTest::newRow("selected 1001 identical")
        << with([&](auto& r) { r.selected = repeated(id, 1001); }) << false;

    QTest::newRow("2048 ascii") << with([](auto& r) { r.hiddenBundles = {QString(2048, u'a')}; })
                                << true;
    QTest::newRow("2049 ascii") << with([](auto& r) { r.hiddenBundles = {QString(2049, u'a')}; })
                                << false;
    QTest::newRow("2048 decomposed")
        << with([](auto& r) { r.selected = {decomposedE.repeated(2048)}; }) << true;
    QTest::newRow("2049 decomposed")
        << with([](auto& r) { r.selected = {decomposedE.repeated(2049)}; }) << false;
    QTest::newRow("2048 astral") << with([](auto& r) { r.selected = {emoji.repeated(2048)}; })
                                 << true;
    QTest::newRow("empty selected entry") << with([](auto& r) {
        r.selected = {QString(), u"a"_s};
    }) << false;
}

void TestSettingsData::validationRules()
{
    QFETCH(SettingsData, record);
    QFETCH(bool, valid);

    const auto result = record.validated();
    QCOMPARE(result.ok(), valid);
    if (valid) {
        // The lists are normalised (covered below); every other field is kept as it was.
        SettingsData expected = record;
        expected.hiddenBundles = result->hiddenBundles;
        expected.selected = result->selected;
        QCOMPARE(result.value(), expected);
    } else {
        QCOMPARE(result.error(),
                 (Error{u"Tuckaway"_s, 1,
                        u"El archivo contiene una versión u opciones incompatibles."_s}));
    }
}

void TestSettingsData::normalisation_data()
{
    QTest::addColumn<QStringList>("hidden");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QStringList>("expectedHidden");
    QTest::addColumn<QStringList>("expectedSelected");

    QTest::newRow("duplicates") << QStringList{u"b"_s, u"a"_s, u"b"_s}
                                << QStringList{u"x"_s, u"y"_s, u"x"_s}
                                << QStringList{u"a"_s, u"b"_s} << QStringList{u"x"_s, u"y"_s};
    QTest::newRow("selected keeps its own order")
        << QStringList{} << QStringList{u"y"_s, u"x"_s, u"y"_s, u"z"_s} << QStringList{}
        << QStringList{u"y"_s, u"x"_s, u"z"_s};
    QTest::newRow("ordinal, not by locale or case")
        << QStringList{u"b"_s, u"a"_s, u"B"_s, u"ä"_s} << QStringList{}
        << QStringList{u"B"_s, u"a"_s, u"b"_s, u"ä"_s} << QStringList{};
    QTest::newRow("code points beyond the BMP sort last")
        << QStringList{emoji, fullwidthA, u"z"_s} << QStringList{}
        << QStringList{u"z"_s, fullwidthA, emoji} << QStringList{};
}

void TestSettingsData::normalisation()
{
    QFETCH(QStringList, hidden);
    QFETCH(QStringList, selected);
    QFETCH(QStringList, expectedHidden);
    QFETCH(QStringList, expectedSelected);

    SettingsData record;
    record.hiddenBundles = hidden;
    record.selected = selected;
    record.hotkey = HotKeySettings();
    const auto once = record.validated();
    QVERIFY(once.ok());
    QCOMPARE(once->hiddenBundles, expectedHidden);
    QCOMPARE(once->selected, expectedSelected);
    QCOMPARE(once->hotkey, record.hotkey);

    const auto twice = once->validated();
    QVERIFY(twice.ok());
    QCOMPARE(twice.value(), once.value());
}

void TestSettingsData::exportedFormIsSortedAndHoldsTheDefaults()
{
    SettingsData record;
    record.hiddenBundles = {u"com.a"_s};
    record.hotkey = HotKeySettings();
    const QByteArray expected = R"({
    "autoCollapse": false,
    "compact": false,
    "delay": 10,
    "hiddenBundles": [
        "com.a"
    ],
    "hotkey": {
        "action": "toggle",
        "enabled": true,
        "key": "M",
        "modifiers": "controlOptionCommand"
    },
    "hoverReveal": false,
    "mode": "boundary",
    "selected": [
    ],
    "showOnLaunch": false,
    "startCollapsed": false,
    "symbol": "dotsChevron",
    "version": 1
}
)";
    QCOMPARE(record.encoded(SettingsData::Form::Exported), expected);
    QVERIFY(!SettingsData().encoded(SettingsData::Form::Exported).contains("hotkey"));
}

void TestSettingsData::encodingRoundTrips_data()
{
    QTest::addColumn<SettingsData>("record");

    QTest::newRow("defaults") << SettingsData();
    QTest::newRow("everything set") << with([](auto& r) {
        r.version = 7;
        r.mode = u"manual"_s;
        r.symbol = u"single"_s;
        r.showOnLaunch = r.startCollapsed = r.autoCollapse = r.hoverReveal = r.compact = true;
        r.delay = 9007199254740993; // not representable as a double
        r.hiddenBundles = {u"z"_s, u"z"_s, u"\"quoted\"\n"_s, emoji + decomposedE};
        r.selected = {u"com.example"_s};
        r.hotkey = HotKeySettings{false, u"Space"_s, u"controlShift"_s, u"showAll"_s};
    });
    QTest::newRow("extreme delay")
        << with([](auto& r) { r.delay = std::numeric_limits<qint64>::min(); });
}

void TestSettingsData::encodingRoundTrips()
{
    QFETCH(SettingsData, record);

    const QByteArray stored = record.encoded(SettingsData::Form::Stored);
    QVERIFY(!stored.contains('\n'));
    QVERIFY(!stored.contains(": "));
    QCOMPARE(stored.contains("\"hotkey\""), record.hotkey.has_value());
    QVERIFY(!stored.contains("null"));
    for (const auto form : {SettingsData::Form::Stored, SettingsData::Form::Exported}) {
        const auto decoded = SettingsData::decoded(record.encoded(form));
        QVERIFY2(decoded.ok(), failureOf(decoded).constData());
        QCOMPARE(decoded.value(), record);
    }
}

void TestSettingsData::decodingFailures_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("description");

    const auto missing = [](const char* key) {
        return QStringLiteral("The value for key \"%1\" is missing.").arg(QLatin1String(key));
    };
    const auto notA = [](const char* key, const char* what) {
        return QStringLiteral("The value for key \"%1\" is not %2.")
            .arg(QLatin1String(key), QLatin1String(what));
    };

    QTest::newRow("compact missing")
        << defaultObjectWith(u"compact"_s, QJsonValue::Undefined) << missing("compact");
    QTest::newRow("delay null") << defaultObjectWith(u"delay"_s, QJsonValue::Null)
                                << u"The value for key \"delay\" is null."_s;
    QTest::newRow("delay as text")
        << defaultObjectWith(u"delay"_s, u"10"_s) << notA("delay", "an integer");
    QTest::newRow("delay fractional")
        << defaultWithDelayLiteral("10.5") << notA("delay", "an integer");
    QTest::newRow("delay 2^63") << defaultWithDelayLiteral("9223372036854775808")
                                << notA("delay", "an integer");
    QTest::newRow("compact as number")
        << defaultObjectWith(u"compact"_s, 0) << notA("compact", "a Boolean");
    QTest::newRow("mode as number") << defaultObjectWith(u"mode"_s, 3) << notA("mode", "a string");
    QTest::newRow("hiddenBundles as text")
        << defaultObjectWith(u"hiddenBundles"_s, u"com.a"_s) << notA("hiddenBundles", "an array");
    QTest::newRow("entry not a string")
        << defaultObjectWith(u"hiddenBundles"_s, QJsonArray{u"a"_s, u"b"_s, 7})
        << u"Entry 3 of key \"hiddenBundles\" is not a string."_s;
    QTest::newRow("hotkey as text")
        << defaultObjectWith(u"hotkey"_s, u"M"_s) << notA("hotkey", "an object");
    QTest::newRow("hotkey without action")
        << defaultObjectWith(u"hotkey"_s, hotkeyWithout(u"action"_s)) << missing("hotkey.action");
    QTest::newRow("hotkey enabled null") << defaultObjectWith(u"hotkey"_s, [] {
        QJsonObject hotkey = hotkeyWithout(QString());
        hotkey.insert(u"enabled"_s, QJsonValue::Null);
        return hotkey;
    }()) << u"The value for key \"hotkey.enabled\" is null."_s;

    const QString prefix = u"The data couldn't be read because "_s;
    QTest::newRow("truncated")
        << defaultStored().chopped(1)
        << prefix + u"it isn't valid JSON (invalid termination by number at offset "_s +
               QString::number(defaultStored().size() - 1) + u")."_s;
    QTest::newRow("empty") << QByteArray()
                           << prefix + u"it isn't valid JSON (illegal value at offset 0)."_s;
    QByteArray latin1 = defaultStored();
    const qsizetype badByte = latin1.indexOf("boundary") + 5;
    latin1[badByte] = '\xE4';
    QTest::newRow("not UTF-8") << latin1
                               << prefix +
                                      u"it isn't valid UTF-8 (invalid UTF8 string at offset "_s +
                                      QString::number(badByte) + u")."_s;
    QTest::newRow("array at top level") << QByteArray("[") + defaultStored() + "]"
                                        << prefix + u"its top level is not a JSON object."_s;
}

void TestSettingsData::decodingFailures()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, description);

    const auto result = SettingsData::decoded(json);
    QVERIFY(!result.ok());
    QCOMPARE(result.error().description, description);
    QCOMPARE(result.error().domain, u"Tuckaway.JSON"_s);
}

void TestSettingsData::decodingAcceptsIntegralNumbers_data()
{
    QTest::addColumn<QByteArray>("literal");
    QTest::addColumn<qint64>("value");

    QTest::newRow("with point") << QByteArray("30.0") << qint64(30);
    QTest::newRow("exponent") << QByteArray("6e1") << qint64(60);
    QTest::newRow("largest") << QByteArray("9223372036854775807")
                             << std::numeric_limits<qint64>::max();
    QTest::newRow("smallest") << QByteArray("-9223372036854775808")
                              << std::numeric_limits<qint64>::min();
}

void TestSettingsData::decodingAcceptsIntegralNumbers()
{
    QFETCH(QByteArray, literal);
    QFETCH(qint64, value);

    const auto result = SettingsData::decoded(defaultWithDelayLiteral(literal.constData()));
    QVERIFY2(result.ok(), failureOf(result).constData());
    QCOMPARE(result->delay, value);
}

void TestSettingsData::decodingSkipsOptionalAndUnknownKeysAndDoesNotValidate()
{
    for (const auto& [key, value] : {std::pair(u"hotkey"_s, QJsonValue(QJsonValue::Null)),
                                     std::pair(u"theme"_s, QJsonValue(QJsonObject()))}) {
        const auto decoded = SettingsData::decoded(defaultObjectWith(key, value));
        QVERIFY(decoded.ok());
        QCOMPARE(decoded.value(), SettingsData());
    }

    const auto unvalidated = SettingsData::decoded(defaultObjectWith(u"version"_s, 2));
    QVERIFY(unvalidated.ok());
    QCOMPARE(unvalidated->version, 2);
    QVERIFY(!unvalidated->validated().ok());
}

void TestSettingsData::hostileInputIsRejectedOrDecoded()
{
    QByteArray deep = defaultStored();
    deep.insert(1, "\"nest\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + ",");
    QVERIFY(!SettingsData::decoded(deep).ok());

    QJsonArray many;
    for (int i = 0; i < 200000; ++i)
        many.append(QString::number(i % 1000));
    const auto huge = SettingsData::decoded(defaultObjectWith(u"selected"_s, many));
    QVERIFY(huge.ok());
    QCOMPARE(huge->selected.size(), 200000);
    QVERIFY(!huge->validated().ok());
}

QTEST_GUILESS_MAIN(TestSettingsData)
#include "tst_settingsdata.moc"
