#pragma once

#include "ui/ViewContext.h"

#include <QList>

class QCheckBox;
class QLabel;
class QPushButton;

namespace tk {

class ChoicePicker;

struct HotKeySettings;
struct SettingsData;

// Language, launch, automatic hiding, the global shortcut and the settings transfer.
class GeneralSection final : public SectionView {
    Q_OBJECT

public:
    explicit GeneralSection(const ViewContext& context, QWidget* parent = nullptr);
    ~GeneralSection() override;
    void render() override;

    // What the shortcut controls show while the record has no shortcut: its fields as a
    // newly enabled one takes them, switched off.
    static HotKeySettings absentShortcut();

private:
    struct RecordToggle {
        QCheckBox* box;
        QString key;
        bool SettingsData::*field;
    };
    struct Caption {
        QLabel* label;
        QString key;
    };

    void buildLaunch();
    void buildAutoCollapse();
    void buildShortcut();
    void buildTransfer();
    QCheckBox* addRecordToggle(const QString& name, const QString& key, bool SettingsData::*field);
    void addCaption(const QString& key);
    QPushButton* addButton(QLayout* row, const QString& name, const QString& key,
                           std::function<void()> action);
    void editShortcut(const std::function<void(HotKeySettings&)>& change) const;
    // Import, reset and recovery start from a menu bar with every icon shown.
    void restoreThen(void (Preferences::*operation)()) const;

    void renderPickers();
    void renderShortcut();
    void renderButtons();

    QLabel* m_title;
    ChoicePicker* m_language;
    QCheckBox* m_login;
    ChoicePicker* m_delay;
    QLabel* m_shortcutHeading;
    QCheckBox* m_shortcutEnabled;
    QWidget* m_shortcutKeys;
    ChoicePicker* m_modifiers;
    ChoicePicker* m_key;
    ChoicePicker* m_action;
    QLabel* m_hotkeyStatus;
    QList<RecordToggle> m_recordToggles;
    QList<Caption> m_captions;
    QList<QPair<QPushButton*, QString>> m_buttons;
    QPushButton* m_recover = nullptr;
};

} // namespace tk
