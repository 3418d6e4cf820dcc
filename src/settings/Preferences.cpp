#include "Preferences.h"

#include "core/UserDefaults.h"
#include "l10n/L10n.h"
#include "settings/LoginItemService.h"

namespace tk {

Preferences::Preferences(UserDefaults& defaults, LoginItemService& loginItems,
                         FilePanels& filePanels, QObject* parent)
    : QObject(parent),
      m_defaults(defaults),
      m_loginItems(loginItems),
      m_filePanels(filePanels),
      m_hotkeyStatus(QStringLiteral("Atajo desactivado."))
{
    m_loginEnabled = m_loginItems.status() == LoginItemService::Status::Enabled;
    m_language = L10n::initialLanguage(m_defaults);
    m_hasBackup = m_defaults.bytes(backupKey).has_value();
    m_data = loadRecord();
}

Preferences::~Preferences() = default;

// A stored record is used only when it reads and validates; otherwise the defaults
// with whatever the older keys hold. Nothing is written back at start.
SettingsData Preferences::loadRecord() const
{
    if (const auto stored = m_defaults.bytes(recordKey)) {
        if (const auto decoded = SettingsData::decoded(*stored)) {
            if (auto valid = decoded->validated())
                return std::move(valid).value();
        }
    }
    SettingsData record;
    record.hiddenBundles = m_defaults.stringList(legacyHiddenKey).value_or(QStringList());
    record.selected = m_defaults.stringList(legacySelectedKey).value_or(QStringList());
    record.compact = m_defaults.boolean(legacyCompactKey).value_or(false);
    return record;
}

// The older keys may hand the start a record with longer lists than a stored record may
// hold. Saved as it is, the next start would refuse it and fall back to the older keys,
// losing every change made since; so from its first change on it is kept within limits.
void Preferences::setData(const SettingsData& data)
{
    m_data = data.validated() ? data : data.withinListLimits();
    m_defaults.setBytes(recordKey, m_data.encoded(SettingsData::Form::Stored));
    Q_EMIT dataChanged(m_data);
    Q_EMIT changed();
    setNeedsApply(true);
}

void Preferences::setNeedsApply(bool needsApply)
{
    m_needsApply = needsApply;
    Q_EMIT needsApplyChanged(m_needsApply);
    Q_EMIT changed();
}

void Preferences::setLanguage(const QString& language)
{
    m_language = language;
    m_defaults.setString(L10n::languageKey, m_language);
    Q_EMIT languageChanged(m_language);
    Q_EMIT changed();
}

void Preferences::setSection(int section)
{
    m_section = section;
    Q_EMIT sectionChanged(m_section);
    Q_EMIT changed();
}

void Preferences::setNotice(const QString& notice)
{
    m_notice = notice;
    Q_EMIT noticeChanged(m_notice);
    Q_EMIT changed();
}

void Preferences::setHotkeyStatus(const QString& status)
{
    m_hotkeyStatus = status;
    Q_EMIT hotkeyStatusChanged(m_hotkeyStatus);
    Q_EMIT changed();
}

void Preferences::setHasBackup(bool hasBackup)
{
    m_hasBackup = hasBackup;
    Q_EMIT hasBackupChanged(m_hasBackup);
    Q_EMIT changed();
}

void Preferences::setLoginEnabled(bool enabled)
{
    m_loginEnabled = enabled;
    Q_EMIT loginEnabledChanged(m_loginEnabled);
    Q_EMIT changed();
}

void Preferences::setHidden(const QString& bundle, bool hidden)
{
    SettingsData record = m_data;
    record.hiddenBundles.removeAll(bundle);
    setData(record);
    if (hidden) {
        record.hiddenBundles.append(bundle);
        setData(record);
    }
}

} // namespace tk
