#include "SessionPrinter.h"

#include "app/AppDelegate.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "platform/sim/VirtualTime.h"
#include "simulator/SessionContext.h"
#include "simulator/SimulatorTexts.h"

#include <QTextStream>

namespace tk {

using namespace Qt::StringLiterals;

SessionPrinter::SessionPrinter(SessionContext& context, QObject* parent)
    : QObject(parent), m_context(context)
{
}

// Printed as they happen, each only when it differs from what was printed last.
void SessionPrinter::watch()
{
    AppDelegate& app = m_context.app;
    VisibilityController& visibility = app.visibility();
    connect(&visibility, &VisibilityController::activeChanged, this, &SessionPrinter::printState,
            Qt::QueuedConnection);
    connect(&visibility, &VisibilityController::pendingChanged, this, &SessionPrinter::printState,
            Qt::QueuedConnection);
    watchStatusLines();
    connect(&app.inspector(), &Inspector::isScanningChanged, this, [this](bool scanning) {
        if (scanning)
            print(text(u"Buscando iconos…"_s));
    });
    connect(&app, &AppDelegate::boundaryDecided, this, &SessionPrinter::printDecisions);
    // A press opens its item's menu on the thread of the scan that made it.
    connect(&m_context.platform.desktop(), &SimDesktop::itemMenuChanged, this,
            &SessionPrinter::printItemMenu, Qt::QueuedConnection);
    connect(&app, &AppDelegate::sightChecked, this, &SessionPrinter::printUnseen);
    if (SimStatusItem* item = m_context.platform.simulatedDesktopServices().statusItem())
        connect(item, &SimStatusItem::menuPoppedUp, this, &SessionPrinter::printMenu);
    m_lastMessage = visibility.message();
    m_lastNotice = app.preferences().notice();
    m_lastHotkey = app.preferences().hotkeyStatus();
    m_lastHidden = listed(m_context.hiddenApplications());
    printState();
}

// The status line, the notice and the shortcut's status.
void SessionPrinter::watchStatusLines()
{
    connect(&m_context.app.visibility(), &VisibilityController::messageChanged, this,
            [this](const QString& line) {
                if (line != std::exchange(m_lastMessage, line) && !line.isEmpty())
                    print(text(u"Estado"_s) + u": "_s + text(line));
            });
    Preferences& preferences = m_context.app.preferences();
    connect(&preferences, &Preferences::noticeChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastNotice, line) && !line.isEmpty())
            print(text(u"Aviso"_s) + u": "_s + text(line));
    });
    connect(&preferences, &Preferences::hotkeyStatusChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastHotkey, line))
            print(text(u"Atajo"_s) + u": "_s + text(line));
    });
}

// Called on a later turn: the controller publishes its two properties one after the other,
// and only the pair they form at the end is a state.
void SessionPrinter::printState()
{
    const VisibilityController& visibility = m_context.app.visibility();
    const QString state = visibility.pending()  ? u"Aplicando…"_s
                          : visibility.active() ? u"Colapsado"_s
                                                : u"Expandido"_s;
    if (state != std::exchange(m_lastState, state))
        print(text(state));
}

void SessionPrinter::printHidden()
{
    const QStringList hidden = m_context.hiddenApplications();
    if (listed(hidden) == std::exchange(m_lastHidden, listed(hidden)))
        return;
    print(hidden.isEmpty() ? text(u"Ninguna app oculta."_s)
                           : text(u"Apps ocultas"_s) + u": "_s + hidden.join(u", "_s));
}

// One line per application, in the order of their bundle identifiers.
void SessionPrinter::printDecisions()
{
    for (const BoundaryPolicy::Decision& decision : m_context.app.boundaryDecisions())
        print(text(u"Motivo"_s) + u": "_s + decision.bundle + u' ' +
              BoundaryPolicy::reasonWord(decision.reason));
}

// One line per item out of sight: its application, its title and why; once all can be seen
// again, that they can.
void SessionPrinter::printUnseen()
{
    const QList<UnseenIcon>& unseen = m_context.app.unseenIcons();
    if (unseen.isEmpty() && !m_context.app.inspector().items().isEmpty() &&
        std::exchange(m_someUnseen, false))
        print(text(u"Todos los iconos se ven."_s));
    m_someUnseen = m_someUnseen || !unseen.isEmpty();
    for (const UnseenIcon& icon : unseen)
        print(text(u"No se ve"_s) + u": "_s + icon.application + u" \""_s + icon.title + u"\" "_s +
              SightPolicy::reasonWord(icon.reason));
}

void SessionPrinter::printMenu()
{
    const SimStatusItem* item = m_context.platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu())
        return;
    QStringList titles;
    for (const MenuEntry& entry : *item->openMenu()) {
        if (!entry.isSeparator)
            titles << entry.title;
    }
    print(text(u"Menú"_s) + u": "_s + titles.join(u" · "_s));
}

// The menu of another application's item that a press opened, or its closing.
void SessionPrinter::printItemMenu()
{
    const std::optional<SimPress> open = m_context.platform.desktop().openItemMenu();
    const QString line =
        open ? text(u"Menú del icono abierto: %1"_s)
                   .arg((open->applicationId() + u' ' + open->title).trimmed())
             : text(u"Menú del icono cerrado."_s);
    if (line != std::exchange(m_lastItemMenu, line))
        print(line);
}

void SessionPrinter::print(const QString& line)
{
    if (m_context.ended)
        return;
    const double elapsed = m_context.time ? m_context.time->now() - m_context.started : 0.0;
    m_context.out << u"[%1 s] "_s.arg(elapsed, 7, 'f', 2) << line << Qt::endl;
}

QString SessionPrinter::text(const QString& spanish) const
{
    return SimulatorTexts::text(spanish, m_context.app.preferences().language());
}

} // namespace tk
