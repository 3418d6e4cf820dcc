#pragma once

#include "ui/PrivacySettings.h"

namespace tk {

// System Settings' Privacy & Security, opened through the workspace.
class MacPrivacySettings final : public PrivacySettings {
public:
    void openAccessibilityPane() override;
};

} // namespace tk
