#include "AppearanceSection.h"

#include "artwork/StatusGlyph.h"
#include "settings/Preferences.h"
#include "ui/ChoicePicker.h"
#include "ui/ImageView.h"
#include "ui/ViewStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 18;
constexpr int previewPadding = 20;
constexpr int previewSpacing = 32;
constexpr int previewCaptionSpacing = 4;
constexpr qreal previewCornerRadius = 12;

} // namespace

void PreviewBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()), previewCornerRadius, previewCornerRadius);
    painter.fillPath(shape, palette().color(QPalette::Base));
}

AppearanceSection::AppearanceSection(const ViewContext& context, QWidget* parent)
    : SectionView(context, sectionSpacing, parent), m_title(ViewStyle::sectionTitle(this)),
      m_identity(ViewStyle::text(ViewStyle::Text::Headline, this)),
      m_symbol(new ChoicePicker(ChoicePicker::Kind::RadioGroup, this)),
      m_note(ViewStyle::text(ViewStyle::Text::Caption, this, true))
{
    setObjectName(u"appearanceSection"_s);
    m_symbol->setObjectName(u"symbolPicker"_s);
    add(m_title);
    add(m_identity);
    add(m_symbol);
    auto* previewRow = new QHBoxLayout;
    previewRow->addWidget(buildPreview());
    previewRow->addStretch(1);
    add(previewRow);
    add(m_note);
    column()->addStretch(1);
    connect(m_symbol, &ChoicePicker::chosen, this, [this](const QString& symbol) {
        m_context.edit([&](SettingsData& record) { record.symbol = symbol; });
    });
}

AppearanceSection::~AppearanceSection() = default;

QWidget* AppearanceSection::buildPreview()
{
    auto* box = new PreviewBox(this);
    box->setObjectName(u"symbolPreview"_s);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(previewPadding, previewPadding, previewPadding, previewPadding);
    row->setSpacing(previewSpacing);
    m_expanded = buildPreviewColumn(box, row, u"expandedPreview"_s);
    m_collapsed = buildPreviewColumn(box, row, u"collapsedPreview"_s);
    return box;
}

AppearanceSection::Preview AppearanceSection::buildPreviewColumn(QWidget* box, QHBoxLayout* row,
                                                                 const QString& name)
{
    auto* column = new QVBoxLayout;
    column->setSpacing(previewCaptionSpacing);
    const QSize glyph = QSizeF(StatusGlyph::widthInPoints, StatusGlyph::heightInPoints).toSize();
    Preview preview{new ImageView(glyph, box), ViewStyle::text(ViewStyle::Text::Caption, box)};
    preview.image->setObjectName(name);
    preview.caption->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    preview.caption->setWordWrap(false);
    preview.caption->setAlignment(Qt::AlignHCenter);
    column->addWidget(preview.image, 0, Qt::AlignHCenter);
    column->addWidget(preview.caption, 0, Qt::AlignHCenter);
    row->addLayout(column);
    return preview;
}

void AppearanceSection::render()
{
    m_title->setText(m_context.text(u"Apariencia"_s));
    m_identity->setText(m_context.text(u"Identidad B · Puntos"_s));
    m_symbol->setOptions(
        m_context.text(u"Símbolo del menú"_s),
        {{m_context.text(u"Flecha y dos puntos  ‹••"_s), StatusGlyph::dotsChevronStyle},
         {m_context.text(u"Tres puntos  •••"_s), StatusGlyph::dotsStyle},
         {m_context.text(u"Un punto  •"_s), StatusGlyph::singleStyle}});
    m_symbol->setCurrentValue(m_context.preferences.data().symbol);
    renderPreview(m_expanded, false);
    renderPreview(m_collapsed, true);
    m_note->setText(m_context.text(u"El símbolo se adapta al modo claro y oscuro.\nLa app usa el "
                                   u"icono turquesa B · Puntos."_s));
}

// The glyph is a mask; here nothing tints it for us, so it takes the text colour.
void AppearanceSection::renderPreview(const Preview& preview, bool collapsed)
{
    const QString symbol = m_context.preferences.data().symbol;
    const QColor colour = palette().color(QPalette::WindowText);
    preview.image->setSource([collapsed, symbol, colour](qreal ratio) {
        return StatusGlyph::tinted(StatusGlyph::make(collapsed, symbol, ratio).image, colour);
    });
    preview.image->setAccessibleName(
        StatusGlyph::accessibilityDescription(collapsed, m_context.language()));
    preview.caption->setText(m_context.text(collapsed ? u"Colapsado"_s : u"Expandido"_s));
}

} // namespace tk
