#pragma once

#include "core/Result.h"

#include <QList>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

namespace tk {

// An object that came from the visibility framework. Callers never look inside: they
// keep it and hand it back for invalidation. Any such object may be handed back, an
// assertion or not; only assertions react.
class NativeObject {
public:
    virtual ~NativeObject() = default;
};
using NativeObjectPtr = std::shared_ptr<NativeObject>;

// The system service that hides other applications' menu-bar items while an
// assertion naming the ones allowed to stay is in force. Every operation runs on the
// main thread.
class NativeVisibilityBridge {
public:
    // Exactly one of the two is present: the activated assertion, or why there is none.
    using Completion = std::function<void(NativeObjectPtr assertion, std::optional<Error> error)>;

    static inline const QString errorDomain = QStringLiteral("TKNativeVisibility");
    static inline const QString unavailableDescription =
        QStringLiteral("MenuBarClientCore is unavailable on this macOS");
    static inline const QString creationFailedDescription =
        QStringLiteral("Could not create the visibility configuration");

    virtual ~NativeVisibilityBridge() = default;

    // Whether the framework can be loaded and offers everything activation and
    // invalidation need. Asked afresh on every call.
    virtual bool isAvailable() = 0;

    // Asks for an assertion that keeps only the listed system items and applications
    // visible. `completion` is called exactly once if the framework answers, always on
    // a later turn of the main thread, never from inside this call.
    virtual void activate(const QList<int>& allowedSystemItems,
                          const QStringList& allowedBundleIdentifiers, Completion completion) = 0;

    // Ends an assertion. Anything else, null included, is left alone; a failure inside
    // the framework is logged and goes no further.
    virtual void invalidate(const NativeObjectPtr& object) = 0;

    // The bridge's own errors: domain "TKNativeVisibility", code 1.
    static Error error(const QString& description);
    // What a framework exception with this name and reason becomes ("name: reason").
    static Error exceptionError(const QString& name, const QString& reason);
};

} // namespace tk
