#include "app/AppDelegate.h"
#include "app/DesktopServices.h"
#include "app/StatusItem.h"
#include "core/Time.h"
#include "inspection/Workspace.h"
#include "app/Platform.h"

#include <QPointer>
#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString quitNotice = u"No se pudo mostrar el icono: la app se cerró."_s;
const QString notBackNotice = u"No se pudo mostrar el icono: no volvió a la barra a tiempo."_s;
const QString refusedNotice =
    u"No se pudo mostrar el icono: la app rechazó la pulsación. Error de accesibilidad:"_s;
const QString permissionNotice =
    u"No se pudo mostrar el icono: falta Accesibilidad para esta copia."_s;
const QString unlabelledTitle = u"Icono sin etiqueta"_s;
// An application's icon in a menu entry: 16 points, drawn for a display of two pixels a point.
constexpr int menuIconPoints = 16;
constexpr int menuIconPixelRatio = 2;

// The process of the icon's application while it runs; one without bundle identifier is
// the process the icon was read from, so that a later one of the same name is not taken.
std::optional<qint32> pidOf(const Workspace& workspace, const HiddenIcon& icon)
{
    for (const RunningApplication& app : workspace.runningApplications()) {
        const bool same = icon.pid != 0 ? app.pid == icon.pid && !app.bundleIdentifier
                                        : app.bundleIdentifier == icon.bundle;
        if (same)
            return app.pid;
    }
    return std::nullopt;
}

// An icon out of sight, reached as a hidden one is.
HiddenIcon hiddenIconOf(const UnseenIcon& unseen, const QList<UnseenIcon>& all)
{
    const bool sole = std::count_if(all.cbegin(), all.cend(), [&unseen](const UnseenIcon& other) {
                          return other.application == unseen.application;
                      }) == 1;
    const bool numbered = unseen.application.startsWith(u"pid:"_s);
    return {numbered ? QString() : unseen.application,
            numbered ? unseen.application.mid(4).toInt() : 0,
            unseen.name,
            unseen.title,
            unseen.path,
            sole};
}

} // namespace

bool AppDelegate::revealHiddenApplication(const QString& application, RevealDone done)
{
    if (!m_visibility.active())
        return false;
    for (const HiddenIcon& icon : std::as_const(m_hiddenIcons)) {
        if (icon.applicationId() == application) {
            revealHiddenIcon(icon, std::move(done));
            return true;
        }
    }
    return false;
}

// Without permission the hiding stays: lifted, it could not be put back.
void AppDelegate::revealHiddenIcon(const HiddenIcon& icon, RevealDone done)
{
    if (!m_inspector.isAuthorized()) {
        m_preferences.setNotice(permissionNotice);
        if (done)
            done(permissionNotice);
        return;
    }
    ++m_collapseGeneration;
    const qint64 generation = ++m_revealGeneration;
    m_reveal = Reveal{icon, m_hiddenGroup, now() + revealWait, false, std::move(done)};
    m_preferences.setNotice(QString());
    m_visibility.restore();
    m_expandedAt = now();
    attemptReveal(generation);
}

void AppDelegate::attemptReveal(qint64 generation)
{
    if (!m_reveal || generation != m_revealGeneration)
        return;
    const std::optional<qint32> pid = pidOf(m_platform.workspace(), m_reveal->icon);
    if (!pid) {
        failReveal(quitNotice);
        return;
    }
    QPointer<AppDelegate> self(this);
    m_inspector.pressItem(*pid, m_reveal->icon.path, [self, generation](PressOutcome outcome) {
        if (self)
            self->revealAnswered(generation, outcome);
    });
}

void AppDelegate::revealAnswered(qint64 generation, const PressOutcome& outcome)
{
    if (!m_reveal || generation != m_revealGeneration)
        return;
    switch (outcome.kind) {
    case PressOutcome::Kind::Pressed:
        m_reveal->pressed = true;
        m_expandedAt = now();
        if (const RevealDone done = std::exchange(m_reveal->done, {}))
            done(QString());
        return;
    case PressOutcome::Kind::NotOnScreen:
        if (now() + revealRetryInterval > m_reveal->deadline) {
            failReveal(notBackNotice);
            return;
        }
        if (!m_revealRetry)
            m_revealRetry = m_platform.time().createTimer(
                [this] { attemptReveal(m_revealGeneration); });
        m_revealRetry->start(revealRetryInterval, false);
        return;
    case PressOutcome::Kind::Quit:
        failReveal(quitNotice);
        return;
    case PressOutcome::Kind::Refused:
        failReveal(refusedNotice + u' ' + QString::number(outcome.error));
        return;
    case PressOutcome::Kind::NoPermission:
        failReveal(permissionNotice);
        return;
    }
}

// The group is hidden again at once, as it was.
void AppDelegate::failReveal(const QString& notice)
{
    const QSet<QString> group = m_reveal ? m_reveal->group : m_hiddenGroup;
    const RevealDone done = m_reveal ? std::move(m_reveal->done) : RevealDone();
    m_reveal.reset();
    ++m_revealGeneration;
    m_expandedAt.reset();
    m_preferences.setNotice(notice);
    if (done)
        done(notice);
    if (group.isEmpty())
        return;
    m_revealFailure = notice;
    m_visibility.activate(group);
}

// One entry per icon of an application still running: the application's name for its only
// item, else (and for an application without a name) the item's title. The icons out of sight
// follow those of the hiding in force, to be reached the same way.
std::vector<MenuEntry> AppDelegate::hiddenIconEntries()
{
    std::vector<MenuEntry> entries;
    QPointer<AppDelegate> self(this);
    QList<HiddenIcon> icons = m_visibility.active() ? m_hiddenIcons : QList<HiddenIcon>();
    for (const UnseenIcon& unseen : std::as_const(m_unseenIcons)) {
        const HiddenIcon icon = hiddenIconOf(unseen, m_unseenIcons);
        if (!icons.contains(icon))
            icons.append(icon);
    }
    for (const HiddenIcon& icon : std::as_const(icons)) {
        const std::optional<qint32> pid = pidOf(m_platform.workspace(), icon);
        if (!pid) // quit since the hiding
            continue;
        const bool named = icon.soleItem && icon.application != AXScanner::unnamedApplication;
        const bool labelled = !icon.title.isEmpty() && icon.title != unlabelledTitle;
        const QString title = named      ? icon.application
                              : labelled ? icon.title
                                         : text(unlabelledTitle);
        MenuEntry entry{title, QString(), [self, icon] {
                            if (self)
                                self->revealHiddenIcon(icon, {});
                        }};
        entry.icon = m_desktop.applicationIcon(*pid, menuIconPoints * menuIconPixelRatio);
        entry.icon.setDevicePixelRatio(menuIconPixelRatio);
        entries.push_back(std::move(entry));
    }
    return entries;
}

} // namespace tk
