#pragma once

#include "ui/PrivacySettings.h"

// System Settings' Privacy & Security, opened through the workspace.
class MacPrivacySettings final : public PrivacySettings {
public:
    void openAccessibilityPane() override;
};
