#include "SessionSteps.h"

#include "app/AppDelegate.h"
#include "app/SettingsWindow.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimLoginItems.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "simulator/SessionContext.h"
#include "simulator/SessionPrinter.h"
#include "simulator/SessionScript.h"
#include "simulator/SimMenuBarScene.h"
#include "simulator/SimulatorPanel.h"
#include "simulator/SystemActions.h"

#include <QDir>
#include <QFileInfo>
#include <QImageWriter>

#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

SessionSteps::SessionSteps(SessionContext& context, SessionPrinter& printer)
    : m_context(context), m_printer(printer)
{
}

QString SessionSteps::defaultPictureDirectory()
{
    const QString here = QDir::current().filePath(u"tuckaway-session"_s);
    if (QDir().mkpath(here) && QFileInfo(here).isWritable())
        return here;
    return QDir::temp().filePath(u"tuckaway-session"_s);
}

// What a person does at the icon, with the pointer and the keyboard.
StepOutcome SessionSteps::act(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    using Kind = StatusItemEvent::Kind;
    // A click anywhere or Escape closes an application's item menu that is open.
    if (command == u"escape" || command.endsWith(u"click") ||
        (command == u"button" && first == u"down"))
        m_context.platform.desktop().closeItemMenu();
    if (command == u"escape")
        return {};
    if (command == u"click")
        return clickIcon(int(Kind::LeftMouseUp), false);
    if (command == u"right-click")
        return clickIcon(int(Kind::RightMouseUp), false);
    if (command == u"option-click")
        return clickIcon(int(Kind::LeftMouseUp), true);
    if (command == u"menu")
        return chooseFromMenu(step.arguments);
    if (command == u"pointer")
        return pointer(step.arguments);
    if (command == u"picture")
        return savePicture(first, step.arguments.value(1) == u"dark");
    if (command == u"button")
        m_context.platform.simulatedDesktopServices().setMouseButtonPressed(first == u"down");
    else if (command == u"shortcut")
        pressShortcut();
    else if (command == u"drag")
        m_context.platform.desktop().moveStatusItem(first.toDouble());
    else
        return actOnDesktop(step);
    return {};
}

// What the system and other applications do around Tuckaway.
StepOutcome SessionSteps::actOnDesktop(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    SimDesktop& desktop = m_context.platform.desktop();
    SimDesktopServices& services = m_context.platform.simulatedDesktopServices();
    if (command == u"launch")
        return launch(first, step.arguments.value(1));
    if (command == u"quit")
        return quitApplication(first);
    if (command == u"hang" || command == u"recover")
        return setHung(first, command == u"hang");
    if (command == u"front")
        return bringToFront(first);
    if (command == u"permission")
        desktop.setTrusted(first == u"on");
    else if (command == u"framework")
        desktop.setFrameworkBehaviour(SimulatorPanel::behaviourFor(
            SimulatorPanel::frameworkModeNamed(first), desktop.frameworkBehaviour()));
    else if (command == u"screens")
        return changeScreens(step.arguments);
    else if (command == u"login-item")
        return switchLoginItem(first == u"on");
    else if (command == u"reopen")
        services.reopen();
    else if (command == u"second-launch")
        secondLaunch();
    else
        actOnSettings(step);
    return {};
}

// What the settings window and its view do.
void SessionSteps::actOnSettings(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    if (command == u"settings open") {
        m_context.app.openSettings(first.isEmpty()
                                       ? std::nullopt
                                       : std::optional(SessionScript::sectionIndex(first)));
    } else if (command == u"settings close") {
        if (SettingsWindow* window = m_context.app.settingsWindow())
            window->close();
    } else if (command == u"apply") {
        m_context.app.applySettings();
    } else if (command == u"set") {
        set(first, step.arguments.value(1));
    } else if (command == u"language") {
        m_context.app.preferences().setLanguage(first);
    } else if (command == u"login") {
        m_context.app.preferences().setLogin(first == u"on");
    }
}

// The system's screen events: sleep, a change of parameters that keeps the screens, or a
// change to other screens (a list the scenario names, none, or the ones the step gives).
StepOutcome SessionSteps::changeScreens(const QStringList& arguments)
{
    SimDesktopServices& services = m_context.platform.simulatedDesktopServices();
    const QString& first = arguments.first();
    if (arguments.size() == 1 && first == u"sleep") {
        services.sleepScreens();
        return {};
    }
    if (arguments.size() == 1 && first == u"change") {
        services.changeScreenParameters();
        return {};
    }
    std::optional<QList<SimScreen>> screens = namedScreens(m_context.platform.desktop(), first);
    if (!screens && arguments.size() == 1 && !first.front().isDigit())
        return {2, u"the scenario names no list of screens \"%1\""_s.arg(first)};
    if (!screens)
        screens = screensOf(std::get<QList<Rect>>(SessionScript::screenFrames(arguments)));
    services.changeScreens(*screens);
    const QString described = describedScreens(*screens);
    m_printer.print(m_printer.text(u"Pantallas: %1"_s)
                        .arg(described.isEmpty() ? m_printer.text(u"ninguna"_s) : described));
    return {};
}

// The person switches Tuckaway on or off in System Settings (General, Login Items).
// Tuckaway reads the status when it registers or unregisters, and at launch, as on a Mac:
// the session says what the system now has.
StepOutcome SessionSteps::switchLoginItem(bool on)
{
    SimLoginItems& loginItems = m_context.platform.simulatedLoginItems();
    on ? loginItems.approve() : loginItems.switchOff();
    m_printer.print(m_printer.text(u"Inicio de sesión según el sistema: %1"_s)
                        .arg(m_printer.text(loginItemStatusText(loginItems.status()))));
    return {};
}

// As the status item delivers a mouse-up on its button; the pointer stays where it is.
StepOutcome SessionSteps::clickIcon(int kind, bool option)
{
    SimStatusItem* item = m_context.platform.simulatedDesktopServices().statusItem();
    if (!item || !item->hasButton())
        return {2, u"Tuckaway's icon is not in the menu bar"_s};
    StatusItemEvent event;
    event.kind = StatusItemEvent::Kind(kind);
    event.option = option;
    item->click(event);
    return {};
}

// Each title names an entry of the menu the one before it opened, the first of the open
// menu: a path through submenus.
StepOutcome SessionSteps::chooseFromMenu(const QStringList& spanishTitles)
{
    SimStatusItem* item = m_context.platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu())
        return {2, u"no menu is open"_s};
    std::vector<MenuEntry> level(item->openMenu()->cbegin(), item->openMenu()->cend());
    QList<int> path;
    for (const QString& spanishTitle : spanishTitles) {
        const QString wanted = L10n::text(spanishTitle, m_context.app.preferences().language());
        const auto found = std::find_if(level.cbegin(), level.cend(), [&](const MenuEntry& e) {
            return !e.isSeparator && e.title == wanted;
        });
        if (found == level.cend())
            return {2, u"the open menu has no entry \"%1\""_s.arg(spanishTitles.join(u" › "_s))};
        path.append(int(found - level.cbegin()));
        std::vector<MenuEntry> below = found->submenu; // `found` lives in `level`
        level = std::move(below);
    }
    if (!item->chooseMenuPath(path))
        return {2, u"the open menu has no entry \"%1\""_s.arg(spanishTitles.join(u" › "_s))};
    return {};
}

StepOutcome SessionSteps::pointer(const QStringList& arguments)
{
    SimDesktopServices& services = m_context.platform.simulatedDesktopServices();
    if (arguments.size() == 2) {
        services.setPointerPosition({arguments[0].toDouble(), arguments[1].toDouble()});
    } else if (arguments[0] == u"icon") {
        const SimStatusItem* item = services.statusItem();
        const std::optional<Rect> frame = item ? item->buttonWindowFrame() : std::nullopt;
        if (!frame)
            return {2, u"Tuckaway's icon is not in the menu bar"_s};
        services.setPointerPosition({frame->midX(), frame->midY()});
    } else {
        double left = 0.0;
        for (const SimScreen& screen : m_context.platform.desktop().screens())
            left = std::min(left, screen.frame.minX());
        services.setPointerPosition({left - 1000.0, 0.0});
    }
    return {};
}

// One menu-bar item, which joins the bar where a newly launched application's does.
StepOutcome SessionSteps::launch(const QString& application, const QString& name)
{
    SimApplication app;
    if (application.startsWith(u"pid:"_s))
        app.pid = application.mid(4).toInt();
    else
        app.bundleIdentifier = application;
    app.name = name;
    app.items = {SimulatorPanel::menuBarItem({}, name, 28.0)};
    const qint32 pid = m_context.platform.desktop().launchApplication(std::move(app));
    if (application.startsWith(u"pid:"_s) && u"pid:"_s + QString::number(pid) != application)
        return {2, u"process %1 is taken; the application runs as pid:%2"_s.arg(application.mid(4)).arg(pid)};
    return {};
}

StepOutcome SessionSteps::quitApplication(const QString& application)
{
    const std::optional<qint32> pid = runningPid(m_context.platform, application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    m_context.platform.desktop().quitApplication(*pid);
    return {};
}

// The application whose menus the bar shows, or none.
StepOutcome SessionSteps::bringToFront(const QString& application)
{
    if (application == u"none") {
        m_context.platform.desktop().setFrontmost(std::nullopt);
        return {};
    }
    const std::optional<qint32> pid = runningPid(m_context.platform, application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    if (!m_context.platform.desktop().setFrontmost(*pid))
        return {2, u"Tuckaway has no menus: it is not brought to front"_s};
    return {};
}

StepOutcome SessionSteps::setHung(const QString& application, bool hung)
{
    const std::optional<qint32> pid = runningPid(m_context.platform, application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    m_context.platform.desktop().setHung(*pid, hung);
    return {};
}

// Other applications that hold the combination hear the press too.
void SessionSteps::pressShortcut()
{
    if (const std::optional<SystemNote> note = tk::pressShortcut(m_context.platform).note()) {
        QString line = m_printer.text(note->spanish);
        for (const QString& argument : std::as_const(note->arguments))
            line = line.arg(argument);
        m_printer.print(line);
    }
}

void SessionSteps::secondLaunch()
{
    m_printer.print(m_printer.text(launchSecondCopy(m_context.platform).spanish));
}

// As the settings view edits the record: one field through the store.
void SessionSteps::set(const QString& field, const QString& value)
{
    SettingsData record = m_context.app.preferences().data();
    const bool on = value == u"true";
    if (field == u"mode")
        record.mode = value;
    else if (field == u"symbol")
        record.symbol = value;
    else if (field == u"showOnLaunch")
        record.showOnLaunch = on;
    else if (field == u"startCollapsed")
        record.startCollapsed = on;
    else if (field == u"autoCollapse")
        record.autoCollapse = on;
    else if (field == u"hoverReveal")
        record.hoverReveal = on;
    else if (field == u"delay")
        record.delay = value.toInt();
    else if (field == u"hiddenBundles")
        record.hiddenBundles = value.split(u',', Qt::SkipEmptyParts);
    else if (value == u"off")
        record.hotkey = HotKeySettings{false};
    else
        record.hotkey = HotKeySettings{true, HotKeySettings().key, HotKeySettings().modifiers, value};
    m_context.app.preferences().setData(record);
}

// Tuckaway's menu, when open, is drawn under its icon with its first submenu open, as when
// the pointer rests on that entry.
StepOutcome SessionSteps::savePicture(const QString& name, bool dark)
{
    if (m_context.pictureDirectory.isEmpty())
        m_context.pictureDirectory = defaultPictureDirectory();
    SimMenuBarScene::Look look;
    look.language = m_context.app.preferences().language();
    look.dark = dark;
    QList<MenuEntry> menu;
    if (const SimStatusItem* item = m_context.platform.simulatedDesktopServices().statusItem()) {
        look.glyph = item->image();
        menu = item->openMenu().value_or(QList<MenuEntry>());
        look.ownHighlighted = !menu.isEmpty();
    }
    const QImage picture =
        SimMenuBarScene(m_context.platform.desktop(), 1.0, std::move(menu)).render(look);
    const QString path = QDir(m_context.pictureDirectory).absoluteFilePath(name);
    QImageWriter writer(path, "png");
    if (!QDir().mkpath(m_context.pictureDirectory) || !writer.write(picture))
        return {2, u"could not save the picture %1: %2"_s.arg(QDir::toNativeSeparators(path),
                                                              writer.errorString())};
    m_context.pictures << path;
    m_printer.print(m_printer.text(u"Imagen guardada: %1"_s).arg(name));
    return {};
}
} // namespace tk
