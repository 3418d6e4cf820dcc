#include "SimDesktopServices.h"

#include "core/Identity.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimStatusItem.h"
#include "platform/sim/SimWorkspace.h"

#include <algorithm>

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QWidget>

namespace tk {

SimDesktopServices::SimDesktopServices(SimDesktop& desktop, QObject* parent)
    : DesktopServices(parent), m_desktop(desktop)
{
    // As on a Mac, launches and quits are told by the list of running applications, which
    // changes for every application, menu-bar-only ones included.
    const auto handOver = [this] {
        runningApplicationsSeen(SimWorkspace(m_desktop).runningApplications());
    };
    handOver();
    connect(&m_desktop, &SimDesktop::applicationLaunched, this, handOver);
    connect(&m_desktop, &SimDesktop::applicationTerminated, this, handOver);
    // In the middle of the primary screen: off the menu bar and every icon.
    if (const auto first = mainScreen())
        m_pointer = {first->frame.midX(), first->frame.midY()};
}

SimDesktopServices::~SimDesktopServices() = default;

void SimDesktopServices::activateApplication(qint32 pid)
{
    m_activated.append(pid);
}

// A list shared with the desktop's holds what it held when read: a change detaches one of
// the two.
QList<ScreenInfo> SimDesktopServices::screens() const
{
    const QList<SimScreen>& current = m_desktop.screens();
    if (current.constData() == m_screensRead.constData() && current.size() == m_screensRead.size())
        return m_screenInfos;
    m_screenInfos.clear();
    for (const SimScreen& screen : current)
        m_screenInfos.append({screen.frame, screen.visibleFrame, screen.notchFrame()});
    m_screensRead = current;
    return m_screenInfos;
}

void SimDesktopServices::changeScreens(QList<SimScreen> screens)
{
    m_desktop.setScreens(std::move(screens));
    Q_EMIT screenParametersChanged();
}

// The user works where windows appear.
std::optional<ScreenInfo> SimDesktopServices::mainScreen() const
{
    const QList<ScreenInfo> all = windowScreens();
    if (all.isEmpty())
        return std::nullopt;
    return all.first();
}

std::unique_ptr<StatusItem> SimDesktopServices::createStatusItem(double length,
                                                                 const QString& autosaveName)
{
    auto item = std::make_unique<SimStatusItem>(m_desktop, length, autosaveName,
                                                m_statusItemsGetButtons, m_statusItemLayoutTurns);
    m_statusItems.removeIf([](const QPointer<SimStatusItem>& gone) { return gone.isNull(); });
    m_statusItems.append(item.get());
    ++m_statusItemCount;
    return item;
}

SimStatusItem* SimDesktopServices::statusItem() const
{
    for (auto it = m_statusItems.crbegin(); it != m_statusItems.crend(); ++it) {
        if (*it)
            return it->data();
    }
    return nullptr;
}

double SimDesktopServices::primaryTop() const
{
    if (m_windowsOnHost) {
        const QScreen* primary = QGuiApplication::primaryScreen();
        return primary ? primary->geometry().bottom() + 1.0 : 0.0;
    }
    return m_desktop.screens().isEmpty() ? 0.0 : m_desktop.screens().first().frame.maxY();
}

QList<ScreenInfo> SimDesktopServices::windowScreens() const
{
    if (!m_windowsOnHost)
        return screens();
    const auto toScreenSpace = [this](const QRect& r) {
        return Rect{double(r.x()), primaryTop() - (r.y() + r.height()), double(r.width()),
                    double(r.height())};
    };
    QList<QScreen*> hostScreens = QGuiApplication::screens();
    // The primary screen first, as the system lists them.
    std::stable_partition(hostScreens.begin(), hostScreens.end(),
                          [](QScreen* s) { return s == QGuiApplication::primaryScreen(); });
    QList<ScreenInfo> result;
    for (const QScreen* screen : std::as_const(hostScreens))
        result.append({toScreenSpace(screen->geometry()), toScreenSpace(screen->availableGeometry())});
    return result;
}

QPointF SimDesktopServices::windowPointerPosition() const
{
    if (!m_windowsOnHost)
        return pointerPosition();
    const QPoint pointer = QCursor::pos();
    return {double(pointer.x()), primaryTop() - pointer.y()};
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

// Without a display (Qt's offscreen platform) no window stands in front of another, and Qt
// warns on standard error when asked to raise one.
void SimDesktopServices::bringToFront(QWidget& window)
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        return;
    window.raise();
    window.activateWindow();
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

QImage SimDesktopServices::applicationIcon(qint32 pid, int pixelSize) const
{
    const SimApplication* application = m_desktop.application(pid);
    if (!application || pixelSize < 1)
        return {};
    // Without a name, the bundle identifier's middle part: "tunnelwise" of "com.tunnelwise.Client".
    const QString bundle = application->bundleIdentifier.value_or(QString());
    const QString name = application->name.value_or(bundle.section(u'.', -2, -2));
    const QString key = application->bundleIdentifier.value_or(name);
    QImage icon(pixelSize, pixelSize, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF tile(0.5, 0.5, pixelSize - 1.0, pixelSize - 1.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv(int(qHash(key) % 360), 150, 200));
    painter.drawRoundedRect(tile, pixelSize * 0.22, pixelSize * 0.22);
    QFont font = painter.font();
    font.setPixelSize(qMax(1, int(pixelSize * 0.6)));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(tile, Qt::AlignCenter, name.left(1).toUpper());
    return icon;
}

// What the build says, as the bundle's information would; a copy outside a bundle has none.
QString SimDesktopServices::bundleVersion() const
{
    return m_desktop.ownBundleIdentifier() ? Identity::version : QString();
}

bool SimDesktopServices::isOtherMenuOpen() const
{
    return m_desktop.openItemMenu().has_value();
}

} // namespace tk
