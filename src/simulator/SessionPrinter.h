#pragma once

#include <QObject>
#include <QString>

namespace tk {

struct SessionContext;

// The lines of a scripted session: each with its virtual time, in the interface language.
// Once watching, it prints every change of state, status line, notice, shortcut status,
// scan, collapse decision, open menu, item menu and hidden set as it happens, each only when
// it differs from what was printed last.
class SessionPrinter final : public QObject {
    Q_OBJECT

public:
    explicit SessionPrinter(SessionContext& context, QObject* parent = nullptr);

    void watch();
    void print(const QString& line);
    // A Spanish text of the simulator's or Tuckaway's in the interface language.
    QString text(const QString& spanish) const;
    void printHidden();

private:
    void printState();
    void printMenu();
    void printItemMenu();
    void printDecisions();
    void printUnseen();
    void watchStatusLines();

    SessionContext& m_context;
    QString m_lastState;
    QString m_lastMessage;
    QString m_lastNotice;
    QString m_lastHotkey;
    QString m_lastHidden;
    QString m_lastItemMenu = QStringLiteral("-");
    bool m_someUnseen = false; // the latest scan found items out of sight
};

} // namespace tk
