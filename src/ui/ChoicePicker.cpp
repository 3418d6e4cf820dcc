#include "ChoicePicker.h"

#include "ui/ViewStyle.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QRadioButton>
#include <QVBoxLayout>

namespace tk {

namespace {

constexpr int segmentPadding = 12;
constexpr int segmentTextMargin = 4; // above and below the title
constexpr int segmentMinimumHeight = 22;
constexpr qreal segmentCornerRadius = 6;
constexpr qreal separatorInset = 4; // the lines between segments stop short of the frame
// How much of the text colour tints the grey behind a disabled picker's chosen value.
constexpr qreal disabledChosenTint = 0.2;
constexpr qreal pressedTint = 0.12;

// One segment of a segmented picker. The segments of a picker touch and read as one
// control: rounded only at the picker's two ends, parted by thin lines.
class Segment final : public QAbstractButton {
public:
    Segment(const QString& title, const Segment* previous, QWidget* parent)
        : QAbstractButton(parent), m_previous(previous)
    {
        setText(title);
        setCheckable(true);
        setFocusPolicy(Qt::TabFocus);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    void setLast(bool last)
    {
        m_last = last;
        update();
    }

    QSize sizeHint() const override
    {
        const QFontMetrics metrics = fontMetrics();
        return {metrics.horizontalAdvance(text()) + 2 * segmentPadding,
                qMax(segmentMinimumHeight, metrics.height() + 2 * segmentTextMargin)};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setClipRect(rect());
        const ChoicePicker::SegmentLook look =
            ChoicePicker::segmentLook(palette(), isChecked(), isEnabled());
        paintFrame(painter, look);
        painter.setPen(look.text);
        painter.drawText(rect(), Qt::AlignCenter, text());
        if (hasFocus()) {
            // On the accent the accent's own text colour shows where the focus is.
            painter.setPen(QPen(isChecked() ? look.text : palette().color(QPalette::Highlight), 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5),
                                    segmentCornerRadius - 2, segmentCornerRadius - 2);
        }
    }

private:
    void paintFrame(QPainter& painter, const ChoicePicker::SegmentLook& look) const
    {
        const QPainterPath shape = outline();
        painter.fillPath(shape, isDown() ? ViewStyle::mixed(look.fill, look.text, pressedTint)
                                         : look.fill);
        const QPen line(palette().color(QPalette::Mid), 1);
        painter.strokePath(shape, line);
        if (m_previous && !isChecked() && !m_previous->isChecked()) {
            painter.setPen(line);
            painter.drawLine(QPointF(0.5, separatorInset), QPointF(0.5, height() - separatorInset));
        }
    }

    // The picker's rounded outline as this segment sees it: its inner ends run on past its
    // edges, so that only the picker's two ends are rounded.
    QPainterPath outline() const
    {
        const qreal overrun = 2 * segmentCornerRadius;
        const QRectF shape = QRectF(rect()).adjusted(m_previous ? -overrun : 0.5, 0.5,
                                                     m_last ? -0.5 : overrun, -0.5);
        QPainterPath path;
        path.addRoundedRect(shape, segmentCornerRadius, segmentCornerRadius);
        return path;
    }

    const Segment* m_previous;
    bool m_last = true;
};

} // namespace

ChoicePicker::ChoicePicker(Kind kind, QWidget* parent)
    : QWidget(parent), m_kind(kind), m_label(new QLabel(this)), m_group(new QButtonGroup(this))
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    if (kind == Kind::Segmented) {
        m_buttons = new QHBoxLayout;
        m_buttons->setSpacing(0); // the segments touch, as one control
    } else {
        m_buttons = new QVBoxLayout;
        m_buttons->setSpacing(4);
    }
    // The label stands as high as one option and centres its text in it, so that it reads
    // on the line of the options' titles.
    row->addWidget(m_label, 0, Qt::AlignTop);
    row->addLayout(m_buttons);
    row->addStretch(1);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_group->setExclusive(true);
    // Only a person's click reports a choice; marking the shown value never does.
    connect(m_group, &QButtonGroup::idClicked, this,
            [this](int id) { Q_EMIT chosen(m_values.value(id)); });
}

ChoicePicker::~ChoicePicker() = default;

ChoicePicker::SegmentLook ChoicePicker::segmentLook(const QPalette& palette, bool chosen,
                                                    bool enabled)
{
    const QColor button = palette.color(QPalette::Active, QPalette::Button);
    if (!chosen) {
        const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
        return {button, palette.color(group, QPalette::ButtonText)};
    }
    if (!enabled) {
        const QColor text = palette.color(QPalette::Active, QPalette::ButtonText);
        return {ViewStyle::mixed(button, text, disabledChosenTint), text};
    }
    const QColor fill = ViewStyle::accent(palette);
    return {fill, ViewStyle::textOn(fill)};
}

void ChoicePicker::setOptions(const QString& label, const QList<Option>& options)
{
    m_label->setText(label);
    m_label->setAccessibleName(label);
    for (const Option& option : options) {
        if (QAbstractButton* button = buttonFor(option.value))
            button->setText(option.label);
        else
            addOption(option);
    }
    alignLabel();
}

void ChoicePicker::addOption(const Option& option)
{
    QAbstractButton* button = nullptr;
    if (m_kind == Kind::Segmented) {
        auto* previous = static_cast<Segment*>(m_group->button(int(m_values.size()) - 1));
        auto* segment = new Segment(option.label, previous, this);
        if (previous) {
            previous->setLast(false);
            // The line on this segment's left edge shows only between two unchosen ones.
            connect(previous, &QAbstractButton::toggled, segment, qOverload<>(&QWidget::update));
        }
        button = segment;
    } else {
        button = new QRadioButton(option.label, this);
    }
    button->setCheckable(true);
    m_group->addButton(button, int(m_values.size()));
    m_values.append(option.value);
    m_buttons->addWidget(button);
}

void ChoicePicker::alignLabel()
{
    if (QAbstractButton* first = m_group->button(0))
        m_label->setMinimumHeight(first->sizeHint().height());
}

QAbstractButton* ChoicePicker::buttonFor(const QString& value) const
{
    const qsizetype index = m_values.indexOf(value);
    return index < 0 ? nullptr : m_group->button(int(index));
}

void ChoicePicker::setCurrentValue(const QString& value)
{
    // An exclusive group cannot show "nothing chosen"; lift it while marking.
    m_group->setExclusive(false);
    for (QAbstractButton* button : m_group->buttons())
        button->setChecked(m_values.value(m_group->id(button)) == value);
    m_group->setExclusive(true);
}

QString ChoicePicker::currentValue() const
{
    const int id = m_group->checkedId();
    return id < 0 ? QString() : m_values.value(id);
}

QString ChoicePicker::label() const
{
    return m_label->text();
}

QStringList ChoicePicker::optionLabels() const
{
    QStringList labels;
    for (qsizetype id = 0; id < m_values.size(); ++id)
        labels.append(m_group->button(int(id))->text());
    return labels;
}

void ChoicePicker::choose(const QString& value)
{
    if (QAbstractButton* button = buttonFor(value))
        button->click();
}

} // namespace tk
