#include "ViewContext.h"

#include "l10n/L10n.h"
#include "settings/Preferences.h"

#include <QVBoxLayout>

namespace tk {

QString ViewContext::text(const QString& spanish) const
{
    return L10n::text(spanish, preferences.language());
}

QString ViewContext::language() const
{
    return preferences.language();
}

void ViewContext::edit(const std::function<void(SettingsData&)>& change) const
{
    SettingsData record = preferences.data();
    change(record);
    preferences.setData(record);
}

void ViewContext::run(const std::function<void()>& action)
{
    if (action)
        action();
}

SectionView::SectionView(const ViewContext& context, int spacing, QWidget* parent)
    : QWidget(parent), m_context(context), m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(spacing);
}

void SectionView::add(QWidget* control)
{
    m_column->addWidget(control);
}

void SectionView::add(QLayout* row)
{
    m_column->addLayout(row);
}

} // namespace tk
