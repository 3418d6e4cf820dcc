#pragma once

namespace tk {

// The system's own privacy settings, where a person grants this copy access.
class PrivacySettings {
public:
    virtual ~PrivacySettings() = default;

    // Brings up the Accessibility list of the privacy settings. Does nothing when the
    // system cannot show it.
    virtual void openAccessibilityPane() = 0;
};

} // namespace tk
