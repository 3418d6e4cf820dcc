#include "SimulatorWindow.h"

#include "app/AppDelegate.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "simulator/SimMenuBarView.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "simulator/SimulatorPanel.h"
#include "simulator/SimulatorTexts.h"

#include <QCloseEvent>
#include <QCursor>
#include <QMenu>
#include <QIcon>
#include <QPixmap>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// The viewport's width decides the scale at which the bars are drawn.
class WidthWatcher final : public QObject {
public:
    WidthWatcher(QWidget& watched, SimMenuBarView& view) : QObject(&watched), m_view(view)
    {
        watched.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize)
            m_view.fitWidth(static_cast<QWidget*>(watched)->width());
        return false;
    }

private:
    SimMenuBarView& m_view;
};

} // namespace

SimulatorWindow::SimulatorWindow(SimPlatform& platform, AppDelegate& app, QWidget* parent)
    : QWidget(parent), m_platform(platform), m_app(app)
{
    auto* layout = new QVBoxLayout(this);
    m_scroll = new QScrollArea(this);
    m_view = new SimMenuBarView(platform.desktop(), platform.simulatedDesktopServices());
    m_scroll->setWidget(m_view);
    m_scroll->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_scroll->setBackgroundRole(QPalette::Dark);
    m_scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    new WidthWatcher(*m_scroll->viewport(), *m_view);
    layout->addWidget(m_scroll);
    m_panel = new SimulatorPanel(platform, app, this);
    layout->addWidget(m_panel, 1);

    connect(m_view, &SimMenuBarView::dropRefused, m_panel,
            [this](const QString& reason) { m_panel->showMessage(reason); });
    connect(m_view, &SimMenuBarView::sceneChanged, this, &SimulatorWindow::sceneChanged);
    if (SimStatusItem* item = platform.simulatedDesktopServices().statusItem())
        connect(item, &SimStatusItem::menuPoppedUp, this, &SimulatorWindow::showStatusItemMenu);
    connect(&app.preferences(), &Preferences::languageChanged, this, &SimulatorWindow::retranslate);
    // Escape closes an application's item menu, as on a Mac.
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(escape, &QShortcut::activated, this,
            [&platform] { platform.desktop().closeItemMenu(); });
    retranslate();
    sceneChanged();
    resize(1560, 560);
}

SimulatorWindow::~SimulatorWindow() = default;

void SimulatorWindow::retranslate()
{
    const QString language = m_app.preferences().language();
    setWindowTitle(SimulatorTexts::text(titleKey, language));
    m_view->setLanguage(language);
}

// When items first run past the screen's edge, the primary screen stays in view.
void SimulatorWindow::sceneChanged()
{
    const SimMenuBarScene& scene = m_view->scene();
    m_panel->setOverflow(scene.offScreenCount(), scene.ownItemOffScreen());
    // Every screen's bar in sight; only the width may need scrolling.
    m_scroll->setFixedHeight(m_view->height() +
                             m_scroll->horizontalScrollBar()->sizeHint().height() +
                             2 * m_scroll->frameWidth());
    if (!scene.overflowArea().isEmpty() && !scene.ownItemOffScreen())
        m_scroll->horizontalScrollBar()->setValue(int(scene.overflowArea().right()));
}

// Each entry chosen is chosen on the item by its path through the submenus.
void SimulatorWindow::addMenuEntries(QMenu& menu, const std::vector<MenuEntry>& entries,
                                     const QList<int>& path)
{
    QPointer<SimStatusItem> target(m_platform.simulatedDesktopServices().statusItem());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const MenuEntry& entry = entries.at(i);
        const QList<int> entryPath = path + QList<int>{int(i)};
        if (entry.isSeparator) {
            menu.addSeparator();
        } else if (!entry.submenu.empty()) {
            addMenuEntries(*menu.addMenu(entry.title), entry.submenu, entryPath);
        } else {
            QString title = entry.title;
            if (!entry.keyEquivalent.isEmpty())
                title += u"\t⌘"_s + entry.keyEquivalent.toUpper();
            QAction* action = menu.addAction(title);
            if (!entry.icon.isNull())
                action->setIcon(QIcon(QPixmap::fromImage(entry.icon)));
            connect(action, &QAction::triggered, this, [target, entryPath] {
                if (target)
                    target->chooseMenuPath(entryPath);
            });
        }
    }
}

void SimulatorWindow::showStatusItemMenu()
{
    SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu())
        return;
    if (m_menu)
        m_menu->hide();
    auto* menu = new QMenu(this);
    const QList<MenuEntry> entries = *item->openMenu();
    addMenuEntries(*menu, std::vector<MenuEntry>(entries.cbegin(), entries.cend()), {});
    // A choice is made after the menu hides; only a menu closed without one is dismissed.
    const int shown = item->menuCount();
    connect(menu, &QMenu::aboutToHide, this, [this, shown, menu] {
        QTimer::singleShot(
            0, this, [this, shown, closed = QPointer<QMenu>(menu)] { menuClosed(shown, closed); });
    });
    m_menu = menu;
    m_view->setMenuOpen(true);
    menu->popup(m_view->menuAnchor().value_or(QCursor::pos()));
}

void SimulatorWindow::menuClosed(int menuCount, QMenu* menu)
{
    SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (item && item->menuCount() == menuCount && item->openMenu())
        item->dismissMenu();
    if (menu)
        menu->deleteLater();
    if (m_menu == menu)
        m_menu.clear();
    m_view->setMenuOpen(m_menu != nullptr);
}

void SimulatorWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    Q_EMIT closed();
}

} // namespace tk
