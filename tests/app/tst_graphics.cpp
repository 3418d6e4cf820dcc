#include "app/AppIdentity.h"
#include "app/StatusGlyph.h"

#include <QDir>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#include <QtMath>
#include <utility>

using namespace tk;

namespace {

const QString chevron = StatusGlyph::dotsChevronStyle;
const QString dots = StatusGlyph::dotsStyle;
const QString single = StatusGlyph::singleStyle;

QImage glyph(bool collapsed, const QString& style, qreal ratio = 2)
{
    return StatusGlyph::make(collapsed, style, ratio).image;
}

QList<bool> inkMask(const QImage& image)
{
    QList<bool> mask;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            mask.append(image.pixelColor(x, y).alpha() > 0);
    return mask;
}

// Enlarged with a grid line every point (stronger every five), black on light above and
// tinted white on dark below, the way a menu bar of either appearance shows it.
QImage glyphPanel(const QImage& image, int scale)
{
    const QSize bar = (image.deviceIndependentSize() * scale).toSize();
    QImage panel(bar.width(), bar.height() * 2, QImage::Format_ARGB32_Premultiplied);
    panel.fill(QColor(0xEC, 0xEC, 0xEC));
    QPainter painter(&panel);
    painter.fillRect(QRect(QPoint(0, bar.height()), bar), QColor(0x1E, 0x1E, 0x1E));
    painter.drawImage(QRect(QPoint(0, 0), bar), image);
    painter.drawImage(QRect(QPoint(0, bar.height()), bar), StatusGlyph::tinted(image, Qt::white));
    for (int p = 0; p <= StatusGlyph::widthInPoints; ++p) {
        painter.setPen(QColor(255, 0, 0, p % 5 == 0 ? 150 : 50));
        painter.drawLine(p * scale, 0, p * scale, panel.height());
        if (p > StatusGlyph::heightInPoints)
            continue;
        for (int y : {bar.height() - p * scale, 2 * bar.height() - p * scale})
            painter.drawLine(0, y, panel.width(), y);
    }
    return panel;
}

} // namespace

class TestGraphics : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void glyphSize_data();
    void glyphSize();
    void glyphIsBlackInkOnTransparentCanvas();
    void glyphsDifferExactlyWhereTheirShapesDo();
    void glyphInkFollowsGeometry_data();
    void glyphInkFollowsGeometry();
    void glyphDescriptionFollowsStateAndLanguage();
    void tintedRecoloursAndKeepsAlpha();
    void drawnIconIsTurquoiseTileWithWhiteDots();
    void iconPrefersReadableBundleIcon();
    void iconSetHoldsEverySizeOrSaysWhyNot();
    void saveArtifacts();
};

void TestGraphics::glyphSize_data()
{
    QTest::addColumn<qreal>("ratio");
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<qreal>("usedRatio");
    QTest::newRow("1") << 1.0 << QSize(24, 18) << 1.0;
    QTest::newRow("2") << 2.0 << QSize(48, 36) << 2.0;
    QTest::newRow("1.25 rounds up") << 1.25 << QSize(30, 23) << 1.25;
    QTest::newRow("negative") << -2.0 << QSize(24, 18) << 1.0;
}

void TestGraphics::glyphSize()
{
    QFETCH(qreal, ratio);
    QFETCH(QSize, pixels);
    QFETCH(qreal, usedRatio);
    const QImage image = glyph(true, chevron, ratio);
    QCOMPARE(image.size(), pixels);
    QCOMPARE(image.devicePixelRatio(), usedRatio);
}

void TestGraphics::glyphIsBlackInkOnTransparentCanvas()
{
    for (const QString& style : {chevron, dots, single}) {
        for (bool collapsed : {false, true}) {
            const GlyphImage made = StatusGlyph::make(collapsed, style);
            QVERIFY(made.isTemplate);
            const QImage& image = made.image;
            int inked = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor colour = image.pixelColor(x, y);
                    inked += colour.alpha() > 0;
                    QVERIFY2(colour.alpha() == 0 || (colour.rgb() & 0xFFFFFF) == 0,
                             qPrintable(colour.name()));
                }
            }
            QVERIFY(inked > 0);
            const int right = image.width() - 1, bottom = image.height() - 1;
            for (QPoint corner :
                 {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)})
                QCOMPARE(image.pixelColor(corner).alpha(), 0);
        }
    }
}

void TestGraphics::glyphsDifferExactlyWhereTheirShapesDo()
{
    struct Case {
        QString style;
        bool collapsed;
        char shape; // three dots, one dot, or chevron and two dots
    };
    const QList<Case> cases = {
        {chevron, false, '3'},
        {chevron, true, '<'},
        {dots, false, '3'},
        {dots, true, '3'},
        {single, false, '1'},
        {single, true, '1'},
        {QStringLiteral("DotsChevron"), true, '3'},
        {QString(), true, '3'},
    };
    for (qsizetype i = 0; i < cases.size(); ++i) {
        for (qsizetype j = i + 1; j < cases.size(); ++j) {
            const bool same = inkMask(glyph(cases[i].collapsed, cases[i].style)) ==
                              inkMask(glyph(cases[j].collapsed, cases[j].style));
            QVERIFY2(same == (cases[i].shape == cases[j].shape),
                     qPrintable(QStringLiteral("cases %1 and %2").arg(i).arg(j)));
        }
    }
}

void TestGraphics::glyphInkFollowsGeometry_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<bool>("collapsed");
    QTest::addColumn<QPointF>("point"); // in points, origin at the bottom-left corner
    QTest::addColumn<bool>("inked");
    QTest::newRow("three: dot at 5") << chevron << false << QPointF(5, 9) << true;
    QTest::newRow("three: gap") << chevron << false << QPointF(8.5, 9) << false;
    QTest::newRow("three: above a dot") << dots << true << QPointF(12, 11.5) << false;
    QTest::newRow("single: dot at 12") << single << true << QPointF(12, 9) << true;
    QTest::newRow("single: nothing at 5") << single << false << QPointF(5, 9) << false;
    QTest::newRow("chevron: round tip") << chevron << true << QPointF(2.5, 9) << true;
    QTest::newRow("chevron: left of tip") << chevron << true << QPointF(1.5, 9) << false;
    QTest::newRow("chevron: upper arm") << chevron << true << QPointF(5, 11) << true;
    QTest::newRow("chevron: open inside") << chevron << true << QPointF(6, 9) << false;
    QTest::newRow("chevron: dot at 13") << chevron << true << QPointF(13, 9) << true;
    QTest::newRow("chevron: nothing at 10") << chevron << true << QPointF(10, 9) << false;
}

void TestGraphics::glyphInkFollowsGeometry()
{
    QFETCH(QString, style);
    QFETCH(bool, collapsed);
    QFETCH(QPointF, point);
    QFETCH(bool, inked);
    const QImage image = glyph(collapsed, style);
    const int alpha = image.pixelColor(qFloor(point.x() * 2), qFloor((18 - point.y()) * 2)).alpha();
    QVERIFY2(inked ? alpha > 200 : alpha == 0, qPrintable(QString::number(alpha)));
}

void TestGraphics::glyphDescriptionFollowsStateAndLanguage()
{
    const QString en = QStringLiteral("en"), es = QStringLiteral("es");
    QCOMPARE(StatusGlyph::make(true, single, 2, es).accessibilityDescription,
             QStringLiteral("Mostrar iconos ocultos"));
    QCOMPARE(StatusGlyph::make(false, single, 2, es).accessibilityDescription,
             QStringLiteral("Ocultar grupo izquierdo"));
    QCOMPARE(StatusGlyph::make(true, chevron, 2, en).accessibilityDescription,
             QStringLiteral("Show hidden icons"));
    QCOMPARE(StatusGlyph::accessibilityDescription(false, en), QStringLiteral("Hide left group"));
}

void TestGraphics::tintedRecoloursAndKeepsAlpha()
{
    const QImage black = glyph(true, chevron);
    const QImage white = StatusGlyph::tinted(black, Qt::white);
    QCOMPARE(white.devicePixelRatio(), black.devicePixelRatio());
    for (int y = 0; y < black.height(); ++y) {
        for (int x = 0; x < black.width(); ++x) {
            const QColor after = white.pixelColor(x, y);
            QCOMPARE(after.alpha(), black.pixelColor(x, y).alpha());
            QVERIFY(after.alpha() < 255 || after == QColor(Qt::white));
        }
    }
}

void TestGraphics::drawnIconIsTurquoiseTileWithWhiteDots()
{
    for (int size : {16, 1024}) {
        const QImage icon = AppIdentity::drawnIcon(size);
        QCOMPARE(icon.size(), QSize(size, size));
        const auto at = [&](qreal x, qreal y) { return icon.pixelColor(x * size, y * size); };
        QCOMPARE(at(0, 0).alpha(), 0);
        QCOMPARE(at(0.99, 0.99).alpha(), 0);
        for (const QColor tile : {at(0.5, 0.25), at(0.5, 0.75), at(0.14, 0.5)}) {
            QCOMPARE(tile.alpha(), 255);
            QVERIFY2(tile.hue() >= 170 && tile.hue() <= 185 && tile.saturation() > 150,
                     qPrintable(tile.name()));
        }
        QCOMPARE(at(0.5, 0.5), QColor(Qt::white)); // the middle dot
    }
    QVERIFY(AppIdentity::drawnIcon(0).isNull());
}

void TestGraphics::iconPrefersReadableBundleIcon()
{
    int calls = 0;
    const auto shipped = [&calls](QSize size) {
        return [&calls, size](int) {
            ++calls;
            QImage image(size, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::red);
            return image;
        };
    };
    QCOMPARE(AppIdentity::icon(64, shipped(QSize(64, 64))).pixelColor(32, 32), QColor(Qt::red));
    const QImage scaled = AppIdentity::icon(64, shipped(QSize(256, 256)));
    QCOMPARE(scaled.size(), QSize(64, 64));
    QCOMPARE(scaled.pixelColor(32, 32), QColor(Qt::red));
    QCOMPARE(AppIdentity::icon(64, shipped(QSize())), AppIdentity::drawnIcon(64));
    QCOMPARE(AppIdentity::icon(64), AppIdentity::drawnIcon(64));
    QCOMPARE(calls, 3);
}

void TestGraphics::iconSetHoldsEverySizeOrSaysWhyNot()
{
    QTemporaryDir temporary;
    QVERIFY(temporary.isValid());
    const QDir folder(temporary.filePath(QStringLiteral("nested/AppIcon.iconset")));
    const Result<QStringList> written = AppIdentity::writeIconSet(folder.path());
    QVERIFY2(written.ok(), qPrintable(written.ok() ? QString() : written.error().description));
    QCOMPARE(written->size(), 10);
    QList<int> sizes;
    for (const AppIdentity::IconSetEntry& entry : AppIdentity::iconSetEntries()) {
        QCOMPARE(QImage(folder.filePath(entry.fileName)).size(),
                 QSize(entry.pixelSize, entry.pixelSize));
        sizes.append(entry.pixelSize);
    }
    QCOMPARE(sizes, (QList<int>{16, 32, 32, 64, 128, 256, 256, 512, 512, 1024}));
    QVERIFY(folder.exists(QStringLiteral("icon_512x512@2x.png")));

    const QString blocker = folder.filePath(QStringLiteral("icon_16x16.png"));
    const Result<QStringList> refused = AppIdentity::writeIconSet(blocker);
    QVERIFY(!refused.ok());
    QVERIFY2(refused.error().description.contains(QStringLiteral("icon_16x16.png")),
             qPrintable(refused.error().description));
}

void TestGraphics::saveArtifacts()
{
    const QString path = qEnvironmentVariable("TUCKAWAY_ARTIFACTS");
    if (path.isEmpty())
        QSKIP("TUCKAWAY_ARTIFACTS names no folder");
    QVERIFY(QDir().mkpath(path));
    const QDir folder(path);
    constexpr int scale = 12, gap = 16;
    const QSize panel = glyphPanel(glyph(false, dots), scale).size();
    QImage sheet(1024, 2 * (panel.height() + gap) + 2 * gap + 256, QImage::Format_ARGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    // Columns are the styles; the expanded state above the collapsed one.
    int column = 0;
    for (const QString& style : {chevron, dots, single}) {
        for (bool collapsed : {false, true}) {
            const QImage image = glyph(collapsed, style);
            const QString state =
                collapsed ? QStringLiteral("collapsed") : QStringLiteral("expanded");
            QVERIFY(
                image.save(folder.filePath(QStringLiteral("glyph-%1-%2.png").arg(style, state))));
            painter.drawImage(QPoint(gap + column * (panel.width() + gap),
                                     gap + collapsed * (panel.height() + gap)),
                              glyphPanel(image, scale));
        }
        ++column;
    }
    // The icon at small sizes, at 256, then 16 and 32 again with every pixel a block.
    QRect place(gap, 2 * (panel.height() + gap) + gap, 0, 0);
    for (auto [size, shown] :
         {std::pair{16, 16}, {32, 32}, {64, 64}, {256, 256}, {16, 256}, {32, 256}}) {
        place.setSize(QSize(shown, shown));
        painter.drawImage(place, AppIdentity::drawnIcon(size));
        place.translate(shown + gap, 0);
    }
    painter.end();
    QVERIFY(AppIdentity::drawnIcon(1024).save(folder.filePath(QStringLiteral("app-icon.png"))));
    QVERIFY(sheet.save(folder.filePath(QStringLiteral("graphics-contact-sheet.png"))));
}

QTEST_MAIN(TestGraphics)
#include "tst_graphics.moc"
