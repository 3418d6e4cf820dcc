#include "ViewFrame.h"

#include "inspection/Inspector.h"
#include "settings/Preferences.h"
#include "ui/ImageView.h"
#include "ui/ViewContext.h"
#include "ui/ViewStyle.h"
#include "visibility/VisibilityController.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QStringList sectionTitles = {u"General"_s, u"Organización"_s, u"Apariencia"_s,
                                   u"Permisos y diagnóstico"_s, u"Acerca de"_s};

constexpr int rowPadding = 9;
constexpr int rowMinimumLabelHeight = 24;
constexpr qreal rowCornerRadius = 8;

} // namespace

HeaderBar::HeaderBar(const ViewContext& context, QWidget* parent)
    : QWidget(parent), m_context(context),
      m_icon(new ImageView({ViewStyle::headerIconSize, ViewStyle::headerIconSize}, this)),
      m_state(ViewStyle::text(ViewStyle::Text::Body, this, true)),
      m_showAll(ViewStyle::button(this))
{
    setObjectName(u"header"_s);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(20, 20, 20, 20);
    m_icon->setObjectName(u"headerIcon"_s);
    m_icon->setSource([loader = context.services.bundleIcon](qreal ratio) {
        return ViewStyle::appIcon(loader, qRound(ViewStyle::headerIconSize * ratio));
    });
    auto* title = new QLabel(u"Tuckaway"_s, this);
    title->setFont(ViewStyle::font(ViewStyle::Text::Title2));
    m_state->setObjectName(u"hidingState"_s);
    m_state->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    m_state->setWordWrap(false);
    m_showAll->setObjectName(u"headerShowAll"_s);
    row->addWidget(m_icon);
    row->addWidget(title);
    row->addStretch(1);
    row->addWidget(m_state);
    row->addWidget(m_showAll);
    connect(m_showAll, &QPushButton::clicked, this, [this] { m_context.visibility.restore(); });
}

void HeaderBar::render()
{
    m_icon->setAccessibleName(m_context.text(u"Icono de Tuckaway"_s));
    m_state->setText(
        m_context.text(m_context.visibility.active() ? u"Colapsado"_s : u"Expandido"_s));
    m_showAll->setText(m_context.text(u"Mostrar todo"_s));
}

SectionRow::SectionRow(QWidget* parent) : QAbstractButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QSize SectionRow::sizeHint() const
{
    const int width = fontMetrics().horizontalAdvance(text()) + 2 * rowPadding;
    return {width, heightForWidth(width)};
}

QSize SectionRow::minimumSizeHint() const
{
    return {2 * rowPadding, heightForWidth(width())};
}

int SectionRow::heightForWidth(int width) const
{
    const QRect bounds(0, 0, qMax(1, width - 2 * rowPadding), QWIDGETSIZE_MAX);
    const int textHeight = fontMetrics().boundingRect(bounds, Qt::TextWordWrap, text()).height();
    return qMax(rowMinimumLabelHeight, textHeight) + 2 * rowPadding;
}

void SectionRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChecked()) {
        QColor highlight = ViewStyle::teal(palette());
        highlight.setAlphaF(ViewStyle::highlightOpacity);
        QPainterPath shape;
        shape.addRoundedRect(QRectF(rect()), rowCornerRadius, rowCornerRadius);
        painter.fillPath(shape, highlight);
    }
    const QRect label = rect().adjusted(rowPadding, rowPadding, -rowPadding, -rowPadding);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(label, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap, text());
    if (hasFocus() && focusPolicy() != Qt::NoFocus) {
        QPen focus(palette().color(QPalette::Highlight));
        focus.setWidthF(1.5);
        painter.setPen(focus);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), rowCornerRadius,
                                rowCornerRadius);
    }
}

SectionList::SectionList(const ViewContext& context, QWidget* parent)
    : QWidget(parent), m_context(context)
{
    setObjectName(u"sectionList"_s);
    setFixedWidth(ViewStyle::sectionListWidth);
    setBackgroundRole(QPalette::Base); // the system's control background
    setAutoFillBackground(true);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 12, 12, 12);
    column->setSpacing(6);
    for (int index = 0; index < sectionTitles.size(); ++index) {
        auto* row = new SectionRow(this);
        row->setObjectName(u"sectionRow%1"_s.arg(index));
        column->addWidget(row);
        m_rows.append(row);
        connect(row, &SectionRow::clicked, this,
                [this, index] { m_context.preferences.setSection(index); });
    }
    column->addStretch(1);
}

void SectionList::render()
{
    const int section = m_context.preferences.section();
    for (int index = 0; index < m_rows.size(); ++index) {
        m_rows[index]->setText(m_context.text(sectionTitles[index]));
        m_rows[index]->setChecked(index == section);
        m_rows[index]->update();
    }
}

FooterBar::FooterBar(const ViewContext& context, QWidget* parent)
    : QWidget(parent), m_context(context),
      m_status(ViewStyle::text(ViewStyle::Text::Caption, this)),
      m_needsApply(ViewStyle::text(ViewStyle::Text::Caption, this, true)),
      m_apply(new QPushButton(this))
{
    setObjectName(u"footer"_s);
    m_status->setObjectName(u"statusLine"_s);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_needsApply->setObjectName(u"needsApplyLine"_s);
    m_apply->setObjectName(u"applyButton"_s);
    m_apply->setDefault(true);
    m_apply->setStyleSheet(ViewStyle::prominentButtonSheet(palette()));
    auto* texts = new QVBoxLayout;
    texts->setSpacing(3);
    texts->addWidget(m_status);
    texts->addWidget(m_needsApply);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 12, 12, 12);
    row->setSpacing(12);
    row->addLayout(texts, 1);
    row->addWidget(m_apply, 0, Qt::AlignVCenter);
    connect(m_apply, &QPushButton::clicked, this,
            [this] { ViewContext::run(m_context.actions.applySettings); });
}

// The prominent button takes the colours of a new palette, light or dark.
void FooterBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        m_apply->setStyleSheet(ViewStyle::prominentButtonSheet(palette()));
}

QString FooterBar::statusKey(bool scanning, const QString& notice, const QString& message)
{
    if (scanning)
        return u"Buscando iconos…"_s;
    return notice.isEmpty() ? message : notice;
}

void FooterBar::render()
{
    const bool scanning = m_context.inspector.isScanning();
    m_status->setText(m_context.text(
        statusKey(scanning, m_context.preferences.notice(), m_context.visibility.message())));
    m_needsApply->setText(
        m_context.text(u"Cambios guardados; la ocultación se activa con Aplicar."_s));
    m_needsApply->setVisible(m_context.preferences.needsApply());
    m_apply->setText(m_context.text(u"Aplicar y ocultar"_s));
    m_apply->setEnabled(!scanning && !m_context.visibility.pending());
}

} // namespace tk
