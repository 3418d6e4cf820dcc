// The panel's "System" box, what the system does around Tuckaway, and its "Login Items" box,
// what the person does in System Settings.
#include "SimulatorPanel.h"

#include "app/AppDelegate.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimLoginItems.h"
#include "platform/sim/SimPlatform.h"
#include "simulator/SystemActions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

// The screens to change to stand left of the button that changes them: as the scenario
// starts, each list it names, none.
QWidget* SimulatorPanel::buildSystem()
{
    m_systemBox = new QGroupBox(this);
    auto* layout = new QGridLayout(m_systemBox);
    m_screens = new QComboBox(m_systemBox);
    m_screens->addItem(QString(), QString());
    for (const SimScreenSet& set : m_desktop.screenSets())
        m_screens->addItem(set.name, set.name);
    m_screens->addItem(QString(), u"none"_s);
    const QList<std::function<void()>> actions{
        [this] { pressShortcut(); }, [this] { sleepScreens(); },
        [this] { changeScreens(m_screens->currentData().toString()); }, [this] { reopen(); },
        [this] { launchSecondCopy(); }};
    for (qsizetype i = 0; i < actions.size(); ++i) {
        auto* button = new QPushButton(m_systemBox);
        const int place = int(i < 2 ? i : i + 1); // the screens' list takes the third place
        layout->addWidget(button, place / 2, place % 2);
        connect(button, &QPushButton::clicked, this, actions.at(i));
        m_systemButtons << button;
    }
    layout->addWidget(m_screens, 1, 0);
    return m_systemBox;
}

void SimulatorPanel::pressShortcut()
{
    const ShortcutPress press = tk::pressShortcut(m_platform);
    if (const std::optional<SystemNote> note = press.note())
        showMessage(note->spanish, note->arguments);
    else if (!press.handled)
        showMessage(u"No hay ningún atajo registrado: la pulsación no llega a Tuckaway."_s);
}

void SimulatorPanel::sleepScreens()
{
    m_platform.simulatedDesktopServices().sleepScreens();
}

void SimulatorPanel::changeScreens(const QString& name)
{
    const QList<SimScreen> screens =
        name.isEmpty() ? m_firstScreens
                       : namedScreens(m_desktop, name).value_or(m_desktop.screens());
    m_platform.simulatedDesktopServices().changeScreens(screens);
    m_screens->setCurrentIndex(qMax(0, m_screens->findData(name)));
    if (screens.isEmpty())
        showMessage(u"Ninguna pantalla: la barra de menús, y con ella el icono de Tuckaway, no "
                    "está en ninguna parte hasta que vuelva una."_s);
    else
        showMessage(u"Pantallas: %1"_s, {describedScreens(screens)});
}

void SimulatorPanel::reopen()
{
    m_platform.simulatedDesktopServices().reopen();
}

void SimulatorPanel::launchSecondCopy()
{
    const SystemNote note = tk::launchSecondCopy(m_platform);
    showMessage(note.spanish, note.arguments);
}

// Tuckaway's switch in System Settings, and the status the system gives its login item. The
// settings window shows it when Tuckaway next reads it, as on a Mac.
QWidget* SimulatorPanel::buildLoginItems()
{
    m_loginItemsBox = new QGroupBox(this);
    auto* layout = new QVBoxLayout(m_loginItemsBox);
    m_loginItemOn = new QCheckBox(m_loginItemsBox);
    m_loginItemOn->setObjectName(u"loginItemSwitch"_s);
    layout->addWidget(m_loginItemOn);
    m_loginItemStatus = new QLabel(m_loginItemsBox);
    m_loginItemStatus->setWordWrap(true);
    layout->addWidget(m_loginItemStatus);
    connect(m_loginItemOn, &QCheckBox::toggled, this, &SimulatorPanel::setLoginItemSwitchedOn);
    return m_loginItemsBox;
}

void SimulatorPanel::setLoginItemSwitchedOn(bool on)
{
    SimLoginItems& loginItems = m_platform.simulatedLoginItems();
    on ? loginItems.approve() : loginItems.switchOff();
    refreshLoginItems();
}

void SimulatorPanel::refreshLoginItems()
{
    const QSignalBlocker blocker(m_loginItemOn);
    // As System Settings shows it: off while switched off or waiting for approval, so that
    // switching it on approves.
    const LoginItemService::Status status = m_platform.loginItems().status();
    m_loginItemOn->setChecked(!m_platform.simulatedLoginItems().switchedOff() &&
                              status != LoginItemService::Status::RequiresApproval);
    m_loginItemStatus->setText(text(u"Según el sistema: %1"_s)
                                   .arg(text(loginItemStatusText(status))));
}

void SimulatorPanel::retranslateSystem()
{
    m_systemBox->setTitle(text(u"Sistema"_s));
    m_screens->setItemText(0, text(u"Como al empezar"_s));
    m_screens->setItemText(m_screens->count() - 1, text(u"Ninguna pantalla"_s));
    const QStringList systemKeys{u"Pulsar el atajo"_s, u"Dormir las pantallas"_s,
                                 u"Cambiar las pantallas"_s, u"Reabrir Tuckaway"_s,
                                 u"Abrir otra copia"_s};
    for (qsizetype i = 0; i < m_systemButtons.size(); ++i)
        m_systemButtons.at(i)->setText(text(systemKeys.at(i)));
    m_loginItemsBox->setTitle(text(u"Ajustes del Sistema · Elementos de inicio"_s));
    m_loginItemOn->setText(text(u"Tuckaway puede abrirse al iniciar sesión"_s));
    refreshLoginItems();
}

} // namespace tk
