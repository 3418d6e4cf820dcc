#pragma once

#include "ui/ViewContext.h"

class QHBoxLayout;
class QLabel;

namespace tk {

class ChoicePicker;
class ImageView;

// The status item's symbol, with a live preview of both of its states.
class AppearanceSection final : public SectionView {
    Q_OBJECT

public:
    explicit AppearanceSection(const ViewContext& context, QWidget* parent = nullptr);
    ~AppearanceSection() override;
    void render() override;

private:
    struct Preview {
        ImageView* image;
        QLabel* caption;
    };

    QWidget* buildPreview();
    Preview buildPreviewColumn(QWidget* box, QHBoxLayout* row, const QString& name);
    void renderPreview(const Preview& preview, bool collapsed);

    QLabel* m_title;
    QLabel* m_identity;
    ChoicePicker* m_symbol;
    Preview m_expanded;
    Preview m_collapsed;
    QLabel* m_note;
};

// A rounded box on the control background colour.
class PreviewBox final : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tk
