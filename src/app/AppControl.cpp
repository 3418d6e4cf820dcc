#include "AppControl.h"

#include "app/AppDelegate.h"
#include "control/ControlEndpoint.h"
#include "inspection/ItemPress.h"
#include "inspection/Workspace.h"

#include <QCoreApplication>
#include <memory>

namespace tk {

using namespace Qt::StringLiterals;

namespace {
const QString notHidden = u"No está oculta: %1"_s;
} // namespace

AppControl::AppControl(AppDelegate& app, const Workspace& workspace, TimeSource& time,
                       QObject* parent)
    : QObject(parent), m_app(app), m_workspace(workspace), m_dispatcher(*this),
      m_server(m_dispatcher, time),
      m_addresses(*QCoreApplication::instance(), m_dispatcher,
                  [&app](const QString& reason) { app.preferences().setNotice(reason); })
{
    // Looked at on a later turn: a scan's end and the collapse it leads to are one turn.
    const auto check = [this] {
        QMetaObject::invokeMethod(this, &AppControl::checkAtRest, Qt::QueuedConnection);
    };
    connect(&app.inspector(), &Inspector::isScanningChanged, this, check);
    connect(&app.visibility(), &VisibilityController::pendingChanged, this, check);
    // A reveal ends between scans too: waiting for its item, or cut short by a click.
    connect(&app, &AppDelegate::interactionTimerFired, this, check);
}

AppControl::~AppControl() = default;

ControlServer::Started AppControl::listen()
{
    const EndpointOrProblem endpoint = ControlEndpoint::locate(true);
    if (const auto* problem = std::get_if<ControlText>(&endpoint))
        return {ControlServer::Outcome::Failed, *problem};
    return m_server.listen(std::get<ControlEndpoint>(endpoint));
}

// Collapses only when shown, as the click does.
void AppControl::collapse(Done done)
{
    whenAtRest([this, done] {
        if (m_app.visibility().active()) {
            done(ControlOutcome());
            return;
        }
        m_app.collapse();
        whenAtRest([this, done] { done(collapseOutcome()); });
    });
}

// Expands only when hidden, as the click does.
void AppControl::expand(Done done)
{
    whenAtRest([this, done] {
        if (m_app.visibility().active())
            m_app.expand();
        whenAtRest([done] { done(ControlOutcome()); });
    });
}

void AppControl::toggle(Done done)
{
    whenAtRest([this, done] {
        const bool wasHidden = m_app.visibility().active();
        m_app.toggleVisibility();
        whenAtRest(
            [this, done, wasHidden] { done(wasHidden ? ControlOutcome() : collapseOutcome()); });
    });
}

// As the menu entry, at any moment: whatever is under way ends without effect.
void AppControl::showAll(Done done)
{
    m_app.showAll();
    whenAtRest([done] { done(ControlOutcome()); });
}

void AppControl::reveal(const QString& application, Done done)
{
    whenAtRest([this, application, done] {
        if (!hiddenApplications().contains(application)) {
            done(ControlText{notHidden, {application}});
            return;
        }
        auto failure = std::make_shared<QString>();
        // Hidden by the latest scan, yet without an icon the hiding found: nothing to reveal.
        if (!m_app.revealHiddenApplication(
                application, [failure](const QString& notice) { *failure = notice; })) {
            done(ControlText{notHidden, {application}});
            return;
        }
        whenAtRest([done, failure] {
            done(failure->isEmpty() ? ControlOutcome() : ControlText{*failure, {}});
        });
    });
}

ControlStatus AppControl::status() const
{
    const VisibilityController& visibility = m_app.visibility();
    const QString state = visibility.pending()             ? u"requesting"_s
                          : visibility.active()            ? u"hidden"_s
                          : m_app.inspector().isScanning() ? u"scanning"_s
                                                           : u"shown"_s;
    return {state, m_app.preferences().data().mode, hiddenApplications(), visibility.message()};
}

QString AppControl::language() const
{
    return m_app.preferences().language();
}

bool AppControl::atRest() const
{
    return !m_app.inspector().isScanning() && !m_app.visibility().pending() &&
           !m_app.isRevealUnderWay();
}

void AppControl::whenAtRest(std::function<void()> then)
{
    m_waiting.push_back(std::move(then));
    QMetaObject::invokeMethod(this, &AppControl::checkAtRest, Qt::QueuedConnection);
}

void AppControl::checkAtRest()
{
    if (m_waiting.empty() || !atRest())
        return;
    for (const std::function<void()>& then : std::exchange(m_waiting, {}))
        then();
}

// Hidden, or why not: what the collapse left in the notice, else the status line.
ControlOutcome AppControl::collapseOutcome() const
{
    if (m_app.visibility().active())
        return std::nullopt;
    const QString& notice = m_app.preferences().notice();
    return ControlText{notice.isEmpty() ? m_app.visibility().message() : notice, {}};
}

// The applications of the latest scan whose icons the hiding in force covers and that still
// run: those it targets, and those without a bundle identifier, which no allow-list can name.
// An item of an application without one is known by its process number, which starts its id.
QStringList AppControl::hiddenApplications() const
{
    const VisibilityController& visibility = m_app.visibility();
    if (!visibility.active())
        return {};
    QSet<QString> running;
    for (const RunningApplication& application : m_workspace.runningApplications()) {
        running.insert(application.bundleIdentifier
                           ? *application.bundleIdentifier
                           : u"pid:"_s + QString::number(application.pid));
    }
    const QSet<QString> targets = visibility.hiddenTargets();
    QStringList hidden;
    for (const ExternalItem& item : m_app.inspector().items()) {
        const QString id = ItemPress::applicationIdOf(item);
        const bool covered = !item.bundleID || targets.contains(*item.bundleID);
        if (covered && running.contains(id) && !hidden.contains(id))
            hidden << id;
    }
    return hidden;
}

} // namespace tk
