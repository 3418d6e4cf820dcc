#pragma once

#include <QColor>
#include <QString>
#include <functional>

class QFont;
class QFrame;
class QImage;
class QLabel;
class QPixmap;
class QWidget;

namespace tk {

// The text styles and colours of the settings view, scaled from the body font so that they
// keep their proportions on every platform (13-point body text on macOS).
namespace ViewStyle {

enum class Text { Body, LargeTitle, Title2, Headline, Callout, Caption };

inline constexpr int sectionListWidth = 180;
inline constexpr int rowSpacing = 8; // between the buttons of a row
inline constexpr int headerIconSize = 36;
inline constexpr int aboutIconSize = 96;
inline constexpr double highlightOpacity = 0.16;

QFont font(Text style);
QColor teal();
QColor orange();

// A word-wrapped text that does not widen its column, in `style`; a secondary one takes
// the palette's dimmed text colour.
QLabel* text(Text style, QWidget* parent, bool secondary = false);
// A bold title 2 line at the head of a section.
QLabel* sectionTitle(QWidget* parent);
// Our icon at `points` × `points`, drawn at the sharpest ratio of the screens and scaled
// smoothly: the bundle's own icon when `bundleIcon` finds one, otherwise the drawn one.
QPixmap appIcon(const std::function<QImage(int)>& bundleIcon, int points);
// A thin horizontal line between groups of controls.
QFrame* divider(QWidget* parent);

} // namespace ViewStyle

} // namespace tk
