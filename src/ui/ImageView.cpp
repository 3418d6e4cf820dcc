#include "ImageView.h"

#include <QEvent>
#include <QPainter>
#include <QtMath>

namespace tk {

namespace {

// A faint shadow around a tile is not its edge.
constexpr int visibleAlpha = 128;

// The number of columns on the left of `image` in which nothing is visible.
int transparentColumns(const QImage& image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    for (int x = 0; x < argb.width(); ++x) {
        for (int y = 0; y < argb.height(); ++y) {
            if (qAlpha(argb.pixel(x, y)) >= visibleAlpha)
                return x;
        }
    }
    return 0;
}

} // namespace

ImageView::ImageView(QSize points, QWidget* parent) : QWidget(parent), m_points(points)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ImageView::setSource(Source source)
{
    m_source = std::move(source);
    m_drawing = {};
    updateGeometry();
    update();
}

void ImageView::setAlignsVisibleEdge(bool aligns)
{
    m_alignsVisibleEdge = aligns;
    m_drawing = {};
    updateGeometry();
}

QSize ImageView::sizeHint() const
{
    return m_points - QSize(qFloor(rendered(devicePixelRatioF()).inset), 0);
}

const ImageView::Drawing& ImageView::rendered(qreal ratio) const
{
    ratio = qMax<qreal>(1.0, ratio);
    const QImage& last = m_drawing.image;
    if (!m_source || (!last.isNull() && qFuzzyCompare(last.devicePixelRatio(), ratio)))
        return m_drawing;
    QImage image = m_source(ratio);
    image.setDevicePixelRatio(ratio);
    const qreal inset = m_alignsVisibleEdge ? transparentColumns(image) / ratio : 0;
    m_drawing = {std::move(image), inset};
    return m_drawing;
}

// Drawn at the ratio of the device painted on: the screen's backing store, or a picture
// taken of the window at any ratio.
void ImageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const Drawing& drawing = rendered(painter.device()->devicePixelRatioF());
    if (drawing.image.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(QPointF(-qFloor(drawing.inset), 0), QSizeF(m_points)), drawing.image);
}

bool ImageView::event(QEvent* event)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    if (event->type() == QEvent::DevicePixelRatioChange) {
        updateGeometry();
        update();
    }
#endif
    return QWidget::event(event);
}

} // namespace tk
