#include "ReportTranslation.h"

#include "l10n/L10n.h"

namespace tk {

ReportTranslation::ReportTranslation()
    : ReportTranslation([](const QString& report, const QString& language) {
          return L10n::text(report, language);
      })
{
}

ReportTranslation::ReportTranslation(Translator translate) : m_translate(std::move(translate)) {}

const QString& ReportTranslation::text(const QString& report, const QString& language)
{
    if (m_report != report || m_language != language) {
        m_text = m_translate(report, language);
        m_report = report;
        m_language = language;
    }
    return m_text;
}

} // namespace tk
