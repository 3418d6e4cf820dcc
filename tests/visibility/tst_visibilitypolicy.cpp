#include "visibility/BoundaryPolicy.h"
#include "visibility/VisibilityPolicy.h"

#include <QTest>
#include <limits>

using namespace tk;

namespace {

using Items = QList<PositionedItem>;
using Bundles = QSet<QString>;

const QString own = QStringLiteral("zz.own.Tuckaway");

// Tuckaway's icon in the menu bar row 0..24 of the primary screen.
const Rect ownIcon{1000.0, 0.0, 22.0, 24.0};

PositionedItem item(const QString& bundle, double x, double width = 20.0, double y = 0.0)
{
    return {bundle, Rect{x, y, width, 24.0}};
}

PositionedItem frameless(const QString& bundle)
{
    return {bundle, std::nullopt};
}

} // namespace

class TestVisibilityPolicy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void allowListMembershipAndOrder_data();
    void allowListMembershipAndOrder();
    void boundaryDecision_data();
    void boundaryDecision();
    void boundaryReasons_data();
    void boundaryReasons();
    void decisionsAreSortedAndReasonWordsRoundTrip();
};

void TestVisibilityPolicy::allowListMembershipAndOrder_data()
{
    QTest::addColumn<Bundles>("running");
    QTest::addColumn<Bundles>("hidden");
    QTest::addColumn<QStringList>("expected");

    const QStringList sixSorted{
        QStringLiteral("com.apple.Siri"),
        QStringLiteral("com.apple.Spotlight"),
        QStringLiteral("com.apple.controlcenter"),
        QStringLiteral("com.apple.loginwindow"),
        QStringLiteral("com.apple.menuextra.clock"),
        QStringLiteral("com.apple.systemuiserver"),
    };
    const QString alpha = QStringLiteral("org.alpha.App");
    const QString beta = QStringLiteral("org.beta.App");

    QTest::newRow("nothing runs") << Bundles{} << Bundles{alpha} << sixSorted + QStringList{own};
    QTest::newRow("one of two hidden")
        << Bundles{alpha, beta} << Bundles{beta} << sixSorted + QStringList{alpha, own};
    QTest::newRow("nothing hidden")
        << Bundles{beta, alpha} << Bundles{} << sixSorted + QStringList{alpha, beta, own};
    QTest::newRow("protected and own cannot be hidden")
        << Bundles{QStringLiteral("com.apple.controlcenter"), alpha}
        << Bundles{QStringLiteral("com.apple.controlcenter"), own, alpha}
        << sixSorted + QStringList{own};
    QTest::newRow("a running protected one appears once")
        << Bundles{QStringLiteral("com.apple.Siri")} << Bundles{} << sixSorted + QStringList{own};
    QTest::newRow("hidden but not running is simply absent")
        << Bundles{alpha} << Bundles{beta} << sixSorted + QStringList{alpha, own};
    QTest::newRow("protection is case-sensitive")
        << Bundles{QStringLiteral("com.apple.siri"), alpha}
        << Bundles{QStringLiteral("com.apple.siri")} << sixSorted + QStringList{alpha, own};
    QTest::newRow("upper case sorts before lower case")
        << Bundles{QStringLiteral("b.x"), QStringLiteral("B.x"), QStringLiteral("a.x")} << Bundles{}
        << QStringList{QStringLiteral("B.x"), QStringLiteral("a.x"), QStringLiteral("b.x")} +
               sixSorted + QStringList{own};
    // U+FF61 comes before U+1F600 by scalar value, after it by UTF-16 code unit.
    QTest::newRow("scalar values beyond the basic plane")
        << Bundles{QStringLiteral("zz.\U0001F600"), QStringLiteral("zz.\uFF61")} << Bundles{}
        << sixSorted +
               QStringList{own, QStringLiteral("zz.\uFF61"), QStringLiteral("zz.\U0001F600")};
}

void TestVisibilityPolicy::allowListMembershipAndOrder()
{
    QFETCH(Bundles, running);
    QFETCH(Bundles, hidden);
    QFETCH(QStringList, expected);
    QCOMPARE(VisibilityPolicy::allowed(running, hidden, own), expected);
}

void TestVisibilityPolicy::boundaryDecision_data()
{
    QTest::addColumn<Items>("items");
    QTest::addColumn<Rect>("boundary");
    QTest::addColumn<Bundles>("expected");

    const QString a = QStringLiteral("org.a");
    const QString b = QStringLiteral("org.b");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const Items leftOfIt{item(a, 900.0)};

    QTest::newRow("zero-width boundary") << leftOfIt << Rect{1000, 0, 0, 24} << Bundles{};
    QTest::newRow("NaN-sized boundary") << leftOfIt << Rect{1000, 0, nan, 24} << Bundles{};
    QTest::newRow("null boundary") << leftOfIt << Rect::null() << Bundles{};
    QTest::newRow("infinite boundary") << leftOfIt << Rect::infinite() << Bundles{};
    QTest::newRow("boundary with negative size is standardised")
        << Items{item(a, 980.0)} << Rect{1022, 24, -22, -24} << Bundles{a};
    QTest::newRow("no items") << Items{} << ownIcon << Bundles{};

    QTest::newRow("right edge on the boundary's left edge")
        << Items{item(a, 980.0)} << ownIcon << Bundles{a};
    QTest::newRow("a fraction past the left edge")
        << Items{item(a, 980.0, 20.5)} << ownIcon << Bundles{};
    QTest::newRow("right of the boundary") << Items{item(a, 1030.0)} << ownIcon << Bundles{};
    QTest::newRow("icons on both sides")
        << Items{item(a, 900.0), item(a, 1030.0)} << ownIcon << Bundles{};
    QTest::newRow("all icons left")
        << Items{item(a, 900.0), item(a, 950.0)} << ownIcon << Bundles{a};
    QTest::newRow("one of two icons without frame")
        << Items{item(a, 900.0), frameless(a)} << ownIcon << Bundles{};
    QTest::newRow("only a frameless icon") << Items{frameless(a)} << ownIcon << Bundles{};
    QTest::newRow("zero-width icon") << Items{item(a, 900.0, 0.0)} << ownIcon << Bundles{};
    QTest::newRow("icon with negative width is standardised")
        << Items{PositionedItem{a, Rect{1000, 0, -20, 24}}} << ownIcon << Bundles{a};
    QTest::newRow("non-finite origin")
        << Items{PositionedItem{a, Rect{-inf, 0, 20, 24}}} << ownIcon << Bundles{};

    QTest::newRow("above, touching the top edge")
        << Items{item(a, 900.0, 20.0, -24.0)} << ownIcon << Bundles{};
    QTest::newRow("below, touching the bottom edge")
        << Items{item(a, 900.0, 20.0, 24.0)} << ownIcon << Bundles{};
    QTest::newRow("overlapping the row from above")
        << Items{item(a, 900.0, 20.0, -23.0)} << ownIcon << Bundles{a};
    QTest::newRow("overlapping the row from below")
        << Items{item(a, 900.0, 20.0, 23.0)} << ownIcon << Bundles{a};

    QTest::newRow("Apple's own stay")
        << Items{item(QStringLiteral("com.apple.weather"), 900.0)} << ownIcon << Bundles{};
    QTest::newRow("com.apple without the dot is judged by position")
        << Items{item(QStringLiteral("com.apple"), 900.0)} << ownIcon
        << Bundles{QStringLiteral("com.apple")};
    QTest::newRow("the Apple prefix is case-sensitive")
        << Items{item(QStringLiteral("COM.APPLE.x"), 900.0)} << ownIcon
        << Bundles{QStringLiteral("COM.APPLE.x")};
    QTest::newRow("each bundle on its own")
        << Items{item(a, 900.0), item(b, 920.0), item(b, 1100.0)} << ownIcon << Bundles{a};
}

void TestVisibilityPolicy::boundaryDecision()
{
    QFETCH(Items, items);
    QFETCH(Rect, boundary);
    QFETCH(Bundles, expected);
    QCOMPARE(BoundaryPolicy::hidden(items, boundary), expected);
}

void TestVisibilityPolicy::boundaryReasons_data()
{
    using BoundaryPolicy::Reason;
    QTest::addColumn<Items>("items");
    QTest::addColumn<Rect>("boundary");
    QTest::addColumn<Reason>("expected");

    const QString a = QStringLiteral("org.a");
    const PositionedItem above = item(a, 900.0, 20.0, -30.0);
    QTest::newRow("all left") << Items{item(a, 900.0), item(a, 950.0)} << ownIcon << Reason::Hidden;
    QTest::newRow("over the boundary counts as right") << Items{item(a, 990.0)} << ownIcon << Reason::Right;
    QTest::newRow("both sides") << Items{item(a, 900.0), item(a, 1030.0)} << ownIcon
                                << Reason::BothSides;
    QTest::newRow("another row, even left") << Items{item(a, 900.0), above} << ownIcon
                                            << Reason::OtherRow;
    QTest::newRow("another row outweighs both sides")
        << Items{item(a, 900.0), item(a, 1030.0), above} << ownIcon << Reason::OtherRow;
    QTest::newRow("no frame outweighs the rest")
        << Items{above, item(a, 1030.0), frameless(a)} << ownIcon << Reason::NoFrame;
    QTest::newRow("zero width is no usable frame") << Items{item(a, 900.0, 0.0)} << ownIcon
                                                   << Reason::NoFrame;
    QTest::newRow("unusable boundary") << Items{item(a, 900.0)} << Rect::null() << Reason::NoBoundary;
    QTest::newRow("Apple's own") << Items{item(QStringLiteral("com.apple.weather"), 900.0)}
                                 << ownIcon << Reason::System;
    QTest::newRow("protected, before Apple's own")
        << Items{item(QStringLiteral("com.apple.Siri"), 1030.0)} << Rect::null()
        << Reason::Protected;
    QTest::newRow("Tuckaway itself") << Items{item(own, 900.0)} << ownIcon << Reason::Own;
}

void TestVisibilityPolicy::boundaryReasons()
{
    using BoundaryPolicy::Decision;
    QFETCH(Items, items);
    QFETCH(Rect, boundary);
    QFETCH(BoundaryPolicy::Reason, expected);
    const QList<Decision> decisions = BoundaryPolicy::decisions(items, boundary, own);
    QCOMPARE(decisions, (QList<Decision>{{items.first().bundle, expected}}));
    // Without knowing Tuckaway's identifier, the set judges it like any other application.
    if (expected != BoundaryPolicy::Reason::Own)
        QCOMPARE(BoundaryPolicy::hidden(items, boundary).contains(items.first().bundle),
                 expected == BoundaryPolicy::Reason::Hidden);
}

void TestVisibilityPolicy::decisionsAreSortedAndReasonWordsRoundTrip()
{
    using BoundaryPolicy::Reason;
    const QList<BoundaryPolicy::Decision> decisions = BoundaryPolicy::decisions(
        {item(QStringLiteral("org.b"), 1030.0), item(QStringLiteral("org.a"), 900.0),
         item(QStringLiteral("org.b"), 900.0), item(own, 900.0)},
        ownIcon);
    QCOMPARE(decisions, (QList<BoundaryPolicy::Decision>{{QStringLiteral("org.a"), Reason::Hidden},
                                                         {QStringLiteral("org.b"), Reason::BothSides},
                                                         {own, Reason::Hidden}}));
    QCOMPARE(BoundaryPolicy::reasonWords().size(), 9);
    for (const QString& word : BoundaryPolicy::reasonWords())
        QCOMPARE(BoundaryPolicy::reasonWord(BoundaryPolicy::reasonNamed(word).value()), word);
    QVERIFY(!BoundaryPolicy::reasonNamed(QStringLiteral("Hidden")));
}

QTEST_GUILESS_MAIN(TestVisibilityPolicy)
#include "tst_visibilitypolicy.moc"
