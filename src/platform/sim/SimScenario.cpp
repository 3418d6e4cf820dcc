#include "SimScenario.h"

#include "core/FileAccess.h"
#include "platform/sim/SimJsonReader.h"
#include "platform/sim/SimScenarioReader.h"

#include <QJsonDocument>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// "line 3, column 12" of the byte at `offset`.
QString textPlace(const QByteArray& json, qsizetype offset)
{
    const QByteArray before = json.left(offset);
    const qsizetype lineStart = before.lastIndexOf('\n') + 1;
    return u"line %1, column %2"_s.arg(before.count('\n') + 1).arg(offset - lineStart + 1);
}

} // namespace

SimBarKey SimBarKey::of(const SimApplication& app, int index)
{
    if (app.bundleIdentifier)
        return {Kind::Bundle, *app.bundleIdentifier, 0, index};
    return {Kind::Process, QString(), app.pid, index};
}

namespace SimScenarioLoader {

// Only a regular file is read: a pipe could block the start for ever, a device never end.
Result<SimScenario> load(const QString& path)
{
    const Result<QByteArray> json = FileAccess::readRegularFile(path, maximumFileBytes);
    if (json)
        return parse(json.value(), path);
    SimJsonReader reader(path.isEmpty() ? u"\"\""_s : path);
    if (json.error().code == qint64(FileAccess::Problem::TooLarge))
        reader.fail(QString(), u"is larger than %1 MiB"_s.arg(maximumFileBytes / (1024 * 1024)));
    else
        reader.fail(QString(), u"cannot be read (%1)"_s.arg(json.error().description));
    return reader.error();
}

Result<SimScenario> parse(const QByteArray& json, const QString& fileName)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        SimJsonReader reader(fileName);
        reader.fail(textPlace(json, parseError.offset),
                    u"not valid JSON (%1)"_s.arg(parseError.errorString()));
        return reader.error();
    }
    Result<SimScenario> scenario = SimScenarioReader(fileName).read(document);
    // A JSON reader keeps one value of a repeated key; which one a person meant is unclear.
    // Looked for once the file has kept within its bounds, so the search is bounded too.
    const std::optional<QString> repeated =
        scenario ? SimJsonReader::repeatedKey(json) : std::nullopt;
    if (!repeated)
        return scenario;
    SimJsonReader reader(fileName);
    reader.fail(*repeated, u"appears more than once"_s);
    return reader.error();
}

SimScenario builtIn()
{
    static const SimScenario scenario = [] {
        auto loaded = load(u":/sim/scenarios/default.json"_s);
        if (!loaded)
            qFatal("%s", qPrintable(loaded.error().description));
        return std::move(loaded).value();
    }();
    return scenario;
}

} // namespace SimScenarioLoader

} // namespace tk
