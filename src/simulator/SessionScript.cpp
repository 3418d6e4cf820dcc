#include "SessionScript.h"

#include "simulator/ScriptArguments.h"
#include "simulator/SessionExpectations.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>

#include <cmath>
#include <functional>
#include <optional>

namespace tk {

using namespace Qt::StringLiterals;
using namespace ScriptArguments;

namespace {

constexpr int maximumMenuDepth = 4; // a menu, its submenus and theirs

struct Token {
    QString text;
    bool quoted = false;
};

struct Tokens {
    QList<Token> words;
    QString error;
};

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

// Words, quoted texts and a trailing comment; a quote may only start a word.
Tokens tokenize(QStringView line)
{
    Tokens tokens;
    qsizetype at = 0;
    while (at < line.size()) {
        const QChar c = line.at(at);
        if (isBlank(c)) {
            ++at;
        } else if (c == u'#') {
            break;
        } else if (c == u'"') {
            const qsizetype end = line.indexOf(u'"', at + 1);
            if (end < 0)
                return {{}, u"the quoted text is not closed"_s};
            if (end + 1 < line.size() && !isBlank(line.at(end + 1)) && line.at(end + 1) != u'#')
                return {{}, u"a quoted text must be followed by a blank"_s};
            tokens.words.append({line.mid(at + 1, end - at - 1).toString(), true});
            at = end + 1;
        } else {
            qsizetype end = at;
            while (end < line.size() && !isBlank(line.at(end)) && line.at(end) != u'#') {
                if (line.at(end) == u'"')
                    return {{}, u"a quote may only start a word"_s};
                ++end;
            }
            tokens.words.append({line.mid(at, end - at).toString(), false});
            at = end;
        }
    }
    return tokens;
}

QString checkPointer(const QStringList& a)
{
    if (a.size() == 1 && (a[0] == u"icon" || a[0] == u"away"))
        return {};
    if (a.size() != 2)
        return u"takes X Y, icon or away"_s;
    if (!number(a[0], maximumCoordinate) || !number(a[1], maximumCoordinate))
        return u"X and Y must be numbers between -%1 and %1"_s.arg(maximumCoordinate);
    return {};
}

// "on" or "off", alone or followed by "at" and the application the scan under way comes to.
QString checkPermission(const QStringList& a)
{
    if ((a.size() != 1 && a.size() != 3) || (a.size() == 3 && a[1] != u"at"))
        return u"takes on|off, or on|off at APP"_s;
    if (const QString error = oneOf(a[0], {u"on"_s, u"off"_s}, u"the permission"_s);
        !error.isEmpty())
        return error;
    return a.size() == 3 ? checkApplication(a[2]) : QString();
}

QString checkSet(const QStringList& a)
{
    static const QStringList flags{u"showOnLaunch"_s, u"startCollapsed"_s, u"autoCollapse"_s,
                                   u"hoverReveal"_s};
    if (a.size() != 2)
        return u"takes FIELD VALUE"_s;
    const QString& field = a[0];
    const QString& value = a[1];
    if (field == u"mode")
        return oneOf(value, {u"boundary"_s, u"manual"_s}, u"mode"_s);
    if (field == u"symbol")
        return oneOf(value, {u"dotsChevron"_s, u"dots"_s, u"single"_s}, u"symbol"_s);
    if (flags.contains(field))
        return oneOf(value, {u"true"_s, u"false"_s}, field);
    if (field == u"delay")
        return oneOf(value, {u"5"_s, u"10"_s, u"30"_s, u"60"_s}, u"delay"_s);
    if (field == u"hotkey")
        return oneOf(value, {u"off"_s, u"toggle"_s, u"showAll"_s, u"showHiddenIcon"_s},
                     u"hotkey"_s);
    if (field == u"hiddenBundles")
        return {};
    return oneOf(field,
                 QStringList{u"mode"_s, u"symbol"_s, u"delay"_s, u"hiddenBundles"_s, u"hotkey"_s} +
                     flags,
                 u"the field"_s);
}

// sleep, change, none, the name of a list the scenario gives, or screens in the inline form.
QString checkScreens(const QStringList& a)
{
    static const QRegularExpression name(u"^[a-z][a-z0-9-]{0,31}$"_s);
    if (a.isEmpty())
        return u"takes sleep, change, none, the name of a list of screens or the screens"_s;
    if (a.size() == 1 && (a[0] == u"sleep" || a[0] == u"change" || name.match(a[0]).hasMatch()))
        return {};
    const auto frames = SessionScript::screenFrames(a);
    const QString* error = std::get_if<QString>(&frames);
    return error ? *error : QString();
}

QString checkPicture(const QStringList& a)
{
    static const QRegularExpression name(u"^[A-Za-z0-9][A-Za-z0-9._-]{0,99}\\.png$"_s);
    if (a.isEmpty() || a.size() > 2 || !name.match(a[0]).hasMatch())
        return u"takes a file name ending in .png (letters, digits, . _ -)"_s;
    if (a.size() == 2 && a[1] != u"light" && a[1] != u"dark")
        return u"draws the screens light or dark, not \"%1\""_s.arg(a[1]);
    return {};
}

// The steps that act: the person's, the system's and the settings'.
QHash<QString, Check> stepChecks()
{
    return {
        {u"click"_s, none()},
        {u"right-click"_s, none()},
        {u"option-click"_s, none()},
        {u"escape"_s, none()},
        {u"menu"_s,
         [](const QStringList& a) {
             return a.isEmpty() || a.size() > maximumMenuDepth
                        ? u"takes the titles of 1 to %1 entries, each in the menu the one "
                          u"before opened"_s.arg(maximumMenuDepth)
                        : QString();
         }},
        {u"pointer"_s, checkPointer},
        {u"button"_s, word({u"down"_s, u"up"_s}, u"the button"_s)},
        {u"wait"_s, exactly(1)}, // the number is checked with the running total
        {u"serve"_s, exactly(1)}, // likewise
        {u"shortcut"_s, none()},
        {u"launch"_s, exactly(2, [](const QStringList& a) { return checkApplication(a[0]); })},
        {u"quit"_s, exactly(1, [](const QStringList& a) { return checkApplication(a[0]); })},
        {u"permission"_s, checkPermission},
        {u"hang"_s, exactly(1, [](const QStringList& a) { return checkApplication(a[0]); })},
        {u"recover"_s, exactly(1, [](const QStringList& a) { return checkApplication(a[0]); })},
        {u"framework"_s, word({u"present"_s, u"absent"_s, u"error"_s, u"exception"_s, u"silent"_s},
                              u"the framework"_s)},
        {u"screens"_s, checkScreens},
        {u"login"_s, word({u"on"_s, u"off"_s}, u"the switch"_s)},
        {u"login-item"_s, word({u"on"_s, u"off"_s}, u"the switch"_s)},
        {u"reopen"_s, none()},
        {u"second-launch"_s, none()},
        {u"drag"_s, exactly(1,
                            [](const QStringList& a) {
                                return number(a[0], maximumCoordinate)
                                           ? QString()
                                           : u"X must be a number between -%1 and %1"_s.arg(
                                                 maximumCoordinate);
                            })},
        {u"settings open"_s,
         [](const QStringList& a) { return a.size() > 1 ? u"takes at most a section"_s
                                           : a.isEmpty() ? QString() : checkSection(a[0]); }},
        {u"settings close"_s, none()},
        {u"apply"_s, none()},
        {u"set"_s, checkSet},
        {u"language"_s, word({u"en"_s, u"es"_s}, u"the language"_s)},
        {u"picture"_s, checkPicture},
        {u"front"_s, exactly(1,
                             [](const QStringList& a) {
                                 return a[0] == u"none" ? QString() : checkApplication(a[0]);
                             })},
    };
}

// The steps, and the expectations as their checker lists them.
const QHash<QString, Check>& commands()
{
    static const QHash<QString, Check> table = [] {
        QHash<QString, Check> steps = SessionExpectations::argumentChecks();
        steps.insert(stepChecks());
        return steps;
    }();
    return table;
}

// The command is the first word, or the first two for the commands spelled so.
std::variant<ScriptStep, QString> stepOf(const QList<Token>& words)
{
    ScriptStep step;
    qsizetype used = 1;
    step.command = words[0].text;
    if (words.size() > 1 && !words[1].quoted &&
        commands().contains(words[0].text + u' ' + words[1].text)) {
        step.command += u' ' + words[1].text;
        used = 2;
    }
    const auto check = commands().constFind(step.command);
    if (words[0].quoted || check == commands().constEnd())
        return u"unknown step \"%1\""_s.arg(words[0].text);
    for (qsizetype i = used; i < words.size(); ++i) {
        step.arguments << words[i].text;
        step.quoted << words[i].quoted;
    }
    if (const QString error = (*check)(step.arguments); !error.isEmpty())
        return step.command + u": "_s + error;
    return step;
}

std::optional<QString> decode(const QByteArray& bytes, QString& text)
{
    if (bytes.size() > SessionScript::maximumSize)
        return u"the script is larger than %1 bytes"_s.arg(SessionScript::maximumSize);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder.decode(bytes);
    text = decoded;
    if (decoder.hasError())
        return u"the script is not UTF-8 text"_s;
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    return std::nullopt;
}

} // namespace

QString ScriptStep::text() const
{
    QString spelled = command;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const bool quote = quoted.value(i) || arguments[i].isEmpty();
        spelled += quote ? u" \""_s + arguments[i] + u'"' : u' ' + arguments[i];
    }
    return spelled;
}

std::variant<QList<Rect>, QString> SessionScript::screenFrames(const QStringList& words)
{
    static const QRegularExpression form(u"^([0-9.]+)x([0-9.]+)(?:@([-0-9.]+),([-0-9.]+))?$"_s);
    if (words.size() > maximumScreens)
        return u"at most %1 screens"_s.arg(maximumScreens);
    QList<Rect> frames;
    for (const QString& word : words) {
        const QRegularExpressionMatch match = form.match(word);
        if (!match.hasMatch())
            return u"\"%1\" is none of sleep, change, none, the name of a list of screens, "
                   "WIDTHxHEIGHT or WIDTHxHEIGHT@X,Y"_s.arg(word);
        const auto width = number(match.captured(1), longestScreenSide);
        const auto height = number(match.captured(2), longestScreenSide);
        if (!width || !height || *width <= 0.0 || *height <= 0.0)
            return u"a screen's width and height must be above 0 and at most %1"_s.arg(
                longestScreenSide);
        const auto x = match.hasCaptured(3) ? number(match.captured(3), maximumCoordinate) : 0.0;
        const auto y = match.hasCaptured(4) ? number(match.captured(4), maximumCoordinate) : 0.0;
        if (!x || !y)
            return u"X and Y must be numbers between -%1 and %1"_s.arg(maximumCoordinate, 0, 'f',
                                                                       0);
        frames.append(Rect{*x, *y, *width, *height});
    }
    return frames;
}

const QStringList& SessionScript::loginItemStatusWords()
{
    static const QStringList words{u"enabled"_s, u"requires-approval"_s, u"not-registered"_s,
                                   u"not-found"_s};
    return words;
}

const QStringList& SessionScript::sectionNames()
{
    static const QStringList names{u"general"_s, u"organization"_s, u"appearance"_s,
                                   u"permissions"_s, u"about"_s};
    return names;
}

int SessionScript::sectionIndex(const QString& section)
{
    bool isIndex = false;
    const int index = section.toInt(&isIndex);
    return isIndex ? index : int(sectionNames().indexOf(section));
}

ScriptOrError SessionScript::read(const QByteArray& bytes)
{
    QString text;
    if (const std::optional<QString> error = decode(bytes, text))
        return ScriptError{0, *error};
    QList<ScriptStep> steps;
    double totalWait = 0.0;
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const int lineNumber = int(i + 1);
        QStringView line = lines[i];
        if (line.endsWith(u'\r'))
            line.chop(1);
        if (line.size() > maximumLineLength)
            return ScriptError{lineNumber, u"the line is longer than %1 characters"_s.arg(maximumLineLength)};
        for (const QChar c : line) {
            if (c.category() == QChar::Other_Control && c != u'\t')
                return ScriptError{lineNumber, u"the line holds a control character"_s};
        }
        const Tokens tokens = tokenize(line);
        if (!tokens.error.isEmpty())
            return ScriptError{lineNumber, tokens.error};
        if (tokens.words.isEmpty())
            continue;
        std::variant<ScriptStep, QString> step = stepOf(tokens.words);
        if (auto* error = std::get_if<QString>(&step))
            return ScriptError{lineNumber, *error};
        ScriptStep& parsed = std::get<ScriptStep>(step);
        parsed.line = lineNumber;
        if (parsed.command == u"wait" || parsed.command == u"serve") {
            const std::optional<double> seconds = number(parsed.arguments[0], maximumWait);
            if (!seconds || *seconds < 0.0)
                return ScriptError{lineNumber, u"%1: SECONDS must be a number from 0 to %2"_s.arg(parsed.command).arg(maximumWait)};
            totalWait += *seconds;
            if (totalWait > maximumTotalWait)
                return ScriptError{lineNumber, u"the script waits more than %1 seconds in all"_s.arg(maximumTotalWait)};
        }
        if (steps.size() >= maximumSteps)
            return ScriptError{lineNumber, u"the script has more than %1 steps"_s.arg(maximumSteps)};
        steps.append(std::move(parsed));
    }
    return steps;
}

} // namespace tk
