#pragma once

#include <QImage>
#include <QString>
#include <optional>

class QColor;

namespace tk {

// The status item's picture: black on transparent, meant to be tinted by whoever shows it.
struct GlyphImage {
    QImage image;           // its device pixel ratio says how many pixels make one point
    bool isTemplate = true; // the menu bar recolours it for light, dark and highlighted states
    QString accessibilityDescription;
};

// Draws the glyph of the status item for a hiding state and a symbol style.
namespace StatusGlyph {

inline constexpr qreal widthInPoints = 24;
inline constexpr qreal heightInPoints = 18;
inline constexpr qreal defaultDevicePixelRatio = 2;

inline const QString dotsChevronStyle = QStringLiteral("dotsChevron");
inline const QString dotsStyle = QStringLiteral("dots");
inline const QString singleStyle = QStringLiteral("single");

// The Spanish key of the image's accessibility description.
QString accessibilityKey(bool collapsed);
QString accessibilityDescription(bool collapsed,
                                 const std::optional<QString>& language = std::nullopt);

// A new image of 24 × 18 points. A ratio that is not positive draws at ratio 1; an unknown
// style draws like "dots". The description is in `language`, or in the interface language
// when none is given.
GlyphImage make(bool collapsed, const QString& style,
                qreal devicePixelRatio = defaultDevicePixelRatio,
                const std::optional<QString>& language = std::nullopt);

// Where nothing tints template images for us: the same shape in `color`, same alpha.
QImage tinted(const QImage& glyph, const QColor& color);

} // namespace StatusGlyph

} // namespace tk
