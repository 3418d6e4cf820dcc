#pragma once

#include <QColor>
#include <QPushButton>
#include <QString>
#include <functional>

class QFont;
class QFrame;
class QImage;
class QLabel;
class QPalette;
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
// Between a button's title and its bezel, as on the prominent "Aplicar y ocultar".
inline constexpr int buttonPadding = 14;

QFont font(Text style);

// Whether a palette is a dark one: light text on a dark window.
bool isDark(const QPalette& palette);
// The system's teal and orange in the variant that suits `palette`, light or dark.
QColor teal(const QPalette& palette);
QColor orange(const QPalette& palette);
// The person's accent colour, as the palette carries it.
QColor accent(const QPalette& palette);
// How far apart two colours read, from 1 (the same) to 21 (black on white), by their
// relative luminance.
double contrast(const QColor& a, const QColor& b);
// White or black, whichever reads on `fill`; white where both would do.
QColor textOn(const QColor& fill);
// `base` moved towards `tint` by `amount`, from 0 (base) to 1 (tint).
QColor mixed(const QColor& base, const QColor& tint, double amount);
// The look of the prominent, accent-filled button, in the colours of `palette`.
QString prominentButtonSheet(const QPalette& palette);

// A word-wrapped text that does not widen its column, in `style`; a secondary one takes
// the palette's dimmed text colour.
QLabel* text(Text style, QWidget* parent, bool secondary = false);
// A bold title 2 line at the head of a section.
QLabel* sectionTitle(QWidget* parent);
// Our icon at `pixels` × `pixels`, scaled smoothly: the bundle's own icon when `bundleIcon`
// finds one, otherwise the drawn one.
QImage appIcon(const std::function<QImage(int)>& bundleIcon, int pixels);
// A thin horizontal line between groups of controls.
QFrame* divider(QWidget* parent);
// A push button with room on both sides of its title.
QPushButton* button(QWidget* parent);

} // namespace ViewStyle

// A push button never narrower than its title plus the padding of the prominent button, so
// that a long title does not run into the bezel.
class PaddedButton final : public QPushButton {
    Q_OBJECT

public:
    using QPushButton::QPushButton;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};

} // namespace tk
