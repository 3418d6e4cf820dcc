#include "SettingsWindow.h"

#include "app/AppDelegate.h"
#include "app/DesktopServices.h"
#include "app/StatusItem.h"
#include "app/Platform.h"
#include "ui/ConfigurationView.h"

#include <QCloseEvent>
#include <QPointer>
#include <QVBoxLayout>
#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(QWidget* content, QWidget* parent)
    : QWidget(parent, Qt::Window), m_content(content)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(m_content);
    // Closing hides; the next opening shows this same window again.
    setAttribute(Qt::WA_DeleteOnClose, false);
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::layOutContent()
{
    if (QLayout* contentLayout = layout())
        contentLayout->activate();
}

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    Q_EMIT closing();
    event->accept();
}

void SettingsWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    Q_EMIT moved();
}

void SettingsWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Q_EMIT resized();
}

namespace {

double intersectionArea(const Rect& a, const Rect& b)
{
    const double width = std::min(a.maxX(), b.maxX()) - std::max(a.minX(), b.minX());
    const double height = std::min(a.maxY(), b.maxY()) - std::max(a.minY(), b.minY());
    return width > 0 && height > 0 ? width * height : 0.0;
}

// Left and bottom edges belong to the screen, right and top edges do not.
bool frameContains(const Rect& frame, const QPointF& point)
{
    return point.x() >= frame.minX() && point.x() < frame.maxX() && point.y() >= frame.minY() &&
           point.y() < frame.maxY();
}

} // namespace

// Raising the generation drops a collapse that still waits for its scan.
void AppDelegate::openSettings(std::optional<int> section)
{
    ++m_collapseGeneration;
    if (section)
        m_preferences.setSection(*section);
    if (!m_settingsWindow)
        createSettingsWindow();
    std::optional<ScreenInfo> screen = screenUnderPointer();
    if (!screen && m_item && m_item->buttonWindowFrame() &&
        m_desktop.windowScreens() == m_desktop.screens())
        screen = screenHolding(*m_item->buttonWindowFrame());
    if (!screen)
        screen = m_desktop.mainScreen();
    m_desktop.activateIgnoringOtherApps();
    center(*m_settingsWindow, screen);
    m_settingsWindow->show();
    m_desktop.bringToFront(*m_settingsWindow);
    // The second centring places the window once the settings view has laid itself out.
    QPointer<SettingsWindow> window(m_settingsWindow.get());
    later([this, window, screen] {
        if (!window || !window->isVisible())
            return;
        m_desktop.bringToFront(*window);
        center(*window, screen);
        writeUIReport();
    });
}

void AppDelegate::createSettingsWindow()
{
    QPointer<AppDelegate> self(this);
    const auto call = [self](void (AppDelegate::*operation)()) {
        return [self, operation] {
            if (self)
                (self.data()->*operation)();
        };
    };
    const DesktopServices& desktop = m_desktop;
    auto* view = new ConfigurationView(
        m_preferences, m_inspector, m_visibility,
        {call(&AppDelegate::refresh), call(&AppDelegate::toggleVisibility),
         call(&AppDelegate::applySettings),
         [self](const QString& path, ExportDone done) {
             // Where the icon stands now, when that can be read: the window's icon has long
             // been placed.
             if (self)
                 self->exportDesktop(path, self->boundary().has_value(), std::move(done));
         }},
        {m_platform.filePanels(), m_platform.accessibility(), m_platform.privacySettings(),
         m_platform.visibilityBridge(), m_platform.workspace(),
         [&desktop](int pixelSize) { return desktop.bundleIcon(pixelSize); },
         [&desktop] { return desktop.bundleVersion(); },
         [self] { return self ? self->boundary() : std::nullopt; },
         [self] { return self ? UnseenIcons::lines(self->unseenIcons()) : QStringList(); }});
    m_settingsWindow = std::make_unique<SettingsWindow>(view);
    m_settingsWindow->setWindowTitle(text(SettingsWindow::titleKey));
    m_settingsWindow->setMinimumSize(SettingsWindow::minimumContentSize);
    m_settingsWindow->resize(SettingsWindow::contentSize);
    m_desktop.prepareSettingsWindow(*m_settingsWindow);
    connect(m_settingsWindow.get(), &SettingsWindow::closing, this,
            [this] { m_expandedAt.reset(); });
    connect(m_settingsWindow.get(), &SettingsWindow::moved, this, &AppDelegate::writeUIReport);
    connect(m_settingsWindow.get(), &SettingsWindow::resized, this, &AppDelegate::writeUIReport);
}

void AppDelegate::applySettings()
{
    showAll();
    m_preferences.setNotice(u"Aplicando configuración…"_s);
    collapse();
}

// Centred in the screen's visible frame; a window larger than that area keeps its left and
// bottom edges on the area's and reaches beyond it at the top and right.
void AppDelegate::center(QWidget& window, const std::optional<ScreenInfo>& screen)
{
    if (!screen)
        return;
    if (auto* settings = qobject_cast<SettingsWindow*>(&window))
        settings->layOutContent();
    const Rect frame = m_desktop.windowFrame(window);
    const Rect& area = screen->visibleFrame;
    const double x = std::max(area.minX(), area.midX() - frame.width * 0.5);
    const double y = std::max(area.minY(), area.midY() - frame.height * 0.5);
    m_desktop.setWindowFrameOrigin(window, QPointF(x, y));
}

std::optional<ScreenInfo> AppDelegate::screenUnderPointer() const
{
    const QPointF pointer = m_desktop.windowPointerPosition();
    for (const ScreenInfo& screen : m_desktop.windowScreens()) {
        if (frameContains(screen.frame, pointer))
            return screen;
    }
    return std::nullopt;
}

// The screen that holds the largest part of `frame`, as the system assigns a window to one.
std::optional<ScreenInfo> AppDelegate::screenHolding(const Rect& frame) const
{
    std::optional<ScreenInfo> best;
    double bestArea = 0.0;
    for (const ScreenInfo& screen : m_desktop.windowScreens()) {
        const double area = intersectionArea(screen.frame, frame);
        if (area > bestArea) {
            best = screen;
            bestArea = area;
        }
    }
    return best;
}

} // namespace tk
