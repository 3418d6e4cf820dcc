#include "SystemActions.h"

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimWorkspace.h"

#include <QBuffer>
#include <QCoreApplication>

#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// The running copy's desktop and services, seen from another process.
class SecondCopyPlatform final : public ForwardingPlatform {
public:
    SecondCopyPlatform(SimPlatform& platform, qint32 pid)
        : ForwardingPlatform(platform), m_workspace(platform.desktop(), pid)
    {
    }

    Workspace& workspace() override { return m_workspace; }

private:
    SimWorkspace m_workspace;
};

qint32 unusedPid(const SimDesktop& desktop)
{
    qint32 pid = desktop.ownPid();
    for (const SimApplication& app : desktop.applications())
        pid = std::max(pid, app.pid);
    return pid + 1;
}

} // namespace

std::optional<SystemNote> ShortcutPress::note() const
{
    if (others.isEmpty())
        return std::nullopt;
    const QString names = others.join(u", "_s);
    if (exclusive)
        return SystemNote{u"La pulsación no llega a Tuckaway: %1 tiene el atajo en exclusiva."_s,
                          {names}};
    return SystemNote{u"También ha respondido al atajo: %1."_s, {names}};
}

ShortcutPress pressShortcut(SimPlatform& platform)
{
    ShortcutPress press;
    SimHotKeyService& hotKeys = platform.simulatedHotKeys();
    for (const SimHotKeyService::Registration& registration : hotKeys.registrations()) {
        for (const SimHotKeyService::Holder& holder :
             hotKeys.holdersReached(registration.combination)) {
            press.others << holder.shortcut.holder.value_or(
                u"takenShortcuts[%1]"_s.arg(holder.place));
            press.exclusive = press.exclusive || holder.shortcut.exclusive;
        }
        press.handled = hotKeys.press(registration.combination) || press.handled;
    }
    return press;
}

std::optional<QList<SimScreen>> namedScreens(const SimDesktop& desktop, const QString& name)
{
    if (name == u"none")
        return QList<SimScreen>();
    for (const SimScreenSet& set : desktop.screenSets()) {
        if (set.name == name)
            return set.screens;
    }
    return std::nullopt;
}

QList<SimScreen> screensOf(const QList<Rect>& frames)
{
    QList<SimScreen> screens;
    for (const Rect& frame : frames) {
        Rect visible = frame;
        visible.height = qMax(0.0, frame.height - SimDesktop::menuBarHeight);
        screens.append({frame, visible});
    }
    return screens;
}

QString describedScreens(const QList<SimScreen>& screens)
{
    QStringList described;
    for (const SimScreen& screen : screens) {
        const Rect& frame = screen.frame;
        described << shortestNumber(frame.width) + u" × "_s + shortestNumber(frame.height) +
                         u" @ "_s + shortestNumber(frame.x) + u',' + shortestNumber(frame.y);
    }
    return described.join(u" · "_s);
}

QString loginItemStatusText(LoginItemService::Status status)
{
    switch (status) {
    case LoginItemService::Status::Enabled:
        return u"activado"_s;
    case LoginItemService::Status::RequiresApproval:
        return u"requiere aprobación"_s;
    case LoginItemService::Status::NotRegistered:
        return u"no registrado"_s;
    case LoginItemService::Status::NotFound:
        break;
    }
    return u"no encontrado"_s;
}

SystemNote launchSecondCopy(SimPlatform& platform)
{
    bool handedOver = false;
    {
        SecondCopyPlatform copy(platform, unusedPid(platform.desktop()));
        QBuffer errors;
        errors.open(QIODevice::WriteOnly);
        AppDelegate second(copy, errors);
        const QStringList arguments{QCoreApplication::applicationFilePath()};
        handedOver = second.applicationDidFinishLaunching(CommandLine::parse(arguments)) ==
                     AppDelegate::LaunchOutcome::HandedOver;
    }
    // The second copy's end took its user defaults away from the texts; they are this one's.
    L10n::setStandardDefaults(&platform.userDefaults());
    if (handedOver)
        return {u"Otra copia de Tuckaway ha traído al frente la que ya estaba abierta y ha "
                "salido."_s,
                {}};
    return {u"Otra copia de Tuckaway no ha encontrado esta, que no tiene identificador de "
            "bundle, y se ha abierto a su lado; el escritorio simulado la cierra enseguida."_s,
            {}};
}

} // namespace tk
