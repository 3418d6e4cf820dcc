#include "ChoicePicker.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace tk {

ChoicePicker::ChoicePicker(Kind kind, QWidget* parent)
    : QWidget(parent), m_kind(kind), m_label(new QLabel(this)), m_group(new QButtonGroup(this))
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    if (kind == Kind::Segmented) {
        m_buttons = new QHBoxLayout;
        m_buttons->setSpacing(0); // the segments touch, as one control
        row->addWidget(m_label, 0, Qt::AlignVCenter);
    } else {
        m_buttons = new QVBoxLayout;
        m_buttons->setSpacing(4);
        row->addWidget(m_label, 0, Qt::AlignTop);
    }
    row->addLayout(m_buttons);
    row->addStretch(1);
    m_label->setTextFormat(Qt::PlainText);
    m_group->setExclusive(true);
    // Only a person's click reports a choice; marking the shown value never does.
    connect(m_group, &QButtonGroup::idClicked, this,
            [this](int id) { Q_EMIT chosen(m_values.value(id)); });
}

ChoicePicker::~ChoicePicker() = default;

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
}

void ChoicePicker::addOption(const Option& option)
{
    QAbstractButton* button = nullptr;
    if (m_kind == Kind::Segmented) {
        // Tool buttons take the width of their label, where push buttons would impose a
        // minimum that makes short segments as wide as long ones.
        auto* segment = new QToolButton(this);
        segment->setText(option.label);
        segment->setToolButtonStyle(Qt::ToolButtonTextOnly);
        segment->setFocusPolicy(Qt::TabFocus);
        segment->setStyleSheet(QStringLiteral("QToolButton { padding: 3px 10px; }"));
        button = segment;
    } else {
        button = new QRadioButton(option.label, this);
    }
    button->setCheckable(true);
    m_group->addButton(button, int(m_values.size()));
    m_values.append(option.value);
    m_buttons->addWidget(button);
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
