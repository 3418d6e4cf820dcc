#include "SimulatorPanel.h"

#include "app/AppDelegate.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "simulator/SimulatorTexts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

QString displayName(const SimApplication& app)
{
    return app.name.value_or(app.bundleIdentifier.value_or(QString()));
}

bool isRunning(const SimDesktop& desktop, const QString& name)
{
    const QList<SimApplication> running = desktop.applications();
    return std::any_of(running.cbegin(), running.cend(),
                       [&](const SimApplication& app) { return displayName(app) == name; });
}

const QStringList frameworkModeKeys{u"Presente: concede la ocultación"_s, u"Ausente"_s,
                                    u"Presente: responde con un error"_s,
                                    u"Presente: lanza una excepción"_s, u"Presente: no responde"_s};

} // namespace

SimulatorPanel::SimulatorPanel(SimPlatform& platform, AppDelegate& app, QWidget* parent)
    : QWidget(parent), m_platform(platform), m_desktop(platform.desktop()),
      m_firstScreens(m_desktop.screens()), m_app(app)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(buildApplications(), 3);
    layout->addWidget(buildPermissions(), 2);
    auto* talk = new QVBoxLayout;
    talk->addWidget(buildTuckaway());
    talk->addWidget(buildSystem());
    m_warning = new QLabel(this);
    m_warning->setWordWrap(true);
    m_warning->setStyleSheet(u"color: #b35c00;"_s);
    talk->addWidget(m_warning);
    m_messageLabel = new QLabel(this);
    m_messageLabel->setWordWrap(true);
    m_messageLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    talk->addWidget(m_messageLabel);
    talk->addStretch(1);
    layout->addLayout(talk, 3);

    for (const auto change :
         {&SimDesktop::applicationLaunched, &SimDesktop::applicationTerminated}) {
        connect(&m_desktop, change, this, &SimulatorPanel::refreshApplications);
        connect(&m_desktop, change, this, &SimulatorPanel::refreshLaunchables);
    }
    connect(&m_desktop, &SimDesktop::trustChanged, this, &SimulatorPanel::refreshTrust);
    connect(&m_desktop, &SimDesktop::trustPromptRequested, this, [this] {
        showMessage(u"Tuckaway ha pedido el permiso de Accesibilidad: en un Mac el sistema "
                    "mostraría su aviso. Concédelo en este panel."_s);
    });
    connect(&m_desktop, &SimDesktop::frameworkBehaviourChanged, this, [this] {
        const QSignalBlocker blocker(m_framework);
        m_framework->setCurrentIndex(int(modeOf(m_desktop.frameworkBehaviour())));
    });
    connect(&m_app.visibility(), &VisibilityController::messageChanged, this,
            &SimulatorPanel::refreshStatus);
    connect(&m_app.preferences(), &Preferences::noticeChanged, this,
            &SimulatorPanel::refreshStatus);
    connect(&m_app.preferences(), &Preferences::languageChanged, this,
            &SimulatorPanel::retranslate);
    connect(&m_app.preferences(), &Preferences::loginEnabledChanged, this,
            &SimulatorPanel::refreshLoginItems);
    if (auto* item = dynamic_cast<SimStatusItem*>(m_app.statusItem()))
        connect(item, &SimStatusItem::appearanceChanged, this, &SimulatorPanel::refreshStatus);
    retranslate();
}

SimulatorPanel::~SimulatorPanel() = default;

// A second copy of an application is told apart by a number, as a renamed copy would be.
SimApplication SimulatorPanel::launchable(int launchableIndex) const
{
    SimApplication app = launchables().value(launchableIndex);
    const QString name = displayName(app);
    if (!isRunning(m_desktop, name))
        return app;
    int copy = 2;
    while (isRunning(m_desktop, name + u' ' + QString::number(copy)))
        ++copy;
    app.name = name + u' ' + QString::number(copy);
    if (app.bundleIdentifier)
        *app.bundleIdentifier += QString::number(copy);
    return app;
}

void SimulatorPanel::launch(int launchableIndex, int count)
{
    if (launchableIndex < 0 || launchableIndex >= launchables().size())
        return;
    const int launched = qBound(0, count, maximumLaunch);
    for (int i = 0; i < launched; ++i)
        m_desktop.launchApplication(launchable(launchableIndex));
    if (count > maximumLaunch)
        showMessage(u"Se abren como mucho %1 apps a la vez: se han abierto %1."_s,
                    {QString::number(maximumLaunch)});
    else
        showMessage(u"Apps abiertas: %1."_s, {QString::number(launched)});
}

// Its menus take the bar's left part; the items over them are no longer drawn.
void SimulatorPanel::bringToFront(qint32 pid)
{
    if (!m_desktop.setFrontmost(pid))
        showMessage(u"Tuckaway no tiene menús: no se pone al frente."_s);
    else
        refreshApplications();
}

void SimulatorPanel::quitApplication(qint32 pid)
{
    if (pid == m_desktop.ownPid()) {
        showMessage(u"Tuckaway no se cierra desde este panel: elige «Salir de Tuckaway» en su "
                    "menú (clic derecho en su icono). Al salir, todos los iconos ocultos "
                    "vuelven a la barra."_s);
        return;
    }
    const SimApplication* app = m_desktop.application(pid);
    const QString name = app ? displayName(*app) : QString::number(pid);
    if (m_desktop.quitApplication(pid))
        showMessage(u"%1 se ha cerrado."_s, {name});
    else
        showMessage(u"Esa app ya no está abierta."_s);
}

void SimulatorPanel::setAccessibilityGranted(bool granted)
{
    if (granted != m_desktop.isTrusted())
        m_desktop.setTrusted(granted);
}

void SimulatorPanel::setFrameworkMode(FrameworkMode mode)
{
    m_desktop.setFrameworkBehaviour(behaviourFor(mode, m_desktop.frameworkBehaviour()));
}

void SimulatorPanel::bringIconBack()
{
    m_desktop.setStatusItemPlace(0);
    showMessage(u"El icono de Tuckaway está en el extremo derecho de la barra. Colócalo "
                "arrastrándolo con Ctrl (⌘ en un Mac)."_s);
}

void SimulatorPanel::showMessage(const QString& spanish, const QStringList& arguments)
{
    m_message = spanish;
    m_messageArguments = arguments;
    retranslate();
}

QString SimulatorPanel::message() const
{
    return m_messageLabel->text();
}

void SimulatorPanel::setOverflow(int offScreenItems, bool iconOffScreen)
{
    m_offScreenItems = offScreenItems;
    m_iconOffScreen = iconOffScreen;
    retranslate();
}

QString SimulatorPanel::overflowWarning() const
{
    return m_warning->text();
}

QWidget* SimulatorPanel::buildApplications()
{
    m_applicationsBox = new QGroupBox(this);
    auto* layout = new QVBoxLayout(m_applicationsBox);
    m_applications = new QListWidget(m_applicationsBox);
    m_applications->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(m_applications, 1);
    auto* chosenRow = new QHBoxLayout;
    m_quit = new QPushButton(m_applicationsBox);
    m_front = new QPushButton(m_applicationsBox);
    chosenRow->addWidget(m_quit);
    chosenRow->addWidget(m_front);
    layout->addLayout(chosenRow);
    auto* launchRow = new QHBoxLayout;
    m_catalogue = new QComboBox(m_applicationsBox);
    refreshLaunchables();
    m_count = new QSpinBox(m_applicationsBox);
    m_count->setRange(1, maximumLaunch);
    m_count->setPrefix(u"× "_s);
    m_launch = new QPushButton(m_applicationsBox);
    launchRow->addWidget(m_catalogue, 1);
    launchRow->addWidget(m_count);
    launchRow->addWidget(m_launch);
    layout->addLayout(launchRow);

    connect(m_quit, &QPushButton::clicked, this, [this] {
        if (const QListWidgetItem* row = m_applications->currentItem())
            quitApplication(row->data(Qt::UserRole).toInt());
        else
            showMessage(u"Elige antes una app de la lista."_s);
    });
    connect(m_front, &QPushButton::clicked, this, [this] {
        if (const QListWidgetItem* row = m_applications->currentItem())
            bringToFront(row->data(Qt::UserRole).toInt());
        else
            showMessage(u"Elige antes una app de la lista."_s);
    });
    connect(m_launch, &QPushButton::clicked, this,
            [this] { launch(m_catalogue->currentIndex(), m_count->value()); });
    return m_applicationsBox;
}

QWidget* SimulatorPanel::buildPermissions()
{
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    m_accessibilityBox = new QGroupBox(box);
    auto* accessibility = new QVBoxLayout(m_accessibilityBox);
    m_trusted = new QCheckBox(m_accessibilityBox);
    accessibility->addWidget(m_trusted);
    layout->addWidget(m_accessibilityBox);
    m_frameworkBox = new QGroupBox(box);
    auto* framework = new QVBoxLayout(m_frameworkBox);
    m_framework = new QComboBox(m_frameworkBox);
    for (int i = 0; i < frameworkModeKeys.size(); ++i)
        m_framework->addItem(QString());
    m_framework->setCurrentIndex(int(modeOf(m_desktop.frameworkBehaviour())));
    framework->addWidget(m_framework);
    layout->addWidget(m_frameworkBox);
    layout->addWidget(buildLoginItems());
    layout->addStretch(1);

    connect(m_trusted, &QCheckBox::toggled, this, &SimulatorPanel::setAccessibilityGranted);
    connect(m_framework, &QComboBox::activated, this,
            [this](int index) { setFrameworkMode(FrameworkMode(index)); });
    return box;
}

QWidget* SimulatorPanel::buildTuckaway()
{
    m_tuckawayBox = new QGroupBox(this);
    auto* layout = new QVBoxLayout(m_tuckawayBox);
    m_status = new QLabel(m_tuckawayBox);
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_status);
    m_gestures = new QLabel(m_tuckawayBox);
    m_gestures->setWordWrap(true);
    m_gestures->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(m_gestures);
    m_bringBack = new QPushButton(m_tuckawayBox);
    layout->addWidget(m_bringBack);
    connect(m_bringBack, &QPushButton::clicked, this, &SimulatorPanel::bringIconBack);
    return m_tuckawayBox;
}

void SimulatorPanel::refreshApplications()
{
    const qint32 selected = m_applications->currentItem()
                                ? m_applications->currentItem()->data(Qt::UserRole).toInt()
                                : 0;
    m_applications->clear();
    for (const SimApplication& app : m_desktop.applications()) {
        QString label = displayName(app);
        if (label.isEmpty())
            label = text(u"(sin nombre)"_s);
        label += u" · pid "_s + QString::number(app.pid);
        if (app.pid == m_desktop.ownPid())
            label += u" · "_s + text(u"esta app"_s);
        if (app.pid == m_desktop.frontmost())
            label += u" · "_s + text(u"al frente"_s);
        auto* row = new QListWidgetItem(label, m_applications);
        row->setData(Qt::UserRole, app.pid);
        if (app.pid == selected)
            m_applications->setCurrentItem(row);
    }
}

// The choice stays on the same application while the list changes around it.
void SimulatorPanel::refreshLaunchables()
{
    const QString chosen = m_catalogue->currentText();
    m_catalogue->clear();
    for (const SimApplication& app : launchables())
        m_catalogue->addItem(displayName(app));
    m_catalogue->setCurrentIndex(qMax(0, m_catalogue->findText(chosen)));
}

void SimulatorPanel::refreshTrust()
{
    const QSignalBlocker blocker(m_trusted);
    m_trusted->setChecked(m_desktop.isTrusted());
}

// Tuckaway's own texts are stored in Spanish and translated only when shown.
void SimulatorPanel::refreshStatus()
{
    const auto line = [this](const QString& label, const QString& value) {
        return text(label) + u": "_s +
               (value.isEmpty() ? u"—"_s : L10n::text(value, m_app.preferences().language()));
    };
    QString toolTip;
    if (const SimStatusItem* item = dynamic_cast<SimStatusItem*>(m_app.statusItem()))
        toolTip = item->toolTip();
    m_status->setText(line(u"Icono"_s, toolTip) + u'\n' +
                      line(u"Estado"_s, m_app.visibility().message()) + u'\n' +
                      line(u"Aviso"_s, m_app.preferences().notice()));
}

void SimulatorPanel::retranslate()
{
    m_applicationsBox->setTitle(text(u"Apps abiertas"_s));
    m_quit->setText(text(u"Salir de la app elegida"_s));
    m_front->setText(text(u"Poner al frente"_s));
    m_launch->setText(text(u"Abrir"_s));
    m_accessibilityBox->setTitle(text(u"Permiso de Accesibilidad"_s));
    m_trusted->setText(text(u"Concedido a esta copia de Tuckaway"_s));
    m_frameworkBox->setTitle(text(u"Marco privado de visibilidad"_s));
    for (int i = 0; i < frameworkModeKeys.size(); ++i)
        m_framework->setItemText(i, text(frameworkModeKeys.at(i)));
    m_tuckawayBox->setTitle(u"Tuckaway"_s);
    m_gestures->setText(text(u"En su icono: clic para ocultar o mostrar; clic derecho o Alt-clic "
                             "para el menú; Ctrl-arrastrar (⌘ en un Mac) para moverlo."_s));
    m_bringBack->setText(text(u"Poner su icono en el extremo derecho"_s));
    m_bringBack->setEnabled(m_iconOffScreen);
    retranslateSystem();

    QString warning;
    if (m_offScreenItems > 0)
        warning = text(u"%1 elementos no caben en la barra de la pantalla principal: se "
                       "dibujan a su izquierda, fuera de la pantalla."_s)
                      .arg(m_offScreenItems);
    if (m_iconOffScreen)
        warning += u' ' + text(u"El icono de Tuckaway es uno de ellos: arrástralo con Ctrl "
                               "(⌘ en un Mac) de vuelta a la barra o ponlo en el extremo "
                               "derecho."_s);
    m_warning->setText(warning.trimmed());
    m_warning->setVisible(!warning.isEmpty());

    QString message = text(m_message);
    for (const QString& argument : std::as_const(m_messageArguments))
        message = message.arg(argument);
    m_messageLabel->setText(message);
    m_messageLabel->setVisible(!message.isEmpty());
    refreshApplications();
    refreshTrust();
    refreshStatus();
}

QString SimulatorPanel::text(const QString& spanish) const
{
    return SimulatorTexts::text(spanish, m_app.preferences().language());
}

} // namespace tk
