#pragma once

#include "settings/FilePanels.h"

namespace tk {

// Modal QFileDialog panels (native panels where the platform has them).
class QtFilePanels final : public FilePanels {
public:
    std::optional<QString> chooseSaveLocation(const QString& proposedName) override;
    std::optional<QString> chooseFileToOpen() override;
    // An alert (the system's own on macOS).
    bool warnBeforeSaving(const QString& message, const QString& proceed,
                          const QString& cancel) override;
};

} // namespace tk
