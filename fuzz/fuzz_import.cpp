// The import flow over a scripted file panel: whatever the file holds, the store either
// takes the validated record (keeping the previous one as its backup) or keeps everything
// as it was and says why.
#include "FuzzSupport.h"
#include "core/UserDefaults.h"
#include "platform/sim/ScriptedFilePanels.h"
#include "platform/sim/SimLoginItems.h"
#include "settings/Preferences.h"

#include <QFile>
#include <QTemporaryDir>

using namespace tk;

namespace {

std::optional<SettingsData> expectedRecord(const QByteArray& content)
{
    const auto decoded = SettingsData::decoded(content);
    if (!decoded)
        return std::nullopt;
    const auto valid = decoded->validated();
    return valid ? std::optional<SettingsData>(*valid) : std::nullopt;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::ensureApplication();
    static QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("import.json"));
    const QByteArray content = fuzz::bytes(data, size);
    {
        QFile file(path);
        fuzz::check(file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                        file.write(content) == content.size(),
                    "the fuzz input is written");
    }

    InMemoryUserDefaults defaults;
    SimLoginItems loginItems;
    ScriptedFilePanels panels;
    Preferences preferences(defaults, loginItems, panels);
    const SettingsData before = preferences.data();
    panels.answerNext(path);
    preferences.importSettings();

    const std::optional<SettingsData> expected = expectedRecord(content);
    if (!expected) {
        fuzz::check(preferences.data() == before, "a refused import changes nothing");
        fuzz::check(!preferences.hasBackup(), "a refused import keeps no backup");
        fuzz::check(preferences.notice().startsWith(QStringLiteral("No se importó: ")),
                    "a refused import says why");
        return 0;
    }
    fuzz::check(preferences.data() == *expected, "an import takes the validated record");
    fuzz::check(preferences.hasBackup(), "an import keeps a backup");
    const auto backup = defaults.bytes(Preferences::backupKey);
    fuzz::check(backup && SettingsData::decoded(*backup) &&
                    *SettingsData::decoded(*backup) == before,
                "the backup is the record replaced");
    const auto exported = SettingsData::decoded(preferences.data().encoded(SettingsData::Form::Exported));
    fuzz::check(exported && *exported == *expected, "the imported record exports unchanged");
    return 0;
}
