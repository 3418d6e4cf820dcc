#pragma once

#include <QAbstractButton>
#include <QList>
#include <QWidget>

class QLabel;
class QPushButton;

namespace tk {

class ImageView;
struct ViewContext;

// The top row: our icon and name, the hiding state and "Mostrar todo".
class HeaderBar final : public QWidget {
    Q_OBJECT

public:
    HeaderBar(const ViewContext& context, QWidget* parent = nullptr);
    void render();

private:
    const ViewContext& m_context;
    ImageView* m_icon;
    QLabel* m_state;
    QPushButton* m_showAll;
};

// One row of the section list: its whole rectangle takes clicks, and the chosen one lies on
// a rounded teal highlight.
class SectionRow final : public QAbstractButton {
    Q_OBJECT

public:
    explicit SectionRow(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // A title longer than the row wraps onto a second line.
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

// The column of the five section titles on the left.
class SectionList final : public QWidget {
    Q_OBJECT

public:
    SectionList(const ViewContext& context, QWidget* parent = nullptr);
    void render();
    const QList<SectionRow*>& rows() const { return m_rows; }

private:
    const ViewContext& m_context;
    QList<SectionRow*> m_rows;
};

// The bottom row: the status line, the "needs apply" line and "Aplicar y ocultar".
class FooterBar final : public QWidget {
    Q_OBJECT

public:
    FooterBar(const ViewContext& context, QWidget* parent = nullptr);
    void render();

    // The status line's Spanish text: the scan, else the store's notice, else the hiding
    // engine's message.
    static QString statusKey(bool scanning, const QString& notice, const QString& message);

protected:
    void changeEvent(QEvent* event) override;

private:
    const ViewContext& m_context;
    QLabel* m_status;
    QLabel* m_needsApply;
    QPushButton* m_apply;
};

} // namespace tk
