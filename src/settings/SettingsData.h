#pragma once

#include "core/Result.h"
#include "hotkey/HotKeySettings.h"

#include <QByteArray>
#include <QStringList>
#include <optional>

namespace tk {

// Every choice Tuckaway keeps between runs. A plain value: copied, compared and
// replaced whole. Records from outside the running application pass `validated()`.
struct SettingsData {
    qint64 version = 1;
    QString mode = QStringLiteral("boundary");
    QString symbol = QStringLiteral("dotsChevron");
    bool showOnLaunch = false;
    bool startCollapsed = false;
    bool autoCollapse = false;
    qint64 delay = 10;
    bool hoverReveal = false;
    bool compact = false;
    QStringList hiddenBundles;
    QStringList selected;
    std::optional<HotKeySettings> hotkey;

    enum class Form { Stored, Exported };

    // The normalised copy, or the one incompatibility error.
    Result<SettingsData> validated() const;
    // The same record with each list brought within what `validated()` accepts: entries
    // that cannot be identifiers and repeated entries dropped (the first of each kept),
    // then only the last 500 bundles to hide and the last 1000 selected kept, the most
    // recently added. For records no check has seen, such as those built from older keys.
    SettingsData withinListLimits() const;

    // Stored: one compact line. Exported: indented, keys of every object sorted.
    QByteArray encoded(Form form) const;
    // Checks presence and types only; the error's description names the offending key.
    static Result<SettingsData> decoded(const QByteArray& json);

    static Error incompatibleError();

    friend bool operator==(const SettingsData&, const SettingsData&) = default;
};

} // namespace tk
