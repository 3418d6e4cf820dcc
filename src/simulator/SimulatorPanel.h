#pragma once

#include "platform/sim/SimScenario.h"

#include <QStringList>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace tk {

class AppDelegate;

class SimDesktop;
class SimPlatform;

// What a person may do to the simulated desktop around Tuckaway: launch and quit other
// applications (and start again those that quit), grant or withdraw the Accessibility
// permission, make the visibility framework absent, failing or silent, switch Tuckaway's
// login item on or off in System Settings; and what the system does around it: press the
// global shortcut, put the screens to sleep, change the screens (to a list the scenario
// names, or none), re-open the application, start a second copy of it. It also shows what
// Tuckaway says (tooltip, status, notice) and the simulator's own messages, all in the
// interface language.
class SimulatorPanel final : public QWidget {
    Q_OBJECT

public:
    enum class FrameworkMode { Answers, Absent, Fails, Throws, Silent };
    static constexpr int maximumLaunch = 50; // applications launched at once

    SimulatorPanel(SimPlatform& platform, AppDelegate& app, QWidget* parent = nullptr);
    ~SimulatorPanel() override;

    // The applications the panel always offers to launch.
    static QList<SimApplication> catalogue();
    // What its list offers: the catalogue, then the applications that quit and that the
    // catalogue leaves out, to be started again.
    QList<SimApplication> launchables() const;
    // One extras menu-bar item that answers a press.
    static SimElement menuBarItem(const QString& title, const QString& description, double width);
    // The framework behaviour of a mode, keeping what the scenario says about its answers.
    static SimFrameworkBehaviour behaviourFor(FrameworkMode mode, SimFrameworkBehaviour behaviour);
    // The mode whose list entry stands for `behaviour`.
    static FrameworkMode modeOf(const SimFrameworkBehaviour& behaviour);
    // "present", "absent", "error", "exception" or "silent"; anything else: present.
    static FrameworkMode frameworkModeNamed(const QString& name);

    // What the panel's controls do.
    void launch(int launchableIndex, int count);
    // The application becomes the frontmost one, whose menus the bar shows.
    void bringToFront(qint32 pid);
    void quitApplication(qint32 pid);
    void setAccessibilityGranted(bool granted);
    void setFrameworkMode(FrameworkMode mode);
    void bringIconBack();
    void pressShortcut();
    void sleepScreens();
    // The screens change to the list the scenario gives that name, to none for "none", or
    // back to the scenario's first screens for an empty name; the system says so.
    void changeScreens(const QString& name);
    void reopen();
    void launchSecondCopy();
    // The person switches Tuckaway on or off in System Settings (General, Login Items).
    void setLoginItemSwitchedOn(bool on);

    // A Spanish text with %1… placeholders, shown translated until the next message.
    void showMessage(const QString& spanish, const QStringList& arguments = {});
    QString message() const; // as shown
    // Items of the primary bar beyond the screen's edge, and whether Tuckaway's is among them.
    void setOverflow(int offScreenItems, bool iconOffScreen);
    QString overflowWarning() const; // as shown; empty when everything fits

    void retranslate();

private:
    QWidget* buildApplications();
    QWidget* buildPermissions();
    QWidget* buildTuckaway();
    QWidget* buildSystem();
    QWidget* buildLoginItems();
    void refreshApplications();
    void refreshLaunchables();
    void refreshTrust();
    void refreshStatus();
    void retranslateSystem();
    void refreshLoginItems();
    QString text(const QString& spanish) const;
    SimApplication launchable(int launchableIndex) const;

    SimPlatform& m_platform;
    SimDesktop& m_desktop;
    QList<SimScreen> m_firstScreens; // as the scenario starts
    AppDelegate& m_app;
    QString m_message;
    QStringList m_messageArguments;
    int m_offScreenItems = 0;
    bool m_iconOffScreen = false;

    QGroupBox* m_applicationsBox = nullptr;
    QListWidget* m_applications = nullptr;
    QPushButton* m_quit = nullptr;
    QPushButton* m_front = nullptr; // the chosen application becomes the frontmost one
    QComboBox* m_catalogue = nullptr;
    QSpinBox* m_count = nullptr;
    QPushButton* m_launch = nullptr;
    QGroupBox* m_accessibilityBox = nullptr;
    QCheckBox* m_trusted = nullptr;
    QGroupBox* m_frameworkBox = nullptr;
    QComboBox* m_framework = nullptr;
    QGroupBox* m_tuckawayBox = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_gestures = nullptr;
    QPushButton* m_bringBack = nullptr;
    QGroupBox* m_systemBox = nullptr;
    QComboBox* m_screens = nullptr;
    QGroupBox* m_loginItemsBox = nullptr;
    QCheckBox* m_loginItemOn = nullptr;
    QLabel* m_loginItemStatus = nullptr;
    QList<QPushButton*> m_systemButtons;
    QLabel* m_warning = nullptr;
    QLabel* m_messageLabel = nullptr;
};

} // namespace tk
