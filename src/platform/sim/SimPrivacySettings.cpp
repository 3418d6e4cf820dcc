#include "SimPrivacySettings.h"

#include "platform/sim/SimDesktop.h"

namespace tk {

SimPrivacySettings::SimPrivacySettings(SimDesktop& desktop, QObject* parent)
    : QObject(parent), m_desktop(desktop)
{
}

void SimPrivacySettings::openAccessibilityPane()
{
    ++m_requests;
    Q_EMIT accessibilityPaneRequested();
}

bool SimPrivacySettings::isAccessibilityAllowed() const
{
    return m_desktop.isTrusted();
}

void SimPrivacySettings::setAccessibilityAllowed(bool allowed)
{
    m_desktop.setTrusted(allowed);
}

} // namespace tk
