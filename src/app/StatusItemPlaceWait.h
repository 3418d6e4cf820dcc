#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <memory>

namespace tk {

class DesktopServices;
class StatusItem;
class Timer;
class TimeSource;
struct Rect;
struct ScreenInfo;

// Waits until the system has laid the status item out. A new item's button has no window
// before the event loop has turned, or one whose frame the system has not settled yet, so its
// place is read only once the window stands in a menu bar. Main thread.
class StatusItemPlaceWait {
public:
    static constexpr double pollInterval = 0.05;
    static constexpr int pollLimit = 20; // a second in all
    static inline const QString unreadableNotice =
        QStringLiteral("Aún no se puede leer la posición del separador.");

    // A laid-out window of the status item, screen space: not empty, and across the top edge
    // of one of `screens`, in a shown menu bar or just above one that hides itself.
    static bool isSettled(const Rect& windowFrame, const QList<ScreenInfo>& screens);

    // Looks at `item` now and then every `pollInterval` seconds, and calls `done` once: with
    // true as soon as its window is settled, with false when `pollLimit` more looks found none.
    StatusItemPlaceWait(const StatusItem& item, const DesktopServices& desktop, TimeSource& time,
                        std::function<void(bool placed)> done);
    ~StatusItemPlaceWait();

private:
    bool isPlaced() const;
    void look();

    const StatusItem& m_item;
    const DesktopServices& m_desktop;
    std::function<void(bool)> m_done;
    std::unique_ptr<Timer> m_timer;
    int m_looks = 0;
};

} // namespace tk
