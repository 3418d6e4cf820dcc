#include "StatusGlyph.h"

#include "l10n/L10n.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>
#include <span>

namespace tk {

namespace {

constexpr qreal dotDiameter = 3.3;
constexpr qreal dotCentreY = 9;
constexpr qreal chevronLineWidth = 1.7;

constexpr qreal threeDots[] = {5, 12, 19};
constexpr qreal oneDot[] = {12};
constexpr qreal dotsAfterChevron[] = {13, 20};

struct Layout {
    bool chevron = false;
    std::span<const qreal> dots;
};

Layout layoutFor(bool collapsed, const QString& style)
{
    if (style == StatusGlyph::singleStyle)
        return {false, oneDot};
    if (collapsed && style == StatusGlyph::dotsChevronStyle)
        return {true, dotsAfterChevron};
    return {false, threeDots};
}

void strokeChevron(QPainter& painter)
{
    QPainterPath tipLeft;
    tipLeft.moveTo(7, 13);
    tipLeft.lineTo(3, 9);
    tipLeft.lineTo(7, 5);
    painter.strokePath(
        tipLeft, QPen(Qt::black, chevronLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void fillDots(QPainter& painter, std::span<const qreal> centres)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    const qreal radius = dotDiameter / 2;
    for (qreal x : centres)
        painter.drawEllipse(QRectF(x - radius, dotCentreY - radius, dotDiameter, dotDiameter));
}

QImage transparentCanvas(qreal ratio)
{
    QImage image(qCeil(StatusGlyph::widthInPoints * ratio),
                 qCeil(StatusGlyph::heightInPoints * ratio), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

namespace StatusGlyph {

QString accessibilityKey(bool collapsed)
{
    return collapsed ? QStringLiteral("Mostrar iconos ocultos")
                     : QStringLiteral("Ocultar grupo izquierdo");
}

QString accessibilityDescription(bool collapsed, const std::optional<QString>& language)
{
    return L10n::text(accessibilityKey(collapsed), language);
}

GlyphImage make(bool collapsed, const QString& style, qreal devicePixelRatio,
                const std::optional<QString>& language)
{
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    QImage image = transparentCanvas(ratio);
    const Layout layout = layoutFor(collapsed, style);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        // The geometry is in points with the origin at the bottom-left corner.
        painter.setTransform(QTransform(1, 0, 0, -1, 0, heightInPoints), true);
        if (layout.chevron)
            strokeChevron(painter);
        fillDots(painter, layout.dots);
    }
    return {image, true, accessibilityDescription(collapsed, language)};
}

QImage tinted(const QImage& glyph, const QColor& color)
{
    QImage result = glyph.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(QPointF(0, 0), result.deviceIndependentSize()), color);
    return result;
}

} // namespace StatusGlyph

} // namespace tk
