#include "HeadlessSession.h"

#include "app/AppDelegate.h"
#include "app/SettingsWindow.h"
#include "core/Time.h"
#include "l10n/L10n.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "platform/sim/VirtualTime.h"
#include "simulator/SystemActions.h"
#include "simulator/SimMenuBarScene.h"
#include "simulator/SimulatorPanel.h"
#include "simulator/SimulatorTexts.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageWriter>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

// Keeps the scans that the application starts from answering until the session lets them
// run, so that what a step leaves behind (a scan under way) is what the next expectation
// sees, and every line is printed at the same virtual time whatever the machine's load.
class ScanGate {
public:
    explicit ScanGate(SimAccessibility& accessibility) : m_accessibility(accessibility)
    {
        close();
    }
    ~ScanGate() { open(); }
    ScanGate(const ScanGate&) = delete;
    ScanGate& operator=(const ScanGate&) = delete;

    void open() { m_accessibility.holdAnswers(false); }
    void close() { m_accessibility.holdAnswers(true); }

private:
    SimAccessibility& m_accessibility;
};

namespace {

constexpr int realTimeLimitPerScan = 120; // seconds of the machine's time

QString applicationId(const SimApplication& app)
{
    return app.bundleIdentifier.value_or(u"pid:"_s + QString::number(app.pid));
}

// A section by name or by index, as the script reader accepts them.
int sectionIndex(const QString& section)
{
    bool isIndex = false;
    const int index = section.toInt(&isIndex);
    return isIndex ? index : int(SessionScript::sectionNames().indexOf(section));
}

QString listed(const QStringList& applications)
{
    return applications.isEmpty() ? u"nothing"_s : applications.join(u' ');
}

// The running application a script names, other than Tuckaway.
std::optional<qint32> runningPid(const SimDesktop& desktop, const QString& application)
{
    for (const SimApplication& app : desktop.applications()) {
        if (applicationId(app) == application && app.pid != desktop.ownPid())
            return app.pid;
    }
    return std::nullopt;
}

// Permission steps that name an application run while the scan under way is under way.
bool runsDuringScan(const ScriptStep& step)
{
    return step.command == u"permission" && step.arguments.size() == 3;
}

} // namespace

HeadlessSession::HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out,
                                 QTextStream& errors, QString pictureDirectory, QObject* parent)
    : QObject(parent), m_platform(platform), m_app(app), m_out(out), m_errors(errors),
      m_directory(std::move(pictureDirectory)),
      m_time(dynamic_cast<VirtualTimeSource*>(&platform.time()))
{
}

HeadlessSession::~HeadlessSession() = default;

QString HeadlessSession::defaultPictureDirectory()
{
    const QString here = QDir::current().filePath(u"tuckaway-session"_s);
    if (QDir().mkpath(here) && QFileInfo(here).isWritable())
        return here;
    return QDir::temp().filePath(u"tuckaway-session"_s);
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
        m_errors << m_source << (error->line > 0 ? u":"_s + QString::number(error->line) : QString())
                 << u": "_s << error->reason << Qt::endl;
        QTimer::singleShot(0, this, [this] { Q_EMIT finished(2); });
        return;
    }
    m_steps = std::get<QList<ScriptStep>>(std::move(read));
    QTimer::singleShot(0, this, &HeadlessSession::play);
}

void HeadlessSession::play()
{
    if (!m_time) {
        m_errors << m_source << u": the simulated desktop does not run on virtual time"_s << Qt::endl;
        Q_EMIT finished(2);
        return;
    }
    connect(&m_app, &AppDelegate::quitRequested, this, [this] { m_appQuit = true; });
    m_gate = std::make_unique<ScanGate>(m_platform.simulatedAccessibility());
    m_started = m_time->now();
    print(text(u"Tuckaway · sesión sin pantalla en el escritorio simulado"_s));
    watch();
    settle();
    Outcome outcome;
    for (const ScriptStep& step : std::as_const(m_steps)) {
        outcome = perform(step);
        if (outcome.exitCode != 0 || m_appQuit)
            break;
    }
    if (!m_appQuit)
        settle();
    m_gate.reset();
    if (outcome.exitCode != 0) {
        m_errors << m_source << u":"_s << outcome.failure << Qt::endl;
    } else {
        print(text(u"Fin de la sesión."_s));
        if (!m_pictures.isEmpty())
            print(text(u"Imágenes de la barra de menús en %1"_s)
                      .arg(QDir::toNativeSeparators(QDir(m_directory).absolutePath())));
    }
    m_ended = true; // the quit sequence that follows is not the script's
    if (!m_appQuit)
        Q_EMIT finished(outcome.exitCode);
}

HeadlessSession::Outcome HeadlessSession::perform(const ScriptStep& step)
{
    const QString where = QString::number(step.line) + u": "_s;
    if (step.isExpectation()) {
        if (const std::optional<QString> failure = check(step))
            return {1, where + *failure};
        return {};
    }
    if (!runsDuringScan(step))
        settle();
    print(u"▸ "_s + step.text());
    Outcome outcome = act(step);
    drain();
    printHidden();
    if (outcome.exitCode != 0)
        outcome.failure = where + outcome.failure;
    return outcome;
}

// What happened since the last step is over: scans ended, answers delivered.
void HeadlessSession::settle()
{
    m_gate->open();
    drain();
    const QDeadlineTimer limit{std::chrono::seconds{realTimeLimitPerScan}};
    while (m_app.inspector().isScanning() && !limit.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    drain();
    m_gate->close();
    drain();
    printHidden();
}

// Runs what the main thread has been handed, including what that hands on.
void HeadlessSession::drain()
{
    for (int i = 0; i < 8; ++i)
        QCoreApplication::processEvents();
}

// Time moves from one timer to the next, each one's work over before the next one fires.
void HeadlessSession::waitFor(double seconds)
{
    const double end = m_time->now() + seconds;
    for (std::optional<double> due = m_time->nextDue(); due && *due <= end && !m_appQuit;
         due = m_time->nextDue()) {
        m_time->advance(std::max(0.0, *due - m_time->now()));
        settle();
    }
    m_time->advance(std::max(0.0, end - m_time->now()));
}

// Printed as they happen, each only when it differs from what was printed last.
void HeadlessSession::watch()
{
    VisibilityController& visibility = m_app.visibility();
    connect(&visibility, &VisibilityController::activeChanged, this, &HeadlessSession::printState,
            Qt::QueuedConnection);
    connect(&visibility, &VisibilityController::pendingChanged, this, &HeadlessSession::printState,
            Qt::QueuedConnection);
    connect(&visibility, &VisibilityController::messageChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastMessage, line) && !line.isEmpty())
            print(text(u"Estado"_s) + u": "_s + text(line));
    });
    Preferences& preferences = m_app.preferences();
    connect(&preferences, &Preferences::noticeChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastNotice, line) && !line.isEmpty())
            print(text(u"Aviso"_s) + u": "_s + text(line));
    });
    connect(&preferences, &Preferences::hotkeyStatusChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastHotkey, line))
            print(text(u"Atajo"_s) + u": "_s + text(line));
    });
    connect(&m_app.inspector(), &Inspector::isScanningChanged, this, [this](bool scanning) {
        if (scanning)
            print(text(u"Buscando iconos…"_s));
    });
    connect(&m_app, &AppDelegate::boundaryDecided, this, &HeadlessSession::printDecisions);
    if (SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem())
        connect(item, &SimStatusItem::menuPoppedUp, this, &HeadlessSession::printMenu);
    m_lastMessage = visibility.message();
    m_lastNotice = preferences.notice();
    m_lastHotkey = preferences.hotkeyStatus();
    m_lastHidden = listed(hiddenApplications());
    printState();
}

// Called on a later turn: the controller publishes its two properties one after the other,
// and only the pair they form at the end is a state.
void HeadlessSession::printState()
{
    const VisibilityController& visibility = m_app.visibility();
    const QString state = visibility.pending()  ? u"Aplicando…"_s
                          : visibility.active() ? u"Colapsado"_s
                                                : u"Expandido"_s;
    if (state != std::exchange(m_lastState, state))
        print(text(state));
}

void HeadlessSession::printHidden()
{
    const QStringList hidden = hiddenApplications();
    if (listed(hidden) == std::exchange(m_lastHidden, listed(hidden)))
        return;
    print(hidden.isEmpty() ? text(u"Ninguna app oculta."_s)
                           : text(u"Apps ocultas"_s) + u": "_s + hidden.join(u", "_s));
}

// One line per application, in the order of their bundle identifiers.
void HeadlessSession::printDecisions()
{
    for (const BoundaryPolicy::Decision& decision : m_app.boundaryDecisions())
        print(text(u"Motivo"_s) + u": "_s + decision.bundle + u' ' +
              BoundaryPolicy::reasonWord(decision.reason));
}

void HeadlessSession::printMenu()
{
    const SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu())
        return;
    QStringList titles;
    for (const MenuEntry& entry : *item->openMenu()) {
        if (!entry.isSeparator)
            titles << entry.title;
    }
    print(text(u"Menú"_s) + u": "_s + titles.join(u" · "_s));
}

QString HeadlessSession::stateName() const
{
    const VisibilityController& visibility = m_app.visibility();
    if (visibility.pending())
        return u"requesting"_s;
    if (visibility.active())
        return u"hidden"_s;
    return m_app.inspector().isScanning() ? u"scanning"_s : u"shown"_s;
}

// Applications with menu-bar items that the assertion in force hides, in launch order.
QStringList HeadlessSession::hiddenApplications() const
{
    const SimDesktop& desktop = m_platform.desktop();
    QStringList hidden;
    for (const SimApplication& app : desktop.applications()) {
        if (!app.items.isEmpty() && !desktop.isApplicationVisible(app.pid))
            hidden << applicationId(app);
    }
    return hidden;
}

std::optional<QString> HeadlessSession::check(const ScriptStep& step) const
{
    const QStringList& a = step.arguments;
    const auto differs = [&step](const QString& expected, const QString& got) {
        return u"expected %1 %2, got %1 %3"_s.arg(step.command.mid(7), expected, got);
    };
    const auto quoted = [](const QString& text) { return u"\""_s + text + u'"'; };
    if (step.command == u"expect hidden") {
        const QStringList hidden = hiddenApplications();
        if (QSet<QString>(a.begin(), a.end()) == QSet<QString>(hidden.begin(), hidden.end()))
            return std::nullopt;
        return differs(listed(a), listed(hidden));
    }
    if (step.command == u"expect reason")
        return checkReason(a[0], a[1]);
    if (step.command == u"expect state")
        return stateName() == a[0] ? std::nullopt : std::optional(differs(a[0], stateName()));
    QString got;
    QString expected = a.value(0);
    if (step.command == u"expect notice") {
        got = m_app.preferences().notice();
    } else if (step.command == u"expect message") {
        got = m_app.visibility().message();
    } else if (step.command == u"expect tooltip") {
        const SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
        got = item ? item->toolTip() : QString();
        expected = L10n::text(expected, m_app.preferences().language());
    } else {
        const SettingsWindow* window = m_app.settingsWindow();
        const bool open = window && window->isVisible();
        const QString section = SessionScript::sectionNames().value(m_app.preferences().section());
        got = open ? u"open "_s + section : u"closed"_s;
        if (a.size() == 2) {
            expected = u"open "_s + SessionScript::sectionNames().value(sectionIndex(a[1]));
        } else {
            got = open ? u"open"_s : got;
        }
        return got == expected ? std::nullopt : std::optional(differs(expected, got));
    }
    return got == expected ? std::nullopt : std::optional(differs(quoted(expected), quoted(got)));
}

// The reason of the latest collapse in "boundary" mode; "none" for an application it did
// not judge.
std::optional<QString> HeadlessSession::checkReason(const QString& bundle, const QString& expected) const
{
    QString got = u"none"_s;
    for (const BoundaryPolicy::Decision& decision : m_app.boundaryDecisions()) {
        if (decision.bundle == bundle)
            got = BoundaryPolicy::reasonWord(decision.reason);
    }
    if (got == expected)
        return std::nullopt;
    return u"expected reason %1 %2, got reason %1 %3"_s.arg(bundle, expected, got);
}

// What a person does at the icon, with the pointer and the keyboard, and time passing.
HeadlessSession::Outcome HeadlessSession::act(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    using Kind = StatusItemEvent::Kind;
    if (command == u"click")
        return clickIcon(int(Kind::LeftMouseUp), false);
    if (command == u"right-click")
        return clickIcon(int(Kind::RightMouseUp), false);
    if (command == u"option-click")
        return clickIcon(int(Kind::LeftMouseUp), true);
    if (command == u"menu")
        return chooseFromMenu(first);
    if (command == u"pointer")
        return pointer(step.arguments);
    if (command == u"picture")
        return savePicture(first);
    if (command == u"button")
        m_platform.simulatedDesktopServices().setMouseButtonPressed(first == u"down");
    else if (command == u"wait")
        waitFor(first.toDouble());
    else if (command == u"shortcut")
        pressShortcut(m_platform);
    else if (command == u"drag")
        m_platform.desktop().moveStatusItem(first.toDouble());
    else
        return actOnDesktop(step);
    return {};
}

// What the system and other applications do around Tuckaway.
HeadlessSession::Outcome HeadlessSession::actOnDesktop(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    SimDesktop& desktop = m_platform.desktop();
    SimDesktopServices& services = m_platform.simulatedDesktopServices();
    if (command == u"launch")
        return launch(first, step.arguments.value(1));
    if (command == u"quit")
        return quitApplication(first);
    if (runsDuringScan(step))
        return setPermissionDuringScan(first == u"on", step.arguments.at(2));
    if (command == u"hang" || command == u"recover")
        return setHung(first, command == u"hang");
    if (command == u"permission")
        desktop.setTrusted(first == u"on");
    else if (command == u"framework")
        desktop.setFrameworkBehaviour(SimulatorPanel::behaviourFor(
            SimulatorPanel::frameworkModeNamed(first), desktop.frameworkBehaviour()));
    else if (command == u"screens")
        first == u"sleep" ? services.sleepScreens() : services.changeScreenParameters();
    else if (command == u"reopen")
        services.reopen();
    else if (command == u"second-launch")
        secondLaunch();
    else
        actOnSettings(step);
    return {};
}

// What the settings window and its view do.
void HeadlessSession::actOnSettings(const ScriptStep& step)
{
    const QString& command = step.command;
    const QString first = step.arguments.value(0);
    if (command == u"settings open") {
        m_app.openSettings(first.isEmpty() ? std::nullopt : std::optional(sectionIndex(first)));
    } else if (command == u"settings close") {
        if (SettingsWindow* window = m_app.settingsWindow())
            window->close();
    } else if (command == u"apply") {
        m_app.applySettings();
    } else if (command == u"set") {
        set(first, step.arguments.value(1));
    } else if (command == u"language") {
        m_app.preferences().setLanguage(first);
    }
}

// As the status item delivers a mouse-up on its button; the pointer stays where it is.
HeadlessSession::Outcome HeadlessSession::clickIcon(int kind, bool option)
{
    SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (!item || !item->hasButton())
        return {2, u"Tuckaway's icon is not in the menu bar"_s};
    StatusItemEvent event;
    event.kind = StatusItemEvent::Kind(kind);
    event.option = option;
    item->click(event);
    return {};
}

HeadlessSession::Outcome HeadlessSession::chooseFromMenu(const QString& spanishTitle)
{
    SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu())
        return {2, u"no menu is open"_s};
    const QList<MenuEntry> entries = *item->openMenu();
    const QString wanted = L10n::text(spanishTitle, m_app.preferences().language());
    for (int i = 0; i < entries.size(); ++i) {
        if (!entries.at(i).isSeparator && entries.at(i).title == wanted) {
            item->chooseMenuEntry(i);
            return {};
        }
    }
    return {2, u"the open menu has no entry \"%1\""_s.arg(spanishTitle)};
}

HeadlessSession::Outcome HeadlessSession::pointer(const QStringList& arguments)
{
    SimDesktopServices& services = m_platform.simulatedDesktopServices();
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
        for (const SimScreen& screen : m_platform.desktop().screens())
            left = std::min(left, screen.frame.minX());
        services.setPointerPosition({left - 1000.0, 0.0});
    }
    return {};
}

// One menu-bar item, which joins the bar where a newly launched application's does.
HeadlessSession::Outcome HeadlessSession::launch(const QString& application, const QString& name)
{
    SimApplication app;
    if (application.startsWith(u"pid:"_s))
        app.pid = application.mid(4).toInt();
    else
        app.bundleIdentifier = application;
    app.name = name;
    app.items = {SimulatorPanel::menuBarItem({}, name, 28.0)};
    const qint32 pid = m_platform.desktop().launchApplication(std::move(app));
    if (application.startsWith(u"pid:"_s) && u"pid:"_s + QString::number(pid) != application)
        return {2, u"process %1 is taken; the application runs as pid:%2"_s.arg(application.mid(4)).arg(pid)};
    return {};
}

HeadlessSession::Outcome HeadlessSession::quitApplication(const QString& application)
{
    const std::optional<qint32> pid = runningPid(m_platform.desktop(), application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    m_platform.desktop().quitApplication(*pid);
    return {};
}

// The scan under way runs on until it comes to the application and waits there while the
// permission changes, then for the next step as any scan does; without a scan under way,
// or when it ends first, the permission changes then.
HeadlessSession::Outcome HeadlessSession::setPermissionDuringScan(bool granted,
                                                                  const QString& application)
{
    const std::optional<qint32> pid = runningPid(m_platform.desktop(), application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    SimAccessibility& accessibility = m_platform.simulatedAccessibility();
    accessibility.holdAnswersWhen([pid](qint32 to) { return to == *pid; });
    const QDeadlineTimer limit{std::chrono::seconds{realTimeLimitPerScan}};
    while (m_app.inspector().isScanning() && !limit.hasExpired() &&
           !accessibility.waitForHeldWalk(std::chrono::milliseconds(10)))
        QCoreApplication::processEvents();
    m_platform.desktop().setTrusted(granted);
    m_gate->close();
    return {};
}

HeadlessSession::Outcome HeadlessSession::setHung(const QString& application, bool hung)
{
    const std::optional<qint32> pid = runningPid(m_platform.desktop(), application);
    if (!pid)
        return {2, u"no application %1 is running"_s.arg(application)};
    m_platform.desktop().setHung(*pid, hung);
    return {};
}

void HeadlessSession::secondLaunch()
{
    if (launchSecondCopy(m_platform))
        print(text(u"Otra copia de Tuckaway ha traído al frente la que ya estaba abierta y ha salido."_s));
}

// As the settings view edits the record: one field through the store.
void HeadlessSession::set(const QString& field, const QString& value)
{
    SettingsData record = m_app.preferences().data();
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
    m_app.preferences().setData(record);
}

HeadlessSession::Outcome HeadlessSession::savePicture(const QString& name)
{
    if (m_directory.isEmpty())
        m_directory = defaultPictureDirectory();
    SimMenuBarScene::Look look;
    look.language = m_app.preferences().language();
    if (const SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem())
        look.glyph = item->image();
    const QImage picture = SimMenuBarScene(m_platform.desktop(), 1.0).render(look);
    const QString path = QDir(m_directory).absoluteFilePath(name);
    QImageWriter writer(path, "png");
    if (!QDir().mkpath(m_directory) || !writer.write(picture))
        return {2, u"could not save the picture %1: %2"_s.arg(QDir::toNativeSeparators(path),
                                                              writer.errorString())};
    m_pictures << path;
    print(text(u"Imagen guardada: %1"_s).arg(name));
    return {};
}

void HeadlessSession::print(const QString& line)
{
    if (m_ended)
        return;
    const double elapsed = m_time ? m_time->now() - m_started : 0.0;
    m_out << u"[%1 s] "_s.arg(elapsed, 7, 'f', 2) << line << Qt::endl;
}

QString HeadlessSession::text(const QString& spanish) const
{
    return SimulatorTexts::text(spanish, m_app.preferences().language());
}

} // namespace tk
