#include "AboutSection.h"

#include "core/Identity.h"
#include "l10n/L10n.h"
#include "ui/ViewStyle.h"

#include <QLabel>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 14;

} // namespace

AboutSection::AboutSection(const ViewContext& context, QWidget* parent)
    : SectionView(context, sectionSpacing, parent), m_icon(new QLabel(this)),
      m_version(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_credit(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_rights(ViewStyle::text(ViewStyle::Text::Caption, this, true)),
      m_note(ViewStyle::text(ViewStyle::Text::Callout, this))
{
    setObjectName(u"aboutSection"_s);
    m_icon->setObjectName(u"aboutIcon"_s);
    m_icon->setPixmap(ViewStyle::appIcon(context.services.bundleIcon, ViewStyle::aboutIconSize));
    m_icon->setFixedSize(ViewStyle::aboutIconSize, ViewStyle::aboutIconSize);
    auto* name = new QLabel(Identity::name, this);
    name->setFont(ViewStyle::font(ViewStyle::Text::LargeTitle));
    QPalette teal = name->palette();
    teal.setColor(QPalette::WindowText, ViewStyle::teal());
    name->setPalette(teal);
    m_version->setObjectName(u"versionLine"_s);
    add(m_icon);
    add(name);
    add(m_version);
    add(m_credit);
    add(m_rights);
    add(m_note);
    column()->addStretch(1);
}

AboutSection::~AboutSection() = default;

QString AboutSection::shownVersion(const QString& bundleVersion)
{
    return bundleVersion.isEmpty() ? u"1.0"_s : bundleVersion;
}

void AboutSection::render()
{
    m_icon->setAccessibleName(m_context.text(u"Icono de Tuckaway"_s));
    const auto& bundleVersion = m_context.services.bundleVersion;
    m_version->setText(m_context.text(u"Versión "_s +
                                      shownVersion(bundleVersion ? bundleVersion() : QString()) +
                                      u" · macOS 27"_s));
    m_credit->setText(m_context.text(L10n::aboutCreditLine));
    m_rights->setText(m_context.text(L10n::aboutRightsLine));
    m_note->setText(m_context.text(u"La ocultación utiliza un framework privado de macOS y puede "
                                   u"cambiar con una actualización. No requiere grabación de "
                                   u"pantalla."_s));
}

} // namespace tk
