// The operations that move the whole record in and out of the store. Each catches its
// own failures and leaves one status line in `notice`; a failed import, reset or
// recovery changes nothing, because every check runs before the first write.

#include "Preferences.h"

#include "core/UserDefaults.h"
#include "settings/FilePanels.h"
#include "settings/LoginItemService.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace tk {

namespace {

constexpr qint64 largestImport = 999'999;
const QString fileErrorDomain = QStringLiteral("Tuckaway.File");

Error fileError(const QString& description)
{
    return Error{fileErrorDomain, 1, description};
}

QString displayName(const QString& path)
{
    return QFileInfo(path).fileName();
}

std::optional<Error> writeAtomically(const QString& path, const QByteArray& content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        return fileError(QStringLiteral("The file “%1” couldn’t be saved: %2")
                             .arg(displayName(path), file.errorString()));
    }
    return std::nullopt;
}

} // namespace

QString Preferences::exportFileName(const QString& language)
{
    return language == QLatin1String("en") ? QStringLiteral("Tuckaway-settings.json")
                                           : QStringLiteral("Tuckaway-configuracion.json");
}

std::optional<Error> Preferences::replaceWithBackup(const SettingsData& record)
{
    auto valid = record.validated();
    if (!valid)
        return valid.error();
    m_defaults.setBytes(backupKey, m_data.encoded(SettingsData::Form::Stored));
    setHasBackup(true);
    setData(valid.value());
    return std::nullopt;
}

void Preferences::exportSettings()
{
    const auto location = m_filePanels.chooseSaveLocation(exportFileName(m_language));
    if (!location)
        return;
    const auto failure = writeAtomically(*location, m_data.encoded(SettingsData::Form::Exported));
    setNotice(failure ? failure->description : QStringLiteral("Configuración exportada."));
}

Result<SettingsData> Preferences::readImport(const QString& path) const
{
    const QFileInfo info(path);
    if (!info.exists())
        return fileError(QStringLiteral("The file “%1” couldn’t be opened because there is no such file.")
                             .arg(displayName(path)));
    // Only a regular file has a size to trust; anything else is read and judged by content.
    if (info.isFile() && info.size() > largestImport)
        return fileError(QStringLiteral("The file “%1” couldn’t be opened because it is too large "
                                        "(%2 bytes; the limit is 999,999).")
                             .arg(displayName(path))
                             .arg(info.size()));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fileError(QStringLiteral("The file “%1” couldn’t be opened: %2")
                             .arg(displayName(path), file.errorString()));
    // Bounded even when the size could not be told beforehand.
    const QByteArray content = file.read(largestImport + 1);
    if (content.size() > largestImport)
        return fileError(QStringLiteral("The file “%1” couldn’t be opened because it is too large.")
                             .arg(displayName(path)));
    if (file.error() != QFileDevice::NoError)
        return fileError(QStringLiteral("The file “%1” couldn’t be read: %2")
                             .arg(displayName(path), file.errorString()));
    auto decoded = SettingsData::decoded(content);
    if (!decoded)
        return decoded.error();
    return decoded->validated();
}

void Preferences::importSettings()
{
    const auto location = m_filePanels.chooseFileToOpen();
    if (!location)
        return;
    const auto record = readImport(*location);
    const auto failure = record ? replaceWithBackup(record.value()) : record.error();
    if (failure) {
        setNotice(QStringLiteral("No se importó: ") + failure->description);
        return;
    }
    setNotice(QStringLiteral("Configuración importada. Los iconos permanecen visibles hasta que "
                             "decidas ocultarlos."));
}

void Preferences::resetSettings()
{
    const auto failure = replaceWithBackup(SettingsData());
    setNotice(failure ? failure->description
                      : QStringLiteral("Valores iniciales restaurados. Puedes recuperar los ajustes "
                                       "anteriores."));
}

void Preferences::restoreBackup()
{
    const auto stored = m_defaults.bytes(backupKey);
    if (!stored)
        return;
    auto decoded = SettingsData::decoded(*stored);
    const auto record = decoded ? decoded->validated() : decoded;
    const auto failure = record ? replaceWithBackup(record.value()) : record.error();
    if (failure) {
        setNotice(QStringLiteral("No se pudo recuperar: ") + failure->description);
        return;
    }
    setNotice(QStringLiteral("Configuración anterior recuperada. Se conservó una copia de la que "
                             "acabas de sustituir."));
}

void Preferences::setLogin(bool enabled)
{
    const auto failure = enabled ? m_loginItems.registerApp() : m_loginItems.unregisterApp();
    const auto status = m_loginItems.status();
    setLoginEnabled(status == LoginItemService::Status::Enabled);
    if (failure)
        setNotice(failure->description);
    else if (status == LoginItemService::Status::RequiresApproval)
        setNotice(QStringLiteral("Confirma el inicio de sesión en Ajustes del Sistema → General → "
                                 "Elementos de inicio."));
    else
        setNotice(QStringLiteral("Inicio de sesión actualizado."));
}

} // namespace tk
