#include "SimDesktopServices.h"

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimStatusItem.h"

#include <QCoreApplication>
#include <QImage>
#include <QWidget>

namespace tk {

SimDesktopServices::SimDesktopServices(SimDesktop& desktop, QObject* parent)
    : DesktopServices(parent), m_desktop(desktop)
{
    for (const SimScreen& screen : m_desktop.screens())
        m_screens.append({screen.frame, screen.visibleFrame});
    connect(&m_desktop, &SimDesktop::applicationLaunched, this,
            &DesktopServices::applicationLaunched);
    connect(&m_desktop, &SimDesktop::applicationTerminated, this,
            &DesktopServices::applicationTerminated);
    // In the middle of the primary screen: off the menu bar and every icon.
    if (const auto first = mainScreen())
        m_pointer = {first->frame.midX(), first->frame.midY()};
}

SimDesktopServices::~SimDesktopServices() = default;

void SimDesktopServices::activateApplication(qint32 pid)
{
    m_activated.append(pid);
}

QList<ScreenInfo> SimDesktopServices::screens() const
{
    return m_screens;
}

std::optional<ScreenInfo> SimDesktopServices::mainScreen() const
{
    if (m_screens.isEmpty())
        return std::nullopt;
    return m_screens.first();
}

std::unique_ptr<StatusItem> SimDesktopServices::createStatusItem(double length,
                                                                 const QString& autosaveName)
{
    auto item =
        std::make_unique<SimStatusItem>(m_desktop, length, autosaveName, m_statusItemsGetButtons);
    m_statusItem = item.get();
    ++m_statusItemCount;
    return item;
}

double SimDesktopServices::primaryTop() const
{
    return m_desktop.screens().isEmpty() ? 0.0 : m_desktop.screens().first().frame.maxY();
}

Rect SimDesktopServices::windowFrame(const QWidget& window) const
{
    const QRect frame = window.frameGeometry();
    return Rect{double(frame.x()), primaryTop() - (frame.y() + frame.height()),
                double(frame.width()), double(frame.height())};
}

void SimDesktopServices::setWindowFrameOrigin(QWidget& window, const QPointF& origin)
{
    const double height = window.frameGeometry().height();
    window.move(qRound(origin.x()), qRound(primaryTop() - (origin.y() + height)));
}

QString SimDesktopServices::applicationPath() const
{
    return QCoreApplication::applicationFilePath();
}

// The simulated application is no bundle: the drawn icon serves.
QImage SimDesktopServices::bundleIcon(int) const
{
    return {};
}

} // namespace tk
