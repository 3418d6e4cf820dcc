#pragma once

#include "ui/PrivacySettings.h"

#include <QObject>

namespace tk {

class SimDesktop;

// The simulated system's privacy settings: opening them asks whoever draws the simulated
// desktop to show the Accessibility switch for this copy, which grants or withdraws trust.
class SimPrivacySettings final : public QObject, public PrivacySettings {
    Q_OBJECT

public:
    explicit SimPrivacySettings(SimDesktop& desktop, QObject* parent = nullptr);

    void openAccessibilityPane() override;
    int accessibilityPaneRequests() const { return m_requests; }

    // The switch in the Accessibility list, as a person would flip it.
    bool isAccessibilityAllowed() const;
    void setAccessibilityAllowed(bool allowed);

Q_SIGNALS:
    void accessibilityPaneRequested();

private:
    SimDesktop& m_desktop;
    int m_requests = 0;
};

} // namespace tk
