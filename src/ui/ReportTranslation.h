#pragma once

#include <QString>
#include <functional>
#include <optional>

namespace tk {

// The last scan's report in the interface language. A long report takes milliseconds to
// translate fragment by fragment, so one translation serves every redraw until the report
// or the language changes.
class ReportTranslation {
public:
    using Translator = std::function<QString(const QString& report, const QString& language)>;

    ReportTranslation();
    explicit ReportTranslation(Translator translate);

    const QString& text(const QString& report, const QString& language);

private:
    Translator m_translate;
    std::optional<QString> m_report; // what `m_text` was translated from
    QString m_language;
    QString m_text;
};

} // namespace tk
