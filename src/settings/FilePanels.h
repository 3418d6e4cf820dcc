#pragma once

#include <QString>

#include <optional>

namespace tk {

// Modal file panels. Each returns the chosen location, or nothing when the person
// cancels.
class FilePanels {
public:
    virtual ~FilePanels() = default;
    virtual std::optional<QString> chooseSaveLocation(const QString& proposedName) = 0;
    // Files only, one at a time.
    virtual std::optional<QString> chooseFileToOpen() = 0;
    // A warning before a save, with a button to go on and one to stop; whether the person
    // chose to go on.
    virtual bool warnBeforeSaving(const QString& message, const QString& proceed,
                                  const QString& cancel) = 0;
};

} // namespace tk
