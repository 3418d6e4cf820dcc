#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

namespace tk {

// What a client may ask of the running copy: exactly these, nothing else.
enum class ControlCommand { Collapse, Expand, Toggle, ShowAll, Reveal, Status };

struct ControlRequest {
    ControlCommand command = ControlCommand::Status;
    QString application; // Reveal only: a bundle identifier, or "pid:" and a process number

    friend bool operator==(const ControlRequest&, const ControlRequest&) = default;
};

// A text for a person: a Spanish key of the localisation table whose %1, %2… are filled with
// arguments that are never translated (a bundle identifier, a path).
struct ControlText {
    QString spanish;
    QStringList arguments;

    QString in(const std::optional<QString>& language) const;

    friend bool operator==(const ControlText&, const ControlText&) = default;
};

// A request that cannot be read, and why. `code` is one of the ControlProtocol error codes.
struct ControlError {
    QString code;
    ControlText text;
};

using RequestOrError = std::variant<ControlRequest, ControlError>;

// The running copy's state as a client sees it.
struct ControlStatus {
    QString state;      // shown, scanning, requesting or hidden
    QString mode;       // boundary or manual
    QStringList hidden; // bundle identifiers, and "pid:N" for applications without one
    QString message;    // the status line

    friend bool operator==(const ControlStatus&, const ControlStatus&) = default;
};

// What the running copy answers to one request: its status once the request is carried out,
// or the error code and the reason, in the interface language.
struct ControlAnswer {
    QString error; // empty when done
    QString reason;
    ControlStatus status;

    bool done() const { return error.isEmpty(); }
    // One line of JSON, the newline included.
    QByteArray line() const;
    // The status as `--status` prints it: one line of JSON with state, mode, hidden, message.
    QByteArray statusLine() const;
    // Nothing when `line` is not an answer.
    static std::optional<ControlAnswer> read(const QByteArray& line);

    friend bool operator==(const ControlAnswer&, const ControlAnswer&) = default;
};

// The wire: one request a connection, one line of UTF-8 JSON of at most `maximumLineLength`
// bytes, {"command": "collapse"} or {"command": "reveal", "bundle": "com.example.app"}, and
// one answer line, {"ok": true, "state": …, "mode": …, "hidden": […], "message": …} or
// {"ok": false, "error": CODE, "reason": …}. The same commands arrive as tuckaway:// addresses.
namespace ControlProtocol {

inline constexpr qsizetype maximumLineLength = 4096; // bytes, the newline not counted
inline const QString scheme = QStringLiteral("tuckaway");

// Error codes.
inline const QString refused = QStringLiteral("refused");
inline const QString malformed = QStringLiteral("malformed");
inline const QString unknownCommand = QStringLiteral("unknown-command");
inline const QString tooLong = QStringLiteral("too-long");

// "collapse", "expand", "toggle", "show-all", "reveal", "status".
QString commandName(ControlCommand command);
std::optional<ControlCommand> commandNamed(const QString& name);

// A bundle identifier (letters, digits, ".", "_", "-", at most 255, a letter or digit first) or
// "pid:" and a number.
bool isApplicationId(const QString& application);

RequestOrError read(const QByteArray& line);
// The line a client sends, newline included.
QByteArray write(const ControlRequest& request);

// Whether a command-line argument is meant as an address of ours: it starts with "tuckaway:".
bool isAddress(const QString& argument);
// tuckaway://collapse, expand, toggle, show-all, reveal?bundle=ID (a trailing "/" allowed).
RequestOrError fromAddress(const QString& address);

} // namespace ControlProtocol

} // namespace tk
