#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QWidget>

class QAbstractButton;
class QBoxLayout;
class QButtonGroup;
class QLabel;
class QPalette;

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
    // How a segment is painted: the chosen one on the accent, the others on the button
    // colour; a disabled picker keeps its chosen value readable on a grey.
    struct SegmentLook {
        QColor fill;
        QColor text;
    };
    static SegmentLook segmentLook(const QPalette& palette, bool chosen, bool enabled);

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
    void alignLabel();
    QAbstractButton* buttonFor(const QString& value) const;

    Kind m_kind;
    QLabel* m_label;
    QBoxLayout* m_buttons;
    QButtonGroup* m_group;
    QStringList m_values;
};

} // namespace tk
