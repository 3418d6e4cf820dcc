// The operations that move the whole record in and out of the store. Each catches its
// own failures and leaves one status line in `notice`; a failed import, reset or
// recovery changes nothing, because every check runs before the first write.

#include "Preferences.h"
#include "core/FileAccess.h"
#include "core/UserDefaults.h"
#include "settings/FilePanels.h"
#include "settings/LoginItemService.h"

#include <QFileInfo>

namespace tk {

namespace {

constexpr qint64 largestImport = 999'999;

Error fileError(const QString& description)
{
    return Error{FileAccess::errorDomain, 1, description};
}

QString displayName(const QString& path)
{
    return QFileInfo(path).fileName();
}

std::optional<Error> writeAtomically(const QString& path, const QByteArray& content)
{
    if (const std::optional<QString> reason = FileAccess::writeAtomically(path, content))
        return fileError(
            QStringLiteral("The file “%1” couldn’t be saved: %2").arg(displayName(path), *reason));
    return std::nullopt;
}

// What the import panel's file could not give, worded as the system words it.
Error importReadError(const QString& path, const Error& failure)
{
    const QString name = displayName(path);
    QString description;
    switch (FileAccess::Problem(failure.code)) {
    case FileAccess::Problem::Missing:
        description = QStringLiteral("The file “%1” couldn’t be opened because there is no such "
                                     "file.")
                          .arg(name);
        break;
    case FileAccess::Problem::TooLarge:
        description = QStringLiteral("The file “%1” couldn’t be opened because it is too large "
                                     "(the limit is 999,999 bytes).")
                          .arg(name);
        break;
    default:
        description =
            QStringLiteral("The file “%1” couldn’t be opened: %2").arg(name, failure.description);
        break;
    }
    return Error{failure.domain, failure.code, description};
}

// A failure the service gave no words for is still shown, as the system words one.
QString describedFailure(const Error& error)
{
    if (!error.description.isEmpty())
        return error.description;
    return QStringLiteral("The operation couldn’t be completed. (%1 error %2.)")
        .arg(error.domain.isEmpty() ? QStringLiteral("Unknown") : error.domain)
        .arg(error.code);
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

// Anything but a regular file is refused before it is opened: a pipe or a device could
// block for ever or never end.
Result<SettingsData> Preferences::readImport(const QString& path) const
{
    const Result<QByteArray> content = FileAccess::readRegularFile(path, largestImport);
    if (!content)
        return importReadError(path, content.error());
    auto decoded = SettingsData::decoded(content.value());
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
        setNotice(describedFailure(*failure));
    else if (status == LoginItemService::Status::RequiresApproval)
        setNotice(QStringLiteral("Confirma el inicio de sesión en Ajustes del Sistema → General → "
                                 "Elementos de inicio."));
    else
        setNotice(QStringLiteral("Inicio de sesión actualizado."));
}

} // namespace tk
