#include "app/AppDelegate.h"
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

std::optional<qint32> pidOf(const Workspace& workspace, const QString& bundle)
{
    for (const RunningApplication& app : workspace.runningApplications()) {
        if (app.bundleIdentifier == bundle)
            return app.pid;
    }
    return std::nullopt;
}

} // namespace

bool AppDelegate::revealHiddenApplication(const QString& bundle)
{
    if (!m_visibility.active())
        return false;
    for (const HiddenIcon& icon : std::as_const(m_hiddenIcons)) {
        if (icon.bundle == bundle) {
            revealHiddenIcon(icon);
            return true;
        }
    }
    return false;
}

// Without permission the hiding stays: lifted, it could not be put back.
void AppDelegate::revealHiddenIcon(const HiddenIcon& icon)
{
    if (!m_inspector.isAuthorized()) {
        m_preferences.setNotice(permissionNotice);
        return;
    }
    ++m_collapseGeneration;
    const qint64 generation = ++m_revealGeneration;
    m_reveal = Reveal{icon, m_hiddenGroup, now() + revealWait, false};
    m_preferences.setNotice(QString());
    m_visibility.restore();
    m_expandedAt = now();
    attemptReveal(generation);
}

void AppDelegate::attemptReveal(qint64 generation)
{
    if (!m_reveal || generation != m_revealGeneration)
        return;
    const std::optional<qint32> pid = pidOf(m_platform.workspace(), m_reveal->icon.bundle);
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
    m_reveal.reset();
    ++m_revealGeneration;
    m_expandedAt.reset();
    m_preferences.setNotice(notice);
    if (group.isEmpty())
        return;
    m_revealFailure = notice;
    m_visibility.activate(group);
}

// One entry per icon: the application's name for its only item, else the item's title. The
// icons out of sight follow those of the hiding in force, to be reached the same way.
std::vector<MenuEntry> AppDelegate::hiddenIconEntries()
{
    std::vector<MenuEntry> entries;
    QPointer<AppDelegate> self(this);
    QList<HiddenIcon> icons = m_visibility.active() ? m_hiddenIcons : QList<HiddenIcon>();
    for (const UnseenIcon& unseen : std::as_const(m_unseenIcons)) {
        const bool sole = std::count_if(m_unseenIcons.cbegin(), m_unseenIcons.cend(),
                                        [&unseen](const UnseenIcon& other) {
                                            return other.application == unseen.application;
                                        }) == 1;
        const HiddenIcon icon{unseen.application, unseen.name, unseen.title, unseen.path, sole};
        if (!unseen.application.startsWith(u"pid:"_s) && !icons.contains(icon))
            icons.append(icon);
    }
    for (const HiddenIcon& icon : std::as_const(icons)) {
        const QString title = icon.soleItem ? icon.application
                              : icon.title == unlabelledTitle ? text(unlabelledTitle)
                                                              : icon.title;
        entries.push_back({title, QString(), [self, icon] {
                               if (self)
                                   self->revealHiddenIcon(icon);
                           }});
    }
    return entries;
}

} // namespace tk
