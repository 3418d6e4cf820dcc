#include "ViewStyle.h"

#include "artwork/AppIdentity.h"

#include <QFont>
#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QPalette>
#include <QSizePolicy>
#include <QStyle>
#include <cmath>

namespace tk {

namespace ViewStyle {

namespace {

constexpr double bodySize = 13.0;
// Where the body text is small, the smallest styles would stop being readable.
constexpr double smallestPointSize = 8.0;
// White text still reads on an accent this dark or darker.
constexpr double whiteTextContrast = 3.0;
// A disabled prominent button: a grey step off the window, with a dimmed but legible title.
constexpr double disabledFillTint = 0.12;
constexpr double disabledTextFade = 0.45;
constexpr int pressedDarkening = 115;

struct Metrics {
    double size;
    QFont::Weight weight;
};

Metrics metrics(Text style)
{
    switch (style) {
    case Text::LargeTitle:
        return {26.0, QFont::Bold};
    case Text::Title2:
        return {17.0, QFont::Bold};
    case Text::Headline:
        return {13.0, QFont::DemiBold};
    case Text::Callout:
        return {12.0, QFont::Normal};
    case Text::Caption:
        return {10.0, QFont::Normal};
    case Text::Body:
        break;
    }
    return {bodySize, QFont::Normal};
}

} // namespace

QFont font(Text style)
{
    QFont scaled = QGuiApplication::font();
    const Metrics wanted = metrics(style);
    const double factor = wanted.size / bodySize;
    if (scaled.pointSizeF() > 0)
        scaled.setPointSizeF(qMax(smallestPointSize, scaled.pointSizeF() * factor));
    else
        scaled.setPixelSize(qMax(1, qRound(scaled.pixelSize() * factor)));
    scaled.setWeight(wanted.weight);
    return scaled;
}

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

// The Mac's system teal and orange; each mode has its own variant, brighter on dark.
QColor teal(const QPalette& palette)
{
    return isDark(palette) ? QColor(64, 200, 224) : QColor(48, 176, 199);
}

QColor orange(const QPalette& palette)
{
    return isDark(palette) ? QColor(255, 159, 10) : QColor(255, 149, 0);
}

QColor accent(const QPalette& palette)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return palette.color(QPalette::Active, QPalette::Accent);
#else
    return palette.color(QPalette::Active, QPalette::Highlight);
#endif
}

double contrast(const QColor& a, const QColor& b)
{
    const auto luminance = [](const QColor& colour) {
        const auto linear = [](double channel) {
            return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
        };
        const QColor rgb = colour.toRgb();
        return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) +
               0.0722 * linear(rgb.blueF());
    };
    const double first = luminance(a);
    const double second = luminance(b);
    return (qMax(first, second) + 0.05) / (qMin(first, second) + 0.05);
}

QColor textOn(const QColor& fill)
{
    const QColor white(Qt::white);
    const QColor black(Qt::black);
    if (contrast(white, fill) >= whiteTextContrast)
        return white;
    return contrast(black, fill) > contrast(white, fill) ? black : white;
}

QColor mixed(const QColor& base, const QColor& tint, double amount)
{
    const QColor from = base.toRgb();
    const QColor to = tint.toRgb();
    return QColor::fromRgbF(float(from.redF() + (to.redF() - from.redF()) * amount),
                            float(from.greenF() + (to.greenF() - from.greenF()) * amount),
                            float(from.blueF() + (to.blueF() - from.blueF()) * amount));
}

QString prominentButtonSheet(const QPalette& palette)
{
    const QColor fill = accent(palette);
    const QColor button = palette.color(QPalette::Active, QPalette::Button);
    const QColor title = palette.color(QPalette::Active, QPalette::ButtonText);
    return QStringLiteral("QPushButton { background-color: %1; color: %2; border: none;"
                          " border-radius: 6px; padding: 5px %3px; }"
                          " QPushButton:pressed { background-color: %4; }"
                          " QPushButton:disabled { background-color: %5; color: %6; }")
        .arg(fill.name(), textOn(fill).name())
        .arg(buttonPadding)
        .arg(fill.darker(pressedDarkening).name(), mixed(button, title, disabledFillTint).name(),
             mixed(title, button, disabledTextFade).name());
}

QLabel* text(Text style, QWidget* parent, bool secondary)
{
    auto* label = new QLabel(parent);
    label->setFont(font(style));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    // Wrapping text takes the column's width instead of asking for its own.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    label->setMinimumWidth(1);
    if (secondary)
        label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QLabel* sectionTitle(QWidget* parent)
{
    return text(Text::Title2, parent);
}

QImage appIcon(const std::function<QImage(int)>& bundleIcon, int pixels)
{
    return AppIdentity::icon(AppIdentity::defaultPixelSize, bundleIcon)
        .scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QFrame* divider(QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

QPushButton* button(QWidget* parent)
{
    auto* made = new PaddedButton(parent);
    made->setAutoDefault(false);
    return made;
}

} // namespace ViewStyle

QSize PaddedButton::sizeHint() const
{
    const QSize natural = QPushButton::sizeHint();
    const int frame = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, this);
    const int padded =
        fontMetrics().horizontalAdvance(text()) + 2 * (ViewStyle::buttonPadding + frame);
    return {qMax(natural.width(), padded), natural.height()};
}

QSize PaddedButton::minimumSizeHint() const
{
    return sizeHint();
}

} // namespace tk
