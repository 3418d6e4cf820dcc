#pragma once

#include "visibility/NativeVisibilityBridge.h"

namespace tk {

// The private menu-bar framework, loaded by path at run time and reached only through
// the Objective-C runtime, so that a system without it merely reports it unavailable.
// Holds no state: the loaded framework stays loaded for the life of the process.
class MacVisibilityBridge final : public NativeVisibilityBridge {
public:
    bool isAvailable() override;
    void activate(const QList<int>& allowedSystemItems, const QStringList& allowedBundleIdentifiers,
                  Completion completion) override;
    void invalidate(const NativeObjectPtr& object) override;
};

} // namespace tk
