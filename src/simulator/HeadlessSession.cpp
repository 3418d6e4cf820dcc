#include "HeadlessSession.h"

#include "app/AppControl.h"
#include "app/AppDelegate.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/VirtualTime.h"
#include "simulator/SessionExpectations.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int realTimeLimitPerScan = 120; // seconds of the machine's time
constexpr int clockStep = 10;              // milliseconds between moves of virtual time

QString requestText(const ControlRequest& request)
{
    const QString name = ControlProtocol::commandName(request.command);
    return request.command == ControlCommand::Reveal ? name + u' ' + request.application : name;
}

// Permission steps that name an application run while the scan under way is under way.
bool runsDuringScan(const ScriptStep& step)
{
    return step.command == u"permission" && step.arguments.size() == 3;
}

} // namespace

HeadlessSession::HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out,
                                 QTextStream& errors, QString pictureDirectory, QObject* parent)
    : QObject(parent),
      m_context(platform, app, out, errors, std::move(pictureDirectory)),
      m_printer(m_context), m_steps(m_context, m_printer)
{
    // Scans move with the script's clock from the launch's own on: they stop at every request
    // until a wait lets the clock reach its end, so every line is printed at the same virtual
    // time whatever the machine's load.
    if (m_context.time)
        m_context.time->setPaced(true);
}

HeadlessSession::~HeadlessSession()
{
    if (m_context.time)
        m_context.time->setPaced(false);
}

QByteArray HeadlessSession::builtInScript()
{
    QFile file(u":/simulator/headless.script"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::variant<QByteArray, QString> HeadlessSession::readScriptFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return u"no such file"_s;
    // Checked before opening: opening a pipe would wait for a writer.
    if (!info.isFile())
        return u"not a regular file"_s;
    if (info.size() > SessionScript::maximumSize)
        return u"the script is larger than %1 bytes"_s.arg(SessionScript::maximumSize);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.isSequential())
        return u"cannot be read: "_s + file.errorString();
    QByteArray bytes = file.read(SessionScript::maximumSize + 1);
    if (bytes.size() > SessionScript::maximumSize)
        return u"the script is larger than %1 bytes"_s.arg(SessionScript::maximumSize);
    return bytes;
}

void HeadlessSession::start(const QString& source, const QByteArray& script)
{
    m_source = source;
    ScriptOrError read = SessionScript::read(script);
    if (auto* error = std::get_if<ScriptError>(&read)) {
        m_context.errors << m_source
                         << (error->line > 0 ? u":"_s + QString::number(error->line) : QString())
                         << u": "_s << error->reason << Qt::endl;
        QTimer::singleShot(0, this, [this] { Q_EMIT finished(2); });
        return;
    }
    m_script = std::get<QList<ScriptStep>>(std::move(read));
    QTimer::singleShot(0, this, &HeadlessSession::play);
}

void HeadlessSession::play()
{
    if (!m_context.time) {
        m_context.errors << m_source << u": the simulated desktop does not run on virtual time"_s
                         << Qt::endl;
        Q_EMIT finished(2);
        return;
    }
    connect(&m_context.app, &AppDelegate::quitRequested, this, [this] {
        m_context.appQuit = true;
        refuseStepsAfterQuit();
    });
    m_context.started = m_context.time->now();
    m_printer.print(
        m_printer.text(u"Tuckaway · sesión sin pantalla en el escritorio simulado"_s));
    m_printer.watch();
    // The launch's own scan is over, on the clock, before the first step.
    settle();
    while (m_context.app.inspector().isScanning() &&
           stepClock(std::numeric_limits<double>::infinity())) {
    }
    StepOutcome outcome;
    for (qsizetype i = 0; i < m_script.size(); ++i) {
        m_next = i + 1;
        outcome = perform(m_script[i]);
        if (outcome.exitCode != 0 || m_context.appQuit)
            break;
    }
    if (!m_context.appQuit)
        settle();
    conclude(outcome);
}

// Said while the quit is being asked for, so that the session's exit code is the last word.
void HeadlessSession::refuseStepsAfterQuit()
{
    if (m_context.ended || m_next >= m_script.size())
        return;
    conclude({2, QString::number(m_script[m_next].line) +
                     u": Tuckaway has quit; no step can run after it"_s});
}

// The last lines, then the exit code, unless the application is quitting of its own accord.
void HeadlessSession::conclude(const StepOutcome& outcome)
{
    if (m_context.ended)
        return;
    if (outcome.exitCode != 0) {
        m_context.errors << m_source << u":"_s << outcome.failure << Qt::endl;
    } else {
        m_printer.print(m_printer.text(u"Fin de la sesión."_s));
        if (!m_context.pictures.isEmpty())
            m_printer.print(m_printer.text(u"Imágenes de la barra de menús en %1"_s)
                                .arg(QDir::toNativeSeparators(
                                    QDir(m_context.pictureDirectory).absolutePath())));
    }
    m_context.ended = true; // the quit sequence that follows is not the script's
    m_context.time->setPaced(false);
    // A script that quits Tuckaway ends with the quit, unless steps were left that cannot run.
    if (!m_context.appQuit || outcome.exitCode != 0)
        Q_EMIT finished(outcome.exitCode);
}

StepOutcome HeadlessSession::perform(const ScriptStep& step)
{
    const QString where = QString::number(step.line) + u": "_s;
    if (step.isExpectation()) {
        if (const std::optional<QString> failure = SessionExpectations::check(m_context, step))
            return {1, where + *failure};
        return {};
    }
    if (!runsDuringScan(step))
        settle();
    m_printer.print(u"▸ "_s + step.text());
    StepOutcome outcome = act(step);
    drain();
    m_printer.printHidden();
    if (outcome.exitCode != 0)
        outcome.failure = where + outcome.failure;
    return outcome;
}

// Waiting is the session's own; every other step is carried out on the desktop.
StepOutcome HeadlessSession::act(const ScriptStep& step)
{
    if (runsDuringScan(step))
        return setPermissionDuringScan(step.arguments.at(0) == u"on", step.arguments.at(2));
    if (step.command == u"serve")
        return serve(step.arguments.value(0).toDouble());
    if (step.command != u"wait")
        return m_steps.act(step);
    advanceTo(m_context.time->now() + step.arguments.value(0).toDouble());
    return {};
}

// The scan under way runs on, and time with it, until it comes to the application and waits
// there while the permission changes; without a scan under way, or when it ends first, the
// permission changes then.
StepOutcome HeadlessSession::setPermissionDuringScan(bool granted, const QString& application)
{
    const std::optional<qint32> pid = runningPid(m_context.platform, application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    SimAccessibility& accessibility = m_context.platform.simulatedAccessibility();
    accessibility.holdAnswersWhen([pid](qint32 to) { return to == *pid; });
    settle();
    while (m_context.app.inspector().isScanning() && !walkHeld() &&
           stepClock(std::numeric_limits<double>::infinity())) {
    }
    m_context.platform.desktop().setTrusted(granted);
    accessibility.holdAnswers(false);
    return {};
}

// Until what the steps started is over or waits for the clock: answers delivered, a scan
// ended or stopped at its next request.
void HeadlessSession::settle()
{
    drain();
    const QDeadlineTimer limit{std::chrono::seconds{realTimeLimitPerScan}};
    while (m_context.app.inspector().isScanning() && !m_context.time->nextWaking() &&
           !walkHeld() && !limit.hasExpired()) {
        m_context.time->waitForSleeper(std::chrono::milliseconds(2));
        QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
    }
    drain();
    m_printer.printHidden();
}

bool HeadlessSession::walkHeld() const
{
    return m_context.platform.simulatedAccessibility().waitForHeldWalk(
        std::chrono::milliseconds(0));
}

// Lets the clock reach the next moment something happens, no later than `end`: the next
// request of a scan ends, or the next timer fires; what follows from it is over on return.
bool HeadlessSession::stepClock(double end)
{
    VirtualTimeSource& time = *m_context.time;
    const std::optional<double> timer = time.nextDue();
    const std::optional<double> waking = time.nextWaking();
    if (waking && *waking <= end && (!timer || *waking <= *timer))
        time.wake(*waking);
    else if (timer && *timer <= end)
        time.advance(std::max(0.0, *timer - time.now()));
    else
        return false;
    settle();
    return true;
}

// Runs what the main thread has been handed, including what that hands on.
void HeadlessSession::drain()
{
    for (int i = 0; i < 8; ++i)
        QCoreApplication::processEvents();
}


// The copy answers control requests (tuckaway --toggle, …) for `seconds` of the machine's own
// time; what they start runs on virtual time that follows the machine's clock meanwhile, so
// the lines printed then differ from run to run. Of copies that serve at once, one listens.
StepOutcome HeadlessSession::serve(double seconds)
{
    AppControl& control = *m_context.app.control();
    const ControlServer::Started started = control.listen();
    if (started.outcome == ControlServer::Outcome::Failed)
        return {2, started.failure.in(u"en"_s)};
    const bool listening = started.outcome == ControlServer::Outcome::Listening;
    m_printer.print(listening ? m_printer.text(u"Órdenes de control: escuchando en %1"_s)
                                    .arg(control.server().socketPath())
                              : m_printer.text(u"Órdenes de control: otra copia de Tuckaway "
                                               u"las atiende."_s));
    const QMetaObject::Connection printing =
        connect(&control.dispatcher(), &ControlDispatcher::started, this,
                [this](const ControlRequest& request) {
                    m_printer.print(
                        m_printer.text(u"Orden de control: %1"_s).arg(requestText(request)));
                });
    followClock(seconds);
    disconnect(printing);
    if (listening) {
        control.stopListening();
        m_printer.print(m_printer.text(u"Órdenes de control: cerrado."_s));
    }
    return {};
}

// Scans answer as they end; timers fire as the clock reaches them, each one's work done
// before the next one fires.
void HeadlessSession::followClock(double seconds)
{
    const double origin = m_context.time->now();
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    QTimer pace;
    connect(&pace, &QTimer::timeout, &loop, [&] {
        const double elapsed = double(clock.elapsed()) / 1000.0;
        advanceTo(origin + std::min(elapsed, seconds));
        m_printer.printHidden();
        if (elapsed >= seconds || m_context.appQuit)
            loop.quit();
    });
    pace.start(clockStep);
    loop.exec();
}

// Time moves from one moment to the next, each one's work over before the next comes.
void HeadlessSession::advanceTo(double target)
{
    VirtualTimeSource& time = *m_context.time;
    while (!m_context.appQuit && stepClock(target)) {
    }
    time.advance(std::max(0.0, target - time.now()));
}

} // namespace tk
