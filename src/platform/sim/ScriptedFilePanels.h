#pragma once

#include "settings/FilePanels.h"

#include <QList>
#include <QStringList>

namespace tk {

// File panels that answer from a script instead of asking a person: each call takes
// the next prepared answer (a path, or nothing for a cancelled panel).
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

    const QStringList& proposedNames() const { return m_proposedNames; }
    int openPanelCount() const { return m_openPanels; }

private:
    std::optional<QString> takeAnswer() { return m_answers.isEmpty() ? std::nullopt : m_answers.takeFirst(); }

    QList<std::optional<QString>> m_answers;
    QStringList m_proposedNames;
    int m_openPanels = 0;
};

} // namespace tk
