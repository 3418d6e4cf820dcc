#include "HeadlessSession.h"

#include "app/AppDelegate.h"
#include "core/FileAccess.h"
#include "core/Time.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimMenuBarScene.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "platform/sim/SimulatorTexts.h"

#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>
#include <QTextStream>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// Written whole or not at all, so a picture that cannot be saved leaves no file behind.
std::optional<QString> writePng(const QString& path, const QImage& picture)
{
    if (std::optional<QString> reason = FileAccess::notRegularFile(path))
        return reason;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QImageWriter writer(&file, "png");
    if (!writer.write(picture))
        return writer.errorString();
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace

HeadlessSession::HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out,
                                 QString pictureDirectory, QObject* parent)
    : QObject(parent), m_platform(platform), m_app(app), m_out(out),
      m_directory(std::move(pictureDirectory))
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

void HeadlessSession::start()
{
    m_started = m_platform.time().now();
    m_steps = script();
    print(text(u"Tuckaway · sesión sin pantalla en el escritorio simulado"_s));
    watch();
    m_poll = m_platform.time().createTimer([this] { poll(); });
    m_poll->start(pollInterval, true);
    begin(0);
}

QList<HeadlessSession::Step> HeadlessSession::script()
{
    const auto collapse = [this] {
        if (!m_app.visibility().active())
            clickIcon(false);
    };
    const auto collapsed = [this] { return settledAfterCollapse(); };
    const auto isShown = [this] { return shown(); };
    return {
        {u"Arranque: Tuckaway está en la barra de menús."_s, [] {},
         [this] {
             return m_platform.time().now() - m_started >= startDelay &&
                    !m_app.inspector().isScanning() && !m_app.visibility().pending();
         },
         [this] { savePicture(u"menubar-1-before.png"_s); }},
        {u"Clic en el icono de Tuckaway: ocultar el grupo."_s, collapse, collapsed,
         [this] {
             printHidden();
             savePicture(u"menubar-2-hidden.png"_s);
         }},
        {u"Clic en el icono de Tuckaway: mostrar los iconos ocultos."_s,
         [this] {
             if (m_app.visibility().active() || m_app.visibility().pending())
                 clickIcon(false);
         },
         isShown,
         {}},
        {u"Clic en el icono de Tuckaway: ocultar otra vez."_s, collapse, collapsed,
         [this] { printHidden(); }},
        {u"Clic derecho en el icono de Tuckaway y «Mostrar todo y pausar»."_s,
         [this] {
             clickIcon(true);
             chooseFromMenu(u"Mostrar todo y pausar"_s);
         },
         isShown, [this] { savePicture(u"menubar-3-after.png"_s); }},
    };
}

// Printed as they happen, each only when it differs from what was printed last.
void HeadlessSession::watch()
{
    VisibilityController& visibility = m_app.visibility();
    connect(&visibility, &VisibilityController::activeChanged, this, &HeadlessSession::printState,
            Qt::QueuedConnection);
    connect(&visibility, &VisibilityController::pendingChanged, this, [this](bool pending) {
        m_sawAnswer = m_sawAnswer || pending;
        QMetaObject::invokeMethod(this, &HeadlessSession::printState, Qt::QueuedConnection);
    });
    connect(&visibility, &VisibilityController::messageChanged, this, [this](const QString& line) {
        if (line != std::exchange(m_lastMessage, line) && !line.isEmpty())
            print(text(u"Estado"_s) + u": "_s + text(line));
    });
    connect(&m_app.preferences(), &Preferences::noticeChanged, this, [this](const QString& line) {
        m_sawAnswer = m_sawAnswer || !line.isEmpty();
        if (line != std::exchange(m_lastNotice, line) && !line.isEmpty())
            print(text(u"Aviso"_s) + u": "_s + text(line));
    });
    connect(&m_app.inspector(), &Inspector::isScanningChanged, this, [this](bool scanning) {
        if (scanning)
            print(text(u"Buscando iconos…"_s));
    });
    m_lastMessage = visibility.message();
    m_lastNotice = m_app.preferences().notice();
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

void HeadlessSession::begin(int index)
{
    m_current = index;
    if (m_current >= m_steps.size()) {
        finish();
        return;
    }
    m_stepStarted = m_platform.time().now();
    m_sawAnswer = false;
    print(u"▸ "_s + text(m_steps.at(m_current).spanish));
    m_steps.at(m_current).act();
}

void HeadlessSession::poll()
{
    if (m_current < 0 || m_current >= m_steps.size())
        return;
    const Step& step = m_steps.at(m_current);
    if (step.done()) {
        if (step.after)
            step.after();
    } else if (m_platform.time().now() - m_stepStarted >= stepDeadline) {
        print(text(u"Sin respuesta a tiempo; la sesión sigue."_s));
    } else {
        return;
    }
    begin(m_current + 1);
}

void HeadlessSession::finish()
{
    m_poll->stop();
    print(text(u"Fin de la sesión. Imágenes de la barra de menús en %1"_s)
              .arg(QDir::toNativeSeparators(QDir(m_directory).absolutePath())));
    Q_EMIT finished(m_pictureFailed ? 1 : 0);
}

// As a person clicks: the pointer goes to the icon and moves on after the click, so that
// resting on the icon reveals nothing.
void HeadlessSession::clickIcon(bool rightButton)
{
    SimDesktopServices& services = m_platform.simulatedDesktopServices();
    SimStatusItem* item = services.statusItem();
    const std::optional<Rect> frame = item ? item->buttonWindowFrame() : std::nullopt;
    if (!frame) {
        print(text(u"El icono de Tuckaway no está en la barra: no hay dónde hacer clic."_s));
        return;
    }
    const QPointF away = services.pointerPosition();
    services.setPointerPosition({frame->midX(), frame->midY()});
    StatusItemEvent event;
    event.kind =
        rightButton ? StatusItemEvent::Kind::RightMouseUp : StatusItemEvent::Kind::LeftMouseUp;
    item->click(event);
    services.setPointerPosition(away);
}

void HeadlessSession::chooseFromMenu(const QString& spanishTitle)
{
    SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem();
    if (!item || !item->openMenu()) {
        print(text(u"El menú de Tuckaway no se abrió."_s));
        return;
    }
    const QList<MenuEntry> entries = *item->openMenu();
    QStringList titles;
    for (const MenuEntry& entry : entries) {
        if (!entry.isSeparator)
            titles << entry.title;
    }
    print(text(u"Menú"_s) + u": "_s + titles.join(u" · "_s));
    const QString wanted = L10n::text(spanishTitle, m_app.preferences().language());
    for (int i = 0; i < entries.size(); ++i) {
        if (!entries.at(i).isSeparator && entries.at(i).title == wanted) {
            item->chooseMenuEntry(i);
            return;
        }
    }
    item->dismissMenu();
}

// The collapse is over: hidden, answered, or refused with a notice.
bool HeadlessSession::settledAfterCollapse() const
{
    const VisibilityController& visibility = m_app.visibility();
    return !m_app.inspector().isScanning() && !visibility.pending() &&
           (visibility.active() || m_sawAnswer);
}

bool HeadlessSession::shown() const
{
    return !m_app.visibility().active() && !m_app.visibility().pending();
}

void HeadlessSession::printHidden()
{
    const SimDesktop& desktop = m_platform.desktop();
    QStringList hidden;
    for (const SimApplication& app : desktop.applications()) {
        if (!app.items.isEmpty() && !desktop.isApplicationVisible(app.pid))
            hidden << app.name.value_or(app.bundleIdentifier.value_or(QString::number(app.pid)));
    }
    print(hidden.isEmpty() ? text(u"Ninguna app oculta."_s)
                           : text(u"Apps ocultas"_s) + u": "_s + hidden.join(u", "_s));
}

// At most `widestPicture` pixels across, however far the desktop reaches.
void HeadlessSession::savePicture(const QString& name)
{
    constexpr double widestPicture = 4096.0;
    SimMenuBarScene::Look look;
    look.language = m_app.preferences().language();
    if (const SimStatusItem* item = m_platform.simulatedDesktopServices().statusItem())
        look.glyph = item->image();
    const double natural = SimMenuBarScene(m_platform.desktop(), 1.0).size().width();
    const double scale = natural > widestPicture ? widestPicture / natural : 1.0;
    const QImage picture = SimMenuBarScene(m_platform.desktop(), scale).render(look);
    const QString path = QDir(m_directory).absoluteFilePath(name);
    QDir().mkpath(m_directory);
    if (const std::optional<QString> failure = writePng(path, picture)) {
        m_pictureFailed = true;
        print(text(u"No se pudo guardar la imagen %1: %2"_s)
                  .arg(QDir::toNativeSeparators(path), *failure));
        return;
    }
    m_pictures << path;
    print(text(u"Imagen guardada: %1"_s).arg(QDir::toNativeSeparators(path)));
}

void HeadlessSession::print(const QString& line)
{
    const double elapsed = m_platform.time().now() - m_started;
    m_out << u"[%1 s] "_s.arg(elapsed, 6, 'f', 2) << line << Qt::endl;
}

QString HeadlessSession::text(const QString& spanish) const
{
    return SimulatorTexts::text(spanish, m_app.preferences().language());
}

} // namespace tk
