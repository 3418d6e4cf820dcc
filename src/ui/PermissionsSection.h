#pragma once

#include "ui/ReportTranslation.h"
#include "ui/ViewContext.h"

#include <optional>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace tk {

// Whether this copy may read other applications' items and whether hiding can work, the
// ways to grant access, and the last scan's report.
class PermissionsSection final : public SectionView {
    Q_OBJECT

public:
    PermissionsSection(const ViewContext& context, std::function<void()> saveReport,
                       QWidget* parent = nullptr);
    ~PermissionsSection() override;
    void render() override;

    // Warns that titles may hold personal information, asks where to save, and exports the
    // desktop there in the background; the button waits meanwhile, the outcome is a notice.
    void exportDesktop();

    static inline const QString exportWarning = QStringLiteral(
        "Los títulos y descripciones de la barra de menús pueden contener información personal "
        "(nombres, direcciones, mensajes). Revisa el archivo antes de compartirlo.");

private:
    QPushButton* addButton(QLayout* row, const QString& name, std::function<void()> action);
    void renderReport();

    QLabel* m_title;
    QLabel* m_authorization;
    QPushButton* m_requestAccess;
    QPushButton* m_openPrivacy;
    QLabel* m_mechanism;
    QPushButton* m_refresh;
    QPushButton* m_save;
    QPushButton* m_export;
    bool m_exporting = false;
    QPlainTextEdit* m_report;
    ReportTranslation m_translation;
    std::optional<QString> m_shownReport;
};

} // namespace tk
