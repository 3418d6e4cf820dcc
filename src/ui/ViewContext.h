#pragma once

#include "ui/ConfigurationView.h"

#include <QString>
#include <QWidget>
#include <functional>

class QVBoxLayout;

namespace tk {

class Inspector;

class Preferences;
class VisibilityController;
struct SettingsData;

// What every part of the settings view reads from and writes to. Shared, never copied.
struct ViewContext {
    Preferences& preferences;
    Inspector& inspector;
    VisibilityController& visibility;
    ConfigurationView::Actions actions;
    ConfigurationView::Services services;

    // A Spanish text in the store's interface language.
    QString text(const QString& spanish) const;
    QString language() const;
    // A whole-record write: the change is made on a copy, which is assigned back so that
    // the store saves it and marks it as waiting to be applied.
    void edit(const std::function<void(SettingsData&)>& change) const;
    // Runs an action that may be missing.
    static void run(const std::function<void()>& action);
};

// A section of the content area: a leading-aligned column of controls, `spacing` apart,
// that redraws itself from the context.
class SectionView : public QWidget {
    Q_OBJECT

public:
    SectionView(const ViewContext& context, int spacing, QWidget* parent = nullptr);

    virtual void render() = 0;

protected:
    // Appends a control or a row of controls below the last one.
    void add(QWidget* control);
    void add(QLayout* row);
    QVBoxLayout* column() const { return m_column; }

    const ViewContext& m_context;

private:
    QVBoxLayout* m_column;
};

} // namespace tk
