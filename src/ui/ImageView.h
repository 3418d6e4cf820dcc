#pragma once

#include <QImage>
#include <QWidget>
#include <functional>

namespace tk {

// A picture laid out in points and drawn at the pixel ratio of whatever it is painted on:
// a move to a sharper or coarser screen draws it again at the new ratio instead of
// stretching the old pixels.
class ImageView final : public QWidget {
    Q_OBJECT

public:
    // Draws the picture at a device pixel ratio: the view's size in points times the ratio,
    // in pixels.
    using Source = std::function<QImage(qreal devicePixelRatio)>;

    explicit ImageView(QSize points, QWidget* parent = nullptr);

    // A new picture; what was drawn before is dropped.
    void setSource(Source source);
    // Shifts the picture left past the transparent margin on its left, so that its visible
    // edge, not the edge of its canvas, lines up with what stands below it.
    void setAlignsVisibleEdge(bool aligns);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Drawing {
        QImage image;    // at the ratio it carries
        qreal inset = 0; // its transparent margin on the left, in points
    };

    const Drawing& rendered(qreal ratio) const;

    QSize m_points;
    Source m_source;
    bool m_alignsVisibleEdge = false;
    mutable Drawing m_drawing; // the last one
};

} // namespace tk
