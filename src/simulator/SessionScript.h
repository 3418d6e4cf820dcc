#pragma once

#include "core/Rect.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <variant>

namespace tk {

// One step of a scripted session: a command of one or two words ("click", "pointer",
// "expect hidden") and its arguments, every argument checked when the script is read.
struct ScriptStep {
    int line = 0;
    QString command;
    QStringList arguments;
    QList<bool> quoted; // per argument: written in double quotes

    // The step as a script would spell it, quotes included where the argument needs them.
    QString text() const;
    bool isExpectation() const { return command.startsWith(QStringLiteral("expect ")); }
};

struct ScriptError {
    int line = 0; // 0: the script as a whole
    QString reason;
};

using ScriptOrError = std::variant<QList<ScriptStep>, ScriptError>;

// The script language: one step a line, words separated by blanks, text in double quotes
// (no escapes; "" is the empty text), "#" outside quotes starts a comment. Reading is a pure
// function of the bytes, bounded in what it accepts, so that any input, however hostile,
// gives steps or one error in bounded time and memory.
namespace SessionScript {

inline constexpr qsizetype maximumSize = 1024 * 1024; // bytes
inline constexpr qsizetype maximumLineLength = 4096;  // characters
inline constexpr int maximumSteps = 10000;
inline constexpr double maximumWait = 3600.0;      // seconds, one step
inline constexpr double maximumTotalWait = 86400.0; // seconds, the whole script

ScriptOrError read(const QByteArray& bytes);

inline constexpr int maximumScreens = 16;            // in one "screens" step
inline constexpr double longestScreenSide = 16384.0; // points

// The screens of a "screens" step in the inline form, one word each: WIDTHxHEIGHT, at the
// origin, or WIDTHxHEIGHT@X,Y (screen space, the first the primary); the reason otherwise.
std::variant<QList<Rect>, QString> screenFrames(const QStringList& words);

// The login item's statuses as a script names them, in the order of
// `LoginItemService::Status`.
const QStringList& loginItemStatusWords();

// Settings sections by name, in the order of their indices.
const QStringList& sectionNames();
// A section by name or by index, as the reader accepts them.
int sectionIndex(const QString& section);

} // namespace SessionScript

} // namespace tk
