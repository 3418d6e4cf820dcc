#include "PermissionsSection.h"

#include "inspection/Accessibility.h"
#include "inspection/Inspector.h"
#include "settings/FilePanels.h"
#include "settings/Preferences.h"
#include "ui/PrivacySettings.h"
#include "ui/ViewStyle.h"
#include "visibility/NativeVisibilityBridge.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 12;
constexpr int reportMinimumHeight = 220;

QFont reportFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const QFont caption = ViewStyle::font(ViewStyle::Text::Caption);
    if (caption.pointSizeF() > 0)
        font.setPointSizeF(caption.pointSizeF());
    else
        font.setPixelSize(caption.pixelSize());
    return font;
}

} // namespace

PermissionsSection::PermissionsSection(const ViewContext& context, std::function<void()> saveReport,
                                       QWidget* parent)
    : SectionView(context, sectionSpacing, parent), m_title(ViewStyle::sectionTitle(this)),
      m_authorization(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_mechanism(ViewStyle::text(ViewStyle::Text::Body, this)), m_report(new QPlainTextEdit(this))
{
    setObjectName(u"permissionsSection"_s);
    m_authorization->setObjectName(u"authorizationLine"_s);
    m_mechanism->setObjectName(u"mechanismLine"_s);
    add(m_title);
    add(m_authorization);
    auto* access = new QHBoxLayout;
    access->setSpacing(ViewStyle::rowSpacing);
    m_requestAccess = addButton(access, u"requestAccessButton"_s,
                                [this] { m_context.services.accessibility.promptForTrust(); });
    m_openPrivacy = addButton(access, u"openPrivacyButton"_s, [this] {
        m_context.services.privacySettings.openAccessibilityPane();
    });
    access->addStretch(1);
    add(access);
    add(m_mechanism);
    auto* diagnostics = new QHBoxLayout;
    diagnostics->setSpacing(ViewStyle::rowSpacing);
    m_refresh = addButton(diagnostics, u"refreshDiagnosticsButton"_s,
                          [this] { ViewContext::run(m_context.actions.refresh); });
    m_save = addButton(diagnostics, u"saveReportButton"_s, std::move(saveReport));
    m_export = addButton(diagnostics, u"exportDesktopButton"_s, [this] { exportDesktop(); });
    diagnostics->addStretch(1);
    add(diagnostics);
    m_report->setObjectName(u"report"_s);
    m_report->setReadOnly(true); // selectable and copyable, not editable
    m_report->setFont(reportFont());
    m_report->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_report->setMinimumHeight(reportMinimumHeight);
    column()->addWidget(m_report, 1);
}

PermissionsSection::~PermissionsSection() = default;

QPushButton* PermissionsSection::addButton(QLayout* row, const QString& name,
                                           std::function<void()> action)
{
    QPushButton* button = ViewStyle::button(this);
    button->setObjectName(name);
    row->addWidget(button);
    connect(button, &QPushButton::clicked, this, std::move(action));
    return button;
}

void PermissionsSection::render()
{
    m_title->setText(m_context.text(u"Permisos y diagnóstico"_s));
    m_authorization->setText(m_context.text(m_context.inspector.isAuthorized()
                                                ? u"Accesibilidad autorizada"_s
                                                : u"Falta autorizar Accesibilidad"_s));
    m_requestAccess->setText(m_context.text(u"Solicitar acceso"_s));
    m_openPrivacy->setText(m_context.text(u"Abrir ajustes de privacidad"_s));
    m_mechanism->setText(m_context.text(m_context.services.visibility.isAvailable()
                                            ? u"Mecanismo de ocultación disponible"_s
                                            : u"Mecanismo de ocultación no disponible"_s));
    m_refresh->setText(m_context.text(u"Actualizar diagnóstico"_s));
    m_save->setText(m_context.text(u"Guardar informe…"_s));
    m_export->setText(m_context.text(u"Exportar escritorio…"_s));
    m_export->setEnabled(!m_exporting && m_context.actions.exportDesktop);
    renderReport();
}

void PermissionsSection::exportDesktop()
{
    if (m_exporting || !m_context.actions.exportDesktop)
        return;
    FilePanels& panels = m_context.services.filePanels;
    if (!panels.warnBeforeSaving(m_context.text(exportWarning), m_context.text(u"Continuar"_s),
                                 m_context.text(u"Cancelar"_s)))
        return;
    const std::optional<QString> location = panels.chooseSaveLocation(u"tuckaway-menubar.json"_s);
    if (!location || location->isEmpty())
        return;
    m_exporting = true;
    render();
    const QPointer<PermissionsSection> self(this);
    m_context.actions.exportDesktop(*location, [self](const std::optional<QString>& failure) {
        if (!self)
            return;
        self->m_exporting = false;
        // Kept in Spanish, the system's reason as it came, and shown in the interface language.
        self->m_context.preferences.setNotice(
            failure ? u"No se pudo exportar el escritorio: "_s + *failure : u"Escritorio exportado."_s);
        self->render();
    });
}

void PermissionsSection::renderReport()
{
    const QString& text = m_translation.text(m_context.inspector.report(), m_context.language());
    // A redraw that brings the same text leaves its selection and scroll position alone.
    if (m_shownReport == text)
        return;
    m_shownReport = text;
    m_report->setPlainText(text);
}

} // namespace tk
