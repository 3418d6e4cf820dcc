#include "AppIdentity.h"

#include <QDir>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QSaveFile>
#include <QtMath>
#include <cmath>
#include <numbers>

namespace tk {

namespace {

// Drawn on the system's icon grid: a 1024-unit canvas with the tile inset by 100 units,
// so that it sits among other applications' icons at the same visual weight.
constexpr qreal gridSize = 1024;
const QRectF tileRect(100, 100, 824, 824);

const QColor tileTop(0x52, 0xE2, 0xD3);
const QColor tileBottom(0x0D, 0xA0, 0x9E);
const QColor dotShade(0x00, 0x4F, 0x4D, 70);

constexpr qreal dotCentreY = 512;
constexpr qreal dotDiameter = 156;
constexpr qreal dotSpacing = 220;

// Small renderings lose the shadows and fine light to blur, so they leave them out.
constexpr int smallestShadedSize = 64;

const QString errorDomain = QStringLiteral("AppIdentity");

// A superellipse: its corners ease into the edges the way the system's tiles do, where a
// circular arc would meet them with a visible kink.
QPainterPath continuousTile(const QRectF& rect)
{
    constexpr int steps = 720;
    constexpr qreal exponent = 5;
    const auto ease = [](qreal v) { return std::copysign(qPow(qAbs(v), 2 / exponent), v); };
    QPainterPath path;
    for (int i = 0; i < steps; ++i) {
        const qreal angle = 2 * std::numbers::pi * i / steps;
        const QPointF point(rect.center().x() + rect.width() / 2 * ease(qCos(angle)),
                            rect.center().y() + rect.height() / 2 * ease(qSin(angle)));
        if (i == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    path.closeSubpath();
    return path;
}

// A soft drop shadow: the tile drawn tiny and stretched back, which blurs its edge.
void drawTileShadow(QPainter& painter, const QPainterPath& tile)
{
    constexpr int blurGrid = 64;
    QImage shadow(blurGrid, blurGrid, QImage::Format_ARGB32_Premultiplied);
    shadow.fill(Qt::transparent);
    {
        QPainter shadowPainter(&shadow);
        shadowPainter.setRenderHint(QPainter::Antialiasing);
        shadowPainter.scale(blurGrid / gridSize, blurGrid / gridSize);
        shadowPainter.fillPath(tile, QColor(0, 0, 0, 90));
    }
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(0, 14, gridSize, gridSize), shadow);
    painter.restore();
}

void fillTile(QPainter& painter, const QPainterPath& tile, bool shaded)
{
    QLinearGradient body(tileRect.topLeft(), tileRect.bottomLeft());
    body.setColorAt(0, tileTop);
    body.setColorAt(1, tileBottom);
    painter.fillPath(tile, body);
    if (!shaded)
        return;
    // Light catching the upper rim.
    QLinearGradient rim(tileRect.topLeft(), tileRect.bottomLeft());
    rim.setColorAt(0, QColor(255, 255, 255, 150));
    rim.setColorAt(0.5, QColor(255, 255, 255, 0));
    painter.strokePath(continuousTile(tileRect.adjusted(3, 3, -3, -3)), QPen(QBrush(rim), 6));
}

// Three dots, the first one fading: the group that steps out of the way.
void drawDots(QPainter& painter, int pixelSize, bool shaded)
{
    // Whole pixels keep small renderings crisp: even diameters and whole-pixel spacing put
    // every dot's edge on a pixel boundary around the canvas's centre. A dot two pixels wide
    // is a square on the pixel grid; drawn round it would only come out grey.
    const qreal scale = pixelSize / gridSize;
    const int diameterInPixels = 2 * qMax(1, qRound(dotDiameter * scale / 2));
    const qreal diameter = diameterInPixels / scale;
    const qreal spacing = qCeil(dotSpacing * scale) / scale;
    const auto drawDot = [&](const QRectF& dot) {
        if (diameterInPixels <= 2)
            painter.drawRect(dot);
        else
            painter.drawEllipse(dot);
    };
    const qreal fadedAlpha = shaded ? 0.55 : 0.7;
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 3; ++i) {
        const QRectF dot(0, 0, diameter, diameter);
        const QPointF centre(gridSize / 2 + (i - 1) * spacing, dotCentreY);
        const bool faded = i == 0;
        // A shade under a see-through dot would show through it.
        if (shaded && !faded) {
            painter.setBrush(dotShade);
            drawDot(dot.translated(centre - dot.center() + QPointF(0, 10)));
        }
        painter.setBrush(QColor::fromRgbF(1, 1, 1, faded ? fadedAlpha : 1));
        drawDot(dot.translated(centre - dot.center()));
    }
}

} // namespace

namespace AppIdentity {

QImage drawnIcon(int pixelSize)
{
    if (pixelSize < 1)
        return {};
    QImage image(pixelSize, pixelSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const bool shaded = pixelSize >= smallestShadedSize;
    const QPainterPath tile = continuousTile(tileRect);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixelSize / gridSize, pixelSize / gridSize);
    if (shaded)
        drawTileShadow(painter, tile);
    fillTile(painter, tile, shaded);
    drawDots(painter, pixelSize, shaded);
    return image;
}

QImage icon(int pixelSize, const BundleIconLoader& bundleIcon)
{
    if (pixelSize < 1)
        return {};
    if (bundleIcon) {
        const QImage shipped = bundleIcon(pixelSize);
        if (!shipped.isNull())
            return shipped.size() == QSize(pixelSize, pixelSize)
                       ? shipped
                       : shipped.scaled(pixelSize, pixelSize, Qt::IgnoreAspectRatio,
                                        Qt::SmoothTransformation);
    }
    return drawnIcon(pixelSize);
}

QList<IconSetEntry> iconSetEntries()
{
    QList<IconSetEntry> entries;
    for (int points : {16, 32, 128, 256, 512}) {
        const QString base = QStringLiteral("icon_%1x%1").arg(points);
        entries.append({base + QStringLiteral(".png"), points});
        entries.append({base + QStringLiteral("@2x.png"), points * 2});
    }
    return entries;
}

Result<QStringList> writeIconSet(const QString& directory)
{
    const QDir folder(directory);
    if (!folder.mkpath(QStringLiteral(".")))
        return Error{errorDomain, 1,
                     QStringLiteral("Cannot create the folder %1")
                         .arg(QDir::toNativeSeparators(folder.absolutePath()))};
    QStringList written;
    for (const IconSetEntry& entry : iconSetEntries()) {
        const QString path = folder.absoluteFilePath(entry.fileName);
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || !drawnIcon(entry.pixelSize).save(&file, "PNG") ||
            !file.commit())
            return Error{errorDomain, 2,
                         QStringLiteral("Cannot write %1: %2")
                             .arg(QDir::toNativeSeparators(path), file.errorString())};
        written.append(path);
    }
    return written;
}

} // namespace AppIdentity

} // namespace tk
