#pragma once

#include <QMenu>
#include <QPointer>
#include <QWidget>
#include <vector>

class QScrollArea;

namespace tk {

class AppDelegate;
struct MenuEntry;

class SimMenuBarView;
class SimPlatform;
class SimulatorPanel;

// The simulated desktop on a real display: the menu bar of every simulated screen with
// Tuckaway's icon in it, and a side panel that changes the desktop around the application.
// The status item's menu opens under the icon, built from the entries the application gave.
// Closing the window quits the application the way its own menu does.
class SimulatorWindow final : public QWidget {
    Q_OBJECT

public:
    static inline const QString titleKey = QStringLiteral("Tuckaway · escritorio simulado");

    // Built after the application's launch, when its status item exists.
    SimulatorWindow(SimPlatform& platform, AppDelegate& app, QWidget* parent = nullptr);
    ~SimulatorWindow() override;

    SimMenuBarView& menuBarView() const { return *m_view; }
    SimulatorPanel& panel() const { return *m_panel; }
    // The status item's menu while it is shown.
    QMenu* openMenu() const { return m_menu; }

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void addMenuEntries(QMenu& menu, const std::vector<MenuEntry>& entries,
                        const QList<int>& path);
    void showStatusItemMenu();
    void menuClosed(int menuCount, QMenu* menu);
    void sceneChanged();
    void retranslate();

    SimPlatform& m_platform;
    AppDelegate& m_app;
    QScrollArea* m_scroll = nullptr;
    SimMenuBarView* m_view = nullptr;
    SimulatorPanel* m_panel = nullptr;
    QPointer<QMenu> m_menu;
};

} // namespace tk
