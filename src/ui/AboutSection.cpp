#include "AboutSection.h"

#include "core/Identity.h"
#include "l10n/L10n.h"
#include "ui/ImageView.h"
#include "ui/ViewStyle.h"

#include <QLabel>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 14;

} // namespace

AboutSection::AboutSection(const ViewContext& context, QWidget* parent)
    : SectionView(context, sectionSpacing, parent),
      m_icon(new ImageView({ViewStyle::aboutIconSize, ViewStyle::aboutIconSize}, this)),
      m_name(new QLabel(Identity::name, this)),
      m_version(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_credit(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_rights(ViewStyle::text(ViewStyle::Text::Caption, this, true)),
      m_note(ViewStyle::text(ViewStyle::Text::Callout, this))
{
    setObjectName(u"aboutSection"_s);
    m_icon->setObjectName(u"aboutIcon"_s);
    m_icon->setSource([loader = context.services.bundleIcon](qreal ratio) {
        return ViewStyle::appIcon(loader, qRound(ViewStyle::aboutIconSize * ratio));
    });
    // The tile, not the icon's transparent canvas around it, lines up with the texts.
    m_icon->setAlignsVisibleEdge(true);
    m_name->setFont(ViewStyle::font(ViewStyle::Text::LargeTitle));
    m_version->setObjectName(u"versionLine"_s);
    add(m_icon);
    add(m_name);
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
    QPalette teal = m_name->palette();
    teal.setColor(QPalette::WindowText, ViewStyle::teal(palette()));
    m_name->setPalette(teal);
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
