#include "GeneralSection.h"

#include "settings/Preferences.h"
#include "ui/ChoicePicker.h"
#include "ui/ViewStyle.h"
#include "visibility/VisibilityController.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 16;
const QList<qint64> delays = {5, 10, 30, 60};

QString delayLabel(qint64 seconds)
{
    return QString::number(seconds) + u" segundos"_s;
}

} // namespace

GeneralSection::GeneralSection(const ViewContext& context, QWidget* parent)
    : SectionView(context, sectionSpacing, parent), m_title(ViewStyle::sectionTitle(this)),
      m_language(new ChoicePicker(ChoicePicker::Kind::Segmented, this))
{
    setObjectName(u"generalSection"_s);
    m_language->setObjectName(u"languagePicker"_s);
    add(m_title);
    add(m_language);
    add(ViewStyle::divider(this));
    buildLaunch();
    add(ViewStyle::divider(this));
    buildAutoCollapse();
    add(ViewStyle::divider(this));
    buildShortcut();
    add(ViewStyle::divider(this));
    buildTransfer();
    column()->addStretch(1);
    connect(m_language, &ChoicePicker::chosen, this,
            [this](const QString& language) { m_context.preferences.setLanguage(language); });
}

GeneralSection::~GeneralSection() = default;

HotKeySettings GeneralSection::absentShortcut()
{
    HotKeySettings shortcut;
    shortcut.enabled = false;
    return shortcut;
}

// The switch shows what the system registered; `setLogin` reads it back into the store.
void GeneralSection::buildLaunch()
{
    m_login = new QCheckBox(this);
    m_login->setObjectName(u"loginToggle"_s);
    column()->addWidget(m_login, 0, Qt::AlignLeft);
    connect(m_login, &QCheckBox::clicked, this,
            [this](bool on) { m_context.preferences.setLogin(on); });
    addCaption(u"El registro lo administra macOS. Puede requerir instalar la app en Aplicaciones "
               u"y aprobarla en Elementos de inicio."_s);
    addRecordToggle(u"showOnLaunchToggle"_s, u"Abrir configuración al iniciar"_s,
                    &SettingsData::showOnLaunch);
    addRecordToggle(u"startCollapsedToggle"_s, u"Iniciar con el grupo colapsado"_s,
                    &SettingsData::startCollapsed);
}

void GeneralSection::buildAutoCollapse()
{
    addRecordToggle(u"autoCollapseToggle"_s,
                    u"Volver a ocultar automáticamente después de mostrar"_s,
                    &SettingsData::autoCollapse);
    m_delay = new ChoicePicker(ChoicePicker::Kind::Segmented, this);
    m_delay->setObjectName(u"delayPicker"_s);
    add(m_delay);
    connect(m_delay, &ChoicePicker::chosen, this, [this](const QString& value) {
        m_context.edit([&](SettingsData& record) { record.delay = value.toLongLong(); });
    });
    addCaption(u"La cuenta se pausa mientras el puntero está en la barra de menús o esta "
               u"configuración está abierta."_s);
    addRecordToggle(u"hoverRevealToggle"_s, u"Mostrar al mantener el puntero sobre nuestro icono"_s,
                    &SettingsData::hoverReveal);
    addCaption(u"Espera de 0,6 segundos; no requiere monitorización de entrada."_s);
}

void GeneralSection::buildShortcut()
{
    m_shortcutHeading = ViewStyle::text(ViewStyle::Text::Headline, this);
    add(m_shortcutHeading);
    m_shortcutEnabled = new QCheckBox(this);
    m_shortcutEnabled->setObjectName(u"shortcutToggle"_s);
    column()->addWidget(m_shortcutEnabled, 0, Qt::AlignLeft);
    m_shortcutKeys = new QWidget(this);
    m_shortcutKeys->setObjectName(u"shortcutKeys"_s);
    auto* keys = new QHBoxLayout(m_shortcutKeys);
    keys->setContentsMargins(0, 0, 0, 0);
    keys->setSpacing(2 * ViewStyle::rowSpacing);
    m_modifiers = new ChoicePicker(ChoicePicker::Kind::Segmented, m_shortcutKeys);
    m_modifiers->setObjectName(u"modifiersPicker"_s);
    m_key = new ChoicePicker(ChoicePicker::Kind::Segmented, m_shortcutKeys);
    m_key->setObjectName(u"keyPicker"_s);
    keys->addWidget(m_modifiers);
    keys->addWidget(m_key);
    keys->addStretch(1);
    add(m_shortcutKeys);
    m_action = new ChoicePicker(ChoicePicker::Kind::Segmented, this);
    m_action->setObjectName(u"shortcutActionPicker"_s);
    add(m_action);
    m_hotkeyStatus = ViewStyle::text(ViewStyle::Text::Caption, this, true);
    m_hotkeyStatus->setObjectName(u"hotkeyStatus"_s);
    add(m_hotkeyStatus);

    connect(m_shortcutEnabled, &QCheckBox::clicked, this,
            [this](bool on) { editShortcut([on](HotKeySettings& s) { s.enabled = on; }); });
    connect(m_modifiers, &ChoicePicker::chosen, this, [this](const QString& value) {
        editShortcut([&](HotKeySettings& s) { s.modifiers = value; });
    });
    connect(m_key, &ChoicePicker::chosen, this, [this](const QString& value) {
        editShortcut([&](HotKeySettings& s) { s.key = value; });
    });
    connect(m_action, &ChoicePicker::chosen, this, [this](const QString& value) {
        editShortcut([&](HotKeySettings& s) { s.action = value; });
    });
}

void GeneralSection::buildTransfer()
{
    auto* files = new QHBoxLayout;
    files->setSpacing(ViewStyle::rowSpacing);
    addButton(files, u"exportButton"_s, u"Exportar configuración…"_s,
              [this] { m_context.preferences.exportSettings(); });
    addButton(files, u"importButton"_s, u"Importar configuración…"_s,
              [this] { restoreThen(&Preferences::importSettings); });
    files->addStretch(1);
    add(files);
    auto* record = new QHBoxLayout;
    record->setSpacing(ViewStyle::rowSpacing);
    addButton(record, u"resetButton"_s, u"Restablecer ajustes"_s,
              [this] { restoreThen(&Preferences::resetSettings); });
    m_recover = addButton(record, u"recoverButton"_s, u"Recuperar configuración anterior"_s,
                          [this] { restoreThen(&Preferences::restoreBackup); });
    record->addStretch(1);
    add(record);
    addCaption(u"Se guarda una copia antes de importar o restablecer. El inicio de sesión y los "
               u"permisos se administran por separado."_s);
}

QCheckBox* GeneralSection::addRecordToggle(const QString& name, const QString& key,
                                           bool SettingsData::*field)
{
    auto* box = new QCheckBox(this);
    box->setObjectName(name);
    column()->addWidget(box, 0, Qt::AlignLeft); // only the box and its label take clicks
    m_recordToggles.append({box, key, field});
    connect(box, &QCheckBox::clicked, this, [this, field](bool on) {
        m_context.edit([&](SettingsData& record) { record.*field = on; });
    });
    return box;
}

void GeneralSection::addCaption(const QString& key)
{
    QLabel* label = ViewStyle::text(ViewStyle::Text::Caption, this, true);
    add(label);
    m_captions.append({label, key});
}

QPushButton* GeneralSection::addButton(QLayout* row, const QString& name, const QString& key,
                                       std::function<void()> action)
{
    QPushButton* button = ViewStyle::button(this);
    button->setObjectName(name);
    row->addWidget(button);
    m_buttons.append({button, key});
    connect(button, &QPushButton::clicked, this, std::move(action));
    return button;
}

// A missing shortcut starts from the defaults, so that the first change stores exactly them
// plus that change.
void GeneralSection::editShortcut(const std::function<void(HotKeySettings&)>& change) const
{
    m_context.edit([&](SettingsData& record) {
        HotKeySettings shortcut = record.hotkey.value_or(absentShortcut());
        change(shortcut);
        record.hotkey = shortcut;
    });
}

void GeneralSection::restoreThen(void (Preferences::*operation)()) const
{
    m_context.visibility.restore();
    (m_context.preferences.*operation)();
}

void GeneralSection::render()
{
    const SettingsData& record = m_context.preferences.data();
    m_title->setText(m_context.text(u"General"_s));
    m_login->setText(m_context.text(u"Abrir al iniciar sesión"_s));
    m_login->setChecked(m_context.preferences.loginEnabled());
    for (const RecordToggle& toggle : std::as_const(m_recordToggles)) {
        toggle.box->setText(m_context.text(toggle.key));
        toggle.box->setChecked(record.*toggle.field);
    }
    for (const Caption& caption : std::as_const(m_captions))
        caption.label->setText(m_context.text(caption.key));
    renderPickers();
    renderShortcut();
    renderButtons();
}

void GeneralSection::renderPickers()
{
    // The names of the languages are shown as each language writes itself.
    m_language->setOptions(m_context.text(u"Idioma"_s),
                           {{u"English"_s, u"en"_s}, {u"Español"_s, u"es"_s}});
    m_language->setCurrentValue(m_context.language());
    QList<ChoicePicker::Option> delayOptions;
    for (qint64 seconds : delays)
        delayOptions.append({m_context.text(delayLabel(seconds)), QString::number(seconds)});
    m_delay->setOptions(m_context.text(u"Espera"_s), delayOptions);
    const SettingsData& record = m_context.preferences.data();
    m_delay->setCurrentValue(QString::number(record.delay));
    m_delay->setEnabled(record.autoCollapse);
}

void GeneralSection::renderShortcut()
{
    const std::optional<HotKeySettings>& stored = m_context.preferences.data().hotkey;
    const HotKeySettings shown = stored.value_or(absentShortcut());
    m_shortcutHeading->setText(m_context.text(u"Atajo de teclado global"_s));
    m_shortcutEnabled->setText(m_context.text(u"Activar atajo"_s));
    m_shortcutEnabled->setChecked(shown.enabled);
    m_modifiers->setOptions(m_context.text(u"Modificadores"_s),
                            {{m_context.text(u"⌃⌥⌘"_s), u"controlOptionCommand"_s},
                             {m_context.text(u"⌃⌥"_s), u"controlOption"_s},
                             {m_context.text(u"⌃⇧"_s), u"controlShift"_s}});
    m_key->setOptions(m_context.text(u"Tecla"_s), {{m_context.text(u"M"_s), u"M"_s},
                                                   {m_context.text(u"B"_s), u"B"_s},
                                                   {m_context.text(u"Espacio"_s), u"Space"_s}});
    m_action->setOptions(m_context.text(u"Acción del atajo"_s),
                         {{m_context.text(u"Alternar ocultos / visibles"_s), u"toggle"_s},
                          {m_context.text(u"Mostrar todo y pausar"_s), u"showAll"_s},
                          {m_context.text(u"Mostrar icono oculto…"_s), u"showHiddenIcon"_s}});
    m_modifiers->setCurrentValue(shown.modifiers);
    m_key->setCurrentValue(shown.key);
    m_action->setCurrentValue(shown.action);
    const bool editable = stored && stored->enabled;
    m_shortcutKeys->setEnabled(editable);
    m_action->setEnabled(editable);
    m_hotkeyStatus->setText(m_context.text(m_context.preferences.hotkeyStatus()));
}

void GeneralSection::renderButtons()
{
    for (const auto& [button, key] : std::as_const(m_buttons))
        button->setText(m_context.text(key));
    m_recover->setEnabled(m_context.preferences.hasBackup());
}

} // namespace tk
