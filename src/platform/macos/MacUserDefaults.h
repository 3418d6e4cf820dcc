#pragma once

#include "core/UserDefaults.h"

namespace tk {

// The application's standard user defaults (NSUserDefaults, the domain of the bundle
// identifier), where a Mac keeps an application's preferences and where earlier versions
// left their keys. Values are translated type for type; anything else reads as absent.
class MacUserDefaults final : public UserDefaults {
protected:
    QVariant load(const QString& key) const override;
    void store(const QString& key, const QVariant& value) override;
};

} // namespace tk
