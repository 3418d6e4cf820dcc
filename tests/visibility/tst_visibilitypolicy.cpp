#include "visibility/BoundaryPolicy.h"
#include "visibility/SightPolicy.h"
#include "visibility/VisibilityPolicy.h"

#include <QTest>
#include <limits>

using namespace tk;
using namespace Qt::StringLiterals;
using BoundaryPolicy::Decision;
using BoundaryPolicy::Reason;

namespace {

using Items = QList<PositionedItem>;
using Bundles = QSet<QString>;

const QString own = u"zz.own.Tuckaway"_s;

// Tuckaway's icon in the menu bar row 0..24 of the primary screen.
const Rect ownIcon{1000.0, 0.0, 22.0, 24.0};

PositionedItem item(const QString& bundle, double x, double width = 20.0, double y = 0.0)
{
    return {bundle, Rect{x, y, width, 24.0}};
}

} // namespace

class TestVisibilityPolicy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void allowListMembershipAndOrder_data();
    void allowListMembershipAndOrder();
    void boundaryReasons_data();
    void boundaryReasons();
    void decisionsAreSortedAndReasonWordsRoundTrip();
    void sightReasons_data();
    void sightReasons();
};

void TestVisibilityPolicy::allowListMembershipAndOrder_data()
{
    QTest::addColumn<Bundles>("running");
    QTest::addColumn<Bundles>("hidden");
    QTest::addColumn<QStringList>("expected");

    const QStringList sixSorted{
        u"com.apple.Siri"_s,        u"com.apple.Spotlight"_s,       u"com.apple.controlcenter"_s,
        u"com.apple.loginwindow"_s, u"com.apple.menuextra.clock"_s, u"com.apple.systemuiserver"_s,
    };
    const QString alpha = u"org.alpha.App"_s;
    const QString beta = u"org.beta.App"_s;

    QTest::newRow("one of two hidden, another not running")
        << Bundles{alpha, beta} << Bundles{beta, u"org.gone"_s}
        << sixSorted + QStringList{alpha, own};
    QTest::newRow("protected and own cannot be hidden, nor appear twice")
        << Bundles{u"com.apple.controlcenter"_s, alpha}
        << Bundles{u"com.apple.controlcenter"_s, own, alpha} << sixSorted + QStringList{own};
    QTest::newRow("upper case sorts before lower case")
        << Bundles{u"b.x"_s, u"B.x"_s, u"a.x"_s} << Bundles{}
        << QStringList{u"B.x"_s, u"a.x"_s, u"b.x"_s} + sixSorted + QStringList{own};
    // U+FF61 comes before U+1F600 by scalar value, after it by UTF-16 code unit.
    QTest::newRow("scalar values beyond the basic plane")
        << Bundles{u"zz.\U0001F600"_s, u"zz.\uFF61"_s} << Bundles{}
        << sixSorted + QStringList{own, u"zz.\uFF61"_s, u"zz.\U0001F600"_s};
}

void TestVisibilityPolicy::allowListMembershipAndOrder()
{
    QFETCH(Bundles, running);
    QFETCH(Bundles, hidden);
    QFETCH(QStringList, expected);
    QCOMPARE(VisibilityPolicy::allowed(running, hidden, own), expected);
}

void TestVisibilityPolicy::boundaryReasons_data()
{
    QTest::addColumn<Items>("items");
    QTest::addColumn<Rect>("boundary");
    QTest::addColumn<Reason>("expected");

    const QString a = u"org.a"_s;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const PositionedItem left = item(a, 900.0);
    const PositionedItem right = item(a, 1030.0);
    const PositionedItem above = item(a, 900.0, 20.0, -30.0);
    const PositionedItem frameless{a, std::nullopt};

    QTest::newRow("zero-width boundary")
        << Items{left} << Rect{1000, 0, 0, 24} << Reason::NoBoundary;
    QTest::newRow("NaN-sized boundary")
        << Items{left} << Rect{1000, 0, nan, 24} << Reason::NoBoundary;
    QTest::newRow("null boundary") << Items{left} << Rect::null() << Reason::NoBoundary;
    QTest::newRow("infinite boundary") << Items{left} << Rect::infinite() << Reason::NoBoundary;
    QTest::newRow("boundary with negative size is standardised")
        << Items{item(a, 980.0)} << Rect{1022, 24, -22, -24} << Reason::Hidden;

    QTest::newRow("right edge on the boundary's left edge")
        << Items{item(a, 980.0)} << ownIcon << Reason::Hidden;
    QTest::newRow("a fraction past the left edge")
        << Items{item(a, 980.0, 20.5)} << ownIcon << Reason::Right;
    QTest::newRow("both sides") << Items{left, right} << ownIcon << Reason::BothSides;
    QTest::newRow("all left") << Items{left, item(a, 950.0)} << ownIcon << Reason::Hidden;

    QTest::newRow("one of two icons without frame")
        << Items{left, frameless} << ownIcon << Reason::NoFrame;
    QTest::newRow("zero-width icon") << Items{item(a, 900.0, 0.0)} << ownIcon << Reason::NoFrame;
    QTest::newRow("icon with negative width is standardised")
        << Items{PositionedItem{a, Rect{1000, 0, -20, 24}}} << ownIcon << Reason::Hidden;
    QTest::newRow("non-finite origin")
        << Items{PositionedItem{a, Rect{-inf, 0, 20, 24}}} << ownIcon << Reason::NoFrame;
    QTest::newRow("no frame outweighs the rest")
        << Items{above, right, frameless} << ownIcon << Reason::NoFrame;

    QTest::newRow("above, touching the top edge")
        << Items{item(a, 900.0, 20.0, -24.0)} << ownIcon << Reason::OtherRow;
    QTest::newRow("below, touching the bottom edge")
        << Items{item(a, 900.0, 20.0, 24.0)} << ownIcon << Reason::OtherRow;
    QTest::newRow("overlapping the row")
        << Items{item(a, 900.0, 20.0, -23.0)} << ownIcon << Reason::Hidden;
    QTest::newRow("another row outweighs both sides")
        << Items{left, right, above} << ownIcon << Reason::OtherRow;

    QTest::newRow("Apple's own") << Items{item(u"com.apple.weather"_s, 900.0)} << ownIcon
                                 << Reason::System;
    QTest::newRow("com.apple without the dot is judged by position")
        << Items{item(u"com.apple"_s, 900.0)} << ownIcon << Reason::Hidden;
    QTest::newRow("protected, before Apple's own and the boundary")
        << Items{item(u"com.apple.Siri"_s, 1030.0)} << Rect::null() << Reason::Protected;
    QTest::newRow("Tuckaway itself") << Items{item(own, 900.0)} << ownIcon << Reason::Own;
}

void TestVisibilityPolicy::boundaryReasons()
{
    QFETCH(Items, items);
    QFETCH(Rect, boundary);
    QFETCH(Reason, expected);
    const QString bundle = items.first().bundle;
    QCOMPARE(BoundaryPolicy::decisions(items, boundary, own),
             (QList<Decision>{{bundle, expected}}));
    // Without knowing Tuckaway's identifier, the set judges it like any other application.
    if (expected != Reason::Own)
        QCOMPARE(BoundaryPolicy::hidden(items, boundary).contains(bundle),
                 expected == Reason::Hidden);
}

void TestVisibilityPolicy::decisionsAreSortedAndReasonWordsRoundTrip()
{
    const Items items{item(u"org.b"_s, 1030.0), item(u"org.a"_s, 900.0), item(u"org.b"_s, 900.0),
                      item(own, 900.0)};
    QCOMPARE(BoundaryPolicy::decisions(items, ownIcon),
             (QList<Decision>{{u"org.a"_s, Reason::Hidden},
                              {u"org.b"_s, Reason::BothSides},
                              {own, Reason::Hidden}}));
    QCOMPARE(BoundaryPolicy::reasonWords().size(), 9);
    for (const QString& word : BoundaryPolicy::reasonWords())
        QCOMPARE(BoundaryPolicy::reasonWord(BoundaryPolicy::reasonNamed(word).value()), word);
    QVERIFY(!BoundaryPolicy::reasonNamed(u"Hidden"_s));
}

// A laptop with a notch, a notched display right of it and one without below it, whose
// bar shows the frontmost application's menus.
void TestVisibilityPolicy::sightReasons_data()
{
    QTest::addColumn<Rect>("frame");
    QTest::addColumn<QString>("expected"); // the reason's word; empty: seen
    const auto row = [](const char* name, Rect frame, const QString& expected) {
        QTest::newRow(name) << frame << expected;
    };
    const QString notch = u"under-notch"_s;
    row("right of the notch", {900, 0, 28, 32}, {});
    row("touching the notch's right edge", {848.5, 0, 28, 32}, {});
    row("a fraction into the notch", {848.4, 0, 28, 32}, notch);
    row("beyond the notch", {500, 0, 28, 32}, notch);
    row("below the notch's row", {700, 32, 28, 32}, {});
    row("the other display's own notch", {1900, 0, 28, 24}, notch);
    row("right of the other display's notch", {2572, 0, 28, 24}, {});
    row("over the menus", {300, 982, 28, 24}, u"covered"_s);
    row("touching the menus' right edge", {308, 982, 28, 24}, {});
    row("left of every screen", {-100, 0, 28, 32}, u"off-screen"_s);
    row("touching the primary screen's left edge", {-28, 0, 28, 32}, u"off-screen"_s);
    row("a fraction onto the primary screen", {-27, 0, 28, 32}, notch);
    row("no frame", Rect::null(), {});
    row("no width", {900, 0, 0, 32}, {});
}

void TestVisibilityPolicy::sightReasons()
{
    QFETCH(Rect, frame);
    QFETCH(QString, expected);
    const QList<SightPolicy::Screen> screens{{{0, 0, 1512, 982}, Rect{663.5, 0, 185, 32}},
                                             {{1512, 0, 1920, 1080}, Rect{2372, 0, 200, 30}},
                                             {{0, 982, 1512, 982}, std::nullopt}};
    const std::optional<Rect> menus = Rect{8, 982, 300, 24};
    const std::optional<SightPolicy::Reason> reason = SightPolicy::reason(frame, screens, menus);
    QCOMPARE(reason ? SightPolicy::reasonWord(*reason) : QString(), expected);
}

QTEST_GUILESS_MAIN(TestVisibilityPolicy)
#include "tst_visibilitypolicy.moc"
