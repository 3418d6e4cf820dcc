#include "VisibilityController.h"

#include "core/Time.h"
#include "inspection/Workspace.h"
#include "visibility/NativeVisibilityBridge.h"
#include "visibility/VisibilityPolicy.h"

#include <QPointer>
#include <QThread>

namespace tk {

namespace {

const QString initialMessage = QStringLiteral("Ocultación experimental desactivada.");
const QString unavailableMessage =
    QStringLiteral("Se necesita Accesibilidad y el backend compatible con macOS 27.");
const QString noBundleMessage = QStringLiteral("Ejecuta el bundle de la aplicación.");
const QString nothingToHideMessage = QStringLiteral("Selecciona una app externa para la prueba.");
const QString requestingMessage = QStringLiteral("Solicitando ocultación…");
const QString hiddenMessage = QStringLiteral("Apps ocultas. Pulsa la flecha para mostrar todas.");
const QString failurePrefix = QStringLiteral("No se pudo ocultar: ");
const QString noValidAnswer = QStringLiteral("sin respuesta válida");
const QString watchdogMessage =
    QStringLiteral("No se pudo mantener la ocultación: el mecanismo no respondió a tiempo.");
const QString restoredMessage =
    QStringLiteral("Restricción retirada; se ha solicitado restaurar todos los iconos.");

QList<int> allSystemItems()
{
    QList<int> items;
    for (int item = 0; item < 64; ++item)
        items.append(item);
    return items;
}

bool sameObject(const std::weak_ptr<NativeObject>& seen,
                const std::shared_ptr<NativeObject>& object)
{
    return !seen.owner_before(object) && !object.owner_before(seen);
}

} // namespace

// One call to the bridge. The framework is expected to answer once; a second answer
// is treated like a stale one, except that an assertion it already delivered is not
// invalidated a second time.
struct VisibilityController::Request {
    qint64 generation = 0;
    bool answered = false;
    std::weak_ptr<NativeObject> delivered;

    // Notes an answer. False when it hands over, again, the assertion of the first one.
    bool note(const NativeObjectPtr& assertion)
    {
        if (!answered) {
            answered = true;
            delivered = assertion;
            return true;
        }
        return !assertion || !sameObject(delivered, assertion);
    }
};

VisibilityController::VisibilityController(NativeVisibilityBridge& bridge, Workspace& workspace,
                                           TimeSource& time,
                                           std::function<bool()> isAccessibilityTrusted,
                                           QObject* parent)
    : QObject(parent), m_bridge(bridge), m_workspace(workspace),
      m_isAccessibilityTrusted(std::move(isAccessibilityTrusted)),
      m_watchdog(time.createTimer([this] { watchdogExpired(); })), m_message(initialMessage)
{
}

// A held assertion outlives us on purpose: quitting restores explicitly first.
VisibilityController::~VisibilityController() = default;

void VisibilityController::activate(const QSet<QString>& hidden)
{
    std::optional<Plan> plan = planFor(hidden);
    if (!plan)
        return;
    auto request = std::make_shared<Request>();
    request->generation = ++m_generation;
    m_hiddenTargets = std::move(plan->targets);
    m_refreshNeeded = false;
    setPending(true);
    m_watchdog->stop();
    setMessage(requestingMessage);
    m_watchdog->start(watchdogSeconds, false);
    send(plan->allowList, request);
}

std::optional<VisibilityController::Plan> VisibilityController::planFor(const QSet<QString>& hidden)
{
    if (!m_isAccessibilityTrusted() || !m_bridge.isAvailable()) {
        setMessage(unavailableMessage);
        return std::nullopt;
    }
    const std::optional<QString> own = m_workspace.mainBundleIdentifier();
    if (!own || own->isEmpty()) {
        setMessage(noBundleMessage);
        return std::nullopt;
    }
    QSet<QString> targets = QSet<QString>(hidden).subtract(VisibilityPolicy::protectedBundles());
    targets.remove(*own);
    if (targets.isEmpty()) {
        setMessage(nothingToHideMessage);
        return std::nullopt;
    }
    QSet<QString> running;
    for (const RunningApplication& application : m_workspace.runningApplications()) {
        if (application.bundleIdentifier)
            running.insert(*application.bundleIdentifier);
    }
    QStringList allowList = VisibilityPolicy::allowed(running, targets, *own);
    return Plan{std::move(targets), std::move(allowList)};
}

void VisibilityController::send(const QStringList& allowList,
                                const std::shared_ptr<Request>& request)
{
    QPointer<VisibilityController> self(this);
    NativeVisibilityBridge* bridge = &m_bridge;
    m_bridge.activate(
        allSystemItems(), allowList,
        [self, bridge, request](NativeObjectPtr assertion, std::optional<Error> error) {
            if (self)
                self->answer(*request, assertion, error);
            else if (request->note(assertion) && assertion)
                bridge->invalidate(assertion);
        });
}

void VisibilityController::answer(Request& request, const NativeObjectPtr& assertion,
                                  const std::optional<Error>& error)
{
    Q_ASSERT(QThread::currentThread() == thread());
    const bool duplicate = request.answered;
    const bool unseen = request.note(assertion);
    if (duplicate || request.generation != m_generation) {
        if (assertion && unseen && assertion != m_assertion)
            m_bridge.invalidate(assertion);
        return;
    }
    accept(assertion, error);
}

void VisibilityController::accept(const NativeObjectPtr& assertion,
                                  const std::optional<Error>& error)
{
    setPending(false);
    if (!assertion || error) {
        // An answer that breaks the contract by carrying both still hands out an
        // assertion that nobody else will end.
        if (assertion && assertion != m_assertion)
            m_bridge.invalidate(assertion);
        restore();
        setMessage(failurePrefix + (error ? error->description : noValidAnswer));
        return;
    }
    const NativeObjectPtr previous = std::exchange(m_assertion, assertion);
    setActive(true);
    if (previous && previous != assertion)
        m_bridge.invalidate(previous);
    m_watchdog->stop();
    setMessage(hiddenMessage);
    if (m_refreshNeeded) {
        m_refreshNeeded = false;
        runningApplicationsChanged();
    }
}

void VisibilityController::watchdogExpired()
{
    if (!m_pending)
        return;
    restore();
    setMessage(watchdogMessage);
}

void VisibilityController::restore()
{
    ++m_generation;
    m_hiddenTargets.clear();
    m_refreshNeeded = false;
    m_watchdog->stop();
    if (const NativeObjectPtr held = std::exchange(m_assertion, nullptr))
        m_bridge.invalidate(held);
    setActive(false);
    setPending(false);
    setMessage(restoredMessage);
}

void VisibilityController::runningApplicationsChanged()
{
    if (!m_active && !m_pending)
        return;
    if (m_pending) {
        m_refreshNeeded = true;
        return;
    }
    activate(m_hiddenTargets);
}

void VisibilityController::setActive(bool active)
{
    m_active = active;
    emit activeChanged(active);
}

void VisibilityController::setPending(bool pending)
{
    m_pending = pending;
    emit pendingChanged(pending);
}

void VisibilityController::setMessage(const QString& message)
{
    m_message = message;
    emit messageChanged(message);
}

} // namespace tk
