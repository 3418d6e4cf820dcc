#include "artwork/AppIdentity.h"
#include "artwork/StatusGlyph.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtMath>

using namespace tk;

namespace {

const QString chevron = StatusGlyph::dotsChevronStyle;
const QString dots = StatusGlyph::dotsStyle;
const QString single = StatusGlyph::singleStyle;

// The alpha of the pixel whose lower-left corner is at `point` (in points, y up) at ratio 2.
int alphaAt(const QImage& image, QPointF point)
{
    return image.pixelColor(qFloor(point.x() * 2), qFloor((18 - point.y()) * 2) - 1).alpha();
}

// Pictures for a person to look at, when the test run names a folder for them.
bool saveArtifact(const QImage& image, QString name)
{
    const QString folder = qEnvironmentVariable("TUCKAWAY_ARTIFACTS");
    if (folder.isEmpty())
        return true;
    name.replace(QRegularExpression(QStringLiteral("[^a-z0-9]+")), QStringLiteral("-"));
    return QDir().mkpath(folder) && image.save(QDir(folder).filePath(name + QStringLiteral(".png")));
}

} // namespace

class TestGraphics : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void glyphGeometry_data();
    void glyphGeometry();
    void icon();
    void iconSetHoldsEverySizeOrSaysWhyNot();
};

// Black ink on transparent: dots 3.3 points wide, 9 points up; the chevron's tip at (3, 9).
void TestGraphics::glyphGeometry_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<bool>("collapsed");
    QTest::addColumn<bool>("withChevron");
    QTest::addColumn<QList<qreal>>("dotCentres");
    const QList<qreal> three{5, 12, 19};
    QTest::newRow("dots and chevron, shown") << chevron << false << false << three;
    QTest::newRow("dots and chevron, collapsed") << chevron << true << true << QList<qreal>{13, 20};
    QTest::newRow("dots, collapsed") << dots << true << false << three;
    QTest::newRow("single") << single << false << false << QList<qreal>{12};
    QTest::newRow("single, collapsed") << single << true << false << QList<qreal>{12};
    QTest::newRow("unknown style draws dots")
        << QStringLiteral("DotsChevron") << true << false << three;
}

void TestGraphics::glyphGeometry()
{
    QFETCH(QString, style);
    QFETCH(bool, collapsed);
    QFETCH(bool, withChevron);
    QFETCH(QList<qreal>, dotCentres);
    const GlyphImage made = StatusGlyph::make(collapsed, style);
    QVERIFY(made.isTemplate);
    const QImage& image = made.image;
    QVERIFY(saveArtifact(image, QStringLiteral("glyph ") + QString::fromUtf8(QTest::currentDataTag())));
    QCOMPARE(image.size(), QSize(48, 36));
    // Pixels round up; a ratio that is not positive draws at ratio 1.
    QCOMPARE(StatusGlyph::make(collapsed, style, 1.25).image.size(), QSize(30, 23));
    QCOMPARE(StatusGlyph::make(collapsed, style, -2).image.devicePixelRatio(), 1.0);
    // Tinted where nothing tints it for us: the same shape in white.
    const QImage white = StatusGlyph::tinted(image, Qt::white);
    QCOMPARE(white.devicePixelRatio(), image.devicePixelRatio());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            QVERIFY2(colour.alpha() == 0 || (colour.rgb() & 0xFFFFFF) == 0,
                     qPrintable(colour.name()));
            QCOMPARE(white.pixelColor(x, y).alpha(), colour.alpha());
            QVERIFY(colour.alpha() < 255 || white.pixelColor(x, y) == QColor(Qt::white));
        }
    }
    // Each dot is inked across its width and nowhere half a point beyond it.
    for (qreal x : dotCentres) {
        for (qreal dx : {-1.25, 0.0, 1.0})
            QVERIFY2(alphaAt(image, {x + dx, 9}) > 200, qPrintable(QString::number(x + dx)));
        for (QPointF beside :
             {QPointF(x - 2.5, 9), QPointF(x + 2, 9), QPointF(x, 11.5), QPointF(x, 6.5)})
            QVERIFY2(alphaAt(image, beside) == 0, qPrintable(QString::number(beside.x())));
    }
    QCOMPARE(alphaAt(image, {2.5, 9}) > 200, withChevron); // the round tip
    QCOMPARE(alphaAt(image, {5, 11}) > 200, withChevron);  // the upper arm
    QCOMPARE(alphaAt(image, {1.5, 9}), 0);
    if (withChevron)
        QCOMPARE(alphaAt(image, {6, 9}), 0); // open inside
}

// The bundle's icon, scaled, when it can be read; else the drawn turquoise tile with white dots.
void TestGraphics::icon()
{
    const auto shipped = [](QSize size) {
        return [size](int) {
            QImage image(size, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::red);
            return image;
        };
    };
    const QImage scaled = AppIdentity::icon(64, shipped(QSize(256, 256)));
    QCOMPARE(scaled.size(), QSize(64, 64));
    QCOMPARE(scaled.pixelColor(32, 32), QColor(Qt::red));
    QCOMPARE(AppIdentity::icon(64, shipped(QSize())), AppIdentity::drawnIcon(64));
    QCOMPARE(AppIdentity::icon(64), AppIdentity::drawnIcon(64));

    for (int size : {16, 1024}) {
        const QImage icon = AppIdentity::drawnIcon(size);
        QVERIFY(saveArtifact(icon, QStringLiteral("icon ") + QString::number(size)));
        QCOMPARE(icon.size(), QSize(size, size));
        const auto at = [&](qreal x, qreal y) { return icon.pixelColor(x * size, y * size); };
        QCOMPARE(at(0, 0).alpha(), 0);
        for (const QColor tile : {at(0.5, 0.25), at(0.5, 0.75), at(0.14, 0.5)}) {
            QCOMPARE(tile.alpha(), 255);
            QVERIFY2(tile.hue() >= 170 && tile.hue() <= 185 && tile.saturation() > 150,
                     qPrintable(tile.name()));
        }
        QCOMPARE(at(0.5, 0.5), QColor(Qt::white)); // the middle dot
    }
    QVERIFY(AppIdentity::drawnIcon(0).isNull());
}

void TestGraphics::iconSetHoldsEverySizeOrSaysWhyNot()
{
    QTemporaryDir temporary;
    const QDir folder(temporary.filePath(QStringLiteral("nested/AppIcon.iconset")));
    const Result<QStringList> written = AppIdentity::writeIconSet(folder.path());
    QVERIFY2(written.ok(), qPrintable(written.ok() ? QString() : written.error().description));
    QList<int> sizes;
    for (const AppIdentity::IconSetEntry& entry : AppIdentity::iconSetEntries()) {
        QCOMPARE(QImage(folder.filePath(entry.fileName)).size(),
                 QSize(entry.pixelSize, entry.pixelSize));
        sizes.append(entry.pixelSize);
    }
    QCOMPARE(sizes, (QList<int>{16, 32, 32, 64, 128, 256, 256, 512, 512, 1024}));

    const QString blocker = folder.filePath(QStringLiteral("icon_16x16.png"));
    const Result<QStringList> refused = AppIdentity::writeIconSet(blocker);
    QVERIFY(!refused.ok());
    QVERIFY2(refused.error().description.contains(QStringLiteral("icon_16x16.png")),
             qPrintable(refused.error().description));
}

QTEST_MAIN(TestGraphics)
#include "tst_graphics.moc"
