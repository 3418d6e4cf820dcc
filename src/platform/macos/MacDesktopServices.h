#pragma once

#include "app/DesktopServices.h"

namespace tk {

// The Mac's screens, pointer, running applications, workspace notifications, activation and
// status bar. Objective-C stays in the implementation file.
class MacDesktopServices final : public DesktopServices {
public:
    explicit MacDesktopServices(QObject* parent = nullptr);
    ~MacDesktopServices() override;

    void becomeAccessory() override;
    void activateApplication(qint32 pid) override;
    void activateIgnoringOtherApps() override;
    QList<ScreenInfo> screens() const override;
    std::optional<ScreenInfo> mainScreen() const override;
    QPointF pointerPosition() const override;
    bool isAnyMouseButtonPressed() const override;
    bool isOtherMenuOpen() const override;
    std::unique_ptr<StatusItem> createStatusItem(double length,
                                                 const QString& autosaveName) override;
    void bringToFront(QWidget& window) override;
    Rect windowFrame(const QWidget& window) const override;
    void setWindowFrameOrigin(QWidget& window, const QPointF& origin) override;
    void prepareSettingsWindow(QWidget& window) override;
    QString applicationPath() const override;
    QImage bundleIcon(int pixelSize) const override;
    QImage applicationIcon(qint32 pid, int pixelSize) const override;
    QString bundleVersion() const override;

private:
    void observeRunningApplications();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
