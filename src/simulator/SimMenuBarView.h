#pragma once

#include "simulator/SimMenuBarScene.h"

#include <QPointer>
#include <QWidget>
#include <optional>

namespace tk {

class SimDesktop;
class SimDesktopServices;
class SimStatusItem;

// The simulated menu bars on screen. The real mouse over it is the simulated pointer and
// mouse buttons; on Tuckaway's icon, a mouse-up is the status item's click (Alt stands for
// Option), and a Ctrl-drag (where there is no ⌘ key) moves the icon along the bar. Outside
// every drawn screen the pointer rests in the middle of the primary screen, away from every
// menu-bar band and icon.
class SimMenuBarView final : public QWidget {
    Q_OBJECT

public:
    static constexpr double minimumScale = 0.5;

    SimMenuBarView(SimDesktop& desktop, SimDesktopServices& services, QWidget* parent = nullptr);
    ~SimMenuBarView() override;

    const SimMenuBarScene& scene() const { return m_scene; }
    // The largest scale up to 1 at which the primary screen fits `pixels`; again whenever the
    // screens change.
    void fitWidth(int pixels);
    void setLanguage(const QString& language);
    // The status item's menu is open: its icon stays highlighted.
    void setMenuOpen(bool open);
    // Where the status item's menu opens: under the icon's left edge, in global coordinates.
    std::optional<QPoint> menuAnchor() const;

Q_SIGNALS:
    // A drop the bar does not take; the icon went back to its place. A Spanish text.
    void dropRefused(const QString& reason);
    void sceneChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Press {
        Qt::MouseButton button = Qt::NoButton;
        QPointF at;
        bool onIcon = false;
        bool commandDrag = false;
    };

    void rebuild();
    SimStatusItem* statusItem() const;
    bool onIcon(QPointF pos) const;
    void movePointer(QPointF pos);
    void pointerAway();
    void deliverClick(const QMouseEvent& event);
    void drop(QPointF pos);

    SimDesktop& m_desktop;
    SimDesktopServices& m_services;
    QPointer<SimStatusItem> m_connectedItem;
    SimMenuBarScene m_scene;
    double m_scale = 1.0;
    std::optional<int> m_fitPixels;
    QString m_language;
    std::optional<Press> m_press;
    std::optional<QPointF> m_dragAt;
    bool m_menuOpen = false;
};

} // namespace tk
