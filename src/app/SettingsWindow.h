#pragma once

#include <QString>
#include <QWidget>

namespace tk {

// Tuckaway's one window. Closing only hides it: the same window, with the settings view
// it hosts and that view's state, is shown again at the next opening.
class SettingsWindow final : public QWidget {
    Q_OBJECT

public:
    static inline const QString titleKey = QStringLiteral("Configuración de Tuckaway");
    static constexpr QSize contentSize{860, 620};
    static constexpr QSize minimumContentSize{820, 560};

    // Hosts `content`, whose own ideal and minimum sizes do not drive the window's.
    explicit SettingsWindow(QWidget* content, QWidget* parent = nullptr);
    ~SettingsWindow() override;

    QWidget* content() const { return m_content; }

    // Lays the content out now, so that the window has its final size.
    void layOutContent();

Q_SIGNALS:
    void closing();
    void moved();
    void resized();

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* m_content;
};

} // namespace tk
