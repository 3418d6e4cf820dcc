#pragma once

#include "core/Rect.h"
#include "inspection/Accessibility.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

class TimeSource;

// One running application to scan.
struct ScanApp {
    qint32 pid = 0;
    std::optional<QString> bundle;
    std::optional<QString> name;
    // The application whose menus the menu bar shows: the scan reads where they end.
    bool frontmost = false;

    friend bool operator==(const ScanApp&, const ScanApp&) = default;
};

// One menu-bar item found in another application's extras menu bar.
struct ExternalItem {
    QString id; // bundle (or decimal pid) ":" path ":" title; not unique across instances
    std::optional<QString> bundleID;
    QString app;
    QString title;
    AXElementRef element;
    QStringList actions;
    bool positionWritable = false;
    std::optional<Rect> frame; // accessibility space: origin top-left, y down
};

} // namespace tk

// Every member moves by its bytes, so a growing list moves its items as one block.
Q_DECLARE_TYPEINFO(tk::ExternalItem, Q_RELOCATABLE_TYPE);

namespace tk {

struct ScanResult {
    QList<ExternalItem> items;
    QString report;
    // The frontmost application's menus, from the first one's left edge to the last one's
    // right edge (accessibility space); nothing when they could not be read.
    std::optional<Rect> frontMenus = std::nullopt;
};

// What a scan reads besides the applications. Every member must be usable from the
// thread that runs the scan.
struct ScanEnvironment {
    Accessibility& accessibility;
    const TimeSource& time;
    QString operatingSystemVersion;
};

// Reads other applications' menu-bar items; never changes them.
namespace AXScanner {

constexpr double timeLimit = 12.0;        // seconds for the whole scan
constexpr double messagingTimeout = 0.08; // seconds per accessibility message
constexpr int deepestLevel = 2;           // the extras menu bar itself is level 0
constexpr int elementsPerApplication = 60;
// The application name of the items of an application that has none.
inline const QString unnamedApplication = QStringLiteral("App");

// Walks the extras menu bar of each application in order, depth-first, and reads the
// frontmost application's menu bar ("AXMenuBar") before its extras menu bar. Synchronous,
// never fails, keeps nothing between calls; safe on any thread.
ScanResult scan(const QList<ScanApp>& apps, const ScanEnvironment& environment);

// The element's position and size, or nothing when either cannot be read.
std::optional<Rect> frame(Accessibility& accessibility, const AXElementRef& element);
// The frame that a position and a size read give, or nothing when either is not a value of
// its kind.
std::optional<Rect> frameOf(const AXAttribute& position, const AXAttribute& size);

} // namespace AXScanner

} // namespace tk

Q_DECLARE_METATYPE(tk::ExternalItem)
