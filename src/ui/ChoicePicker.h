#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class QAbstractButton;
class QBoxLayout;
class QButtonGroup;
class QLabel;

namespace tk {

// A labelled choice among a few values: a row of joined segments, or a column of radio
// buttons. It shows what it is told and reports a person's choice; it never keeps the
// value itself.
class ChoicePicker final : public QWidget {
    Q_OBJECT

public:
    enum class Kind { Segmented, RadioGroup };
    struct Option {
        QString label;
        QString value;
    };

    explicit ChoicePicker(Kind kind, QWidget* parent = nullptr);
    ~ChoicePicker() override;

    // Labels may change at every redraw; the values stay those of the first call.
    void setOptions(const QString& label, const QList<Option>& options);
    // No option is marked when `value` is none of them.
    void setCurrentValue(const QString& value);

    QString currentValue() const;
    QString label() const;
    QStringList optionLabels() const;
    // As a click would: marks it and reports the choice.
    void choose(const QString& value);

Q_SIGNALS:
    void chosen(const QString& value);

private:
    void addOption(const Option& option);
    QAbstractButton* buttonFor(const QString& value) const;

    Kind m_kind;
    QLabel* m_label;
    QBoxLayout* m_buttons;
    QButtonGroup* m_group;
    QStringList m_values;
};

} // namespace tk
