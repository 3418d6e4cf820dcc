#include "ViewStyle.h"

#include "app/AppIdentity.h"

#include <QFont>
#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QPixmap>
#include <QSizePolicy>

namespace tk {

namespace ViewStyle {

namespace {

constexpr double bodySize = 13.0;
// Where the body text is small, the smallest styles would stop being readable.
constexpr double smallestPointSize = 8.0;

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

// The system's teal and orange as the Mac shows them in light mode; both read well on dark
// backgrounds too.
QColor teal()
{
    return QColor(48, 176, 199);
}

QColor orange()
{
    return QColor(255, 149, 0);
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

QPixmap appIcon(const std::function<QImage(int)>& bundleIcon, int points)
{
    const qreal ratio = qMax<qreal>(1.0, qGuiApp->devicePixelRatio());
    const int pixels = qRound(points * ratio);
    QImage image = AppIdentity::icon(AppIdentity::defaultPixelSize, bundleIcon)
                       .scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(ratio);
    return QPixmap::fromImage(image);
}

QFrame* divider(QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

} // namespace ViewStyle

} // namespace tk
