#pragma once

#include "ui/ViewContext.h"

class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace tk {

class ChoicePicker;

// Which applications a collapse hides: the mode, and in "manual" mode the list of them.
class OrganizationSection final : public SectionView {
    Q_OBJECT

public:
    explicit OrganizationSection(const ViewContext& context, QWidget* parent = nullptr);
    ~OrganizationSection() override;
    void render() override;

private:
    void buildButtons();
    void renderTexts();
    void renderList();
    void renderReasons();
    void renderUnseen();
    void fillList(const QList<ConfigurationView::ListedApp>& apps);
    bool listShows(const QList<ConfigurationView::ListedApp>& apps) const;
    void itemToggled(QListWidgetItem* item);

    QLabel* m_title;
    ChoicePicker* m_mode;
    QLabel* m_explanation;
    QLabel* m_note;
    QListWidget* m_list;
    QPushButton* m_refresh;
    QPushButton* m_toggle;
    QLabel* m_warning;
    QLabel* m_count;
    QLabel* m_reasonsTitle;
    QLabel* m_reasons;
    QLabel* m_unseenTitle;
    QLabel* m_unseen;
};

} // namespace tk
