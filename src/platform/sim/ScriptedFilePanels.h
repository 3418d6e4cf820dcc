#pragma once

#include "settings/FilePanels.h"

#include <QList>
#include <QStringList>

namespace tk {

// File panels that answer from a script instead of asking a person: each call takes
// the next prepared answer (a path, or nothing for a cancelled panel); a warning is
// answered by the next prepared choice, and stops the save when none is prepared.
class ScriptedFilePanels final : public FilePanels {
public:
    void answerNext(std::optional<QString> location) { m_answers.append(std::move(location)); }

    std::optional<QString> chooseSaveLocation(const QString& proposedName) override
    {
        m_proposedNames.append(proposedName);
        return takeAnswer();
    }
    std::optional<QString> chooseFileToOpen() override
    {
        ++m_openPanels;
        return takeAnswer();
    }

    void chooseNext(bool proceed) { m_choices.append(proceed); }
    bool warnBeforeSaving(const QString& message, const QString&, const QString&) override
    {
        m_warnings.append(message);
        return !m_choices.isEmpty() && m_choices.takeFirst();
    }

    const QStringList& proposedNames() const { return m_proposedNames; }
    const QStringList& warnings() const { return m_warnings; }
    int openPanelCount() const { return m_openPanels; }

private:
    std::optional<QString> takeAnswer() { return m_answers.isEmpty() ? std::nullopt : m_answers.takeFirst(); }

    QList<std::optional<QString>> m_answers;
    QStringList m_proposedNames;
    QList<bool> m_choices;
    QStringList m_warnings;
    int m_openPanels = 0;
};

} // namespace tk
