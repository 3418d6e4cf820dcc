#pragma once

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
struct SimApplication;

// What a person may do to the simulated desktop around Tuckaway: launch and quit other
// applications, grant or withdraw the Accessibility permission, make the visibility framework
// absent, failing or silent. It also shows what Tuckaway says (tooltip, status, notice) and
// the simulator's own messages, all in the interface language.
class SimulatorPanel final : public QWidget {
    Q_OBJECT

public:
    enum class FrameworkMode { Answers, Absent, Fails, Throws, Silent };
    static constexpr int maximumLaunch = 50; // applications launched at once

    SimulatorPanel(SimDesktop& desktop, AppDelegate& app, QWidget* parent = nullptr);
    ~SimulatorPanel() override;

    // The applications the panel can launch, in the order of its list.
    static QList<SimApplication> catalogue();

    // What the panel's controls do.
    void launch(int catalogueIndex, int count);
    void quitApplication(qint32 pid);
    void setAccessibilityGranted(bool granted);
    void setFrameworkMode(FrameworkMode mode);
    void bringIconBack();

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
    void refreshApplications();
    void refreshTrust();
    void refreshStatus();
    QString text(const QString& spanish) const;
    SimApplication launchable(int catalogueIndex) const;

    SimDesktop& m_desktop;
    AppDelegate& m_app;
    QString m_message;
    QStringList m_messageArguments;
    int m_offScreenItems = 0;
    bool m_iconOffScreen = false;

    QGroupBox* m_applicationsBox = nullptr;
    QListWidget* m_applications = nullptr;
    QPushButton* m_quit = nullptr;
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
    QLabel* m_warning = nullptr;
    QLabel* m_messageLabel = nullptr;
};

} // namespace tk
