#pragma once

#include "settings/SettingsData.h"

#include <QObject>

namespace tk {

class FilePanels;
class LoginItemService;
class UserDefaults;

// The one observable store of the current settings record and the interface state
// around it. Every property notifies on each assignment, even of an equal value, and
// `changed` follows every notification for observers of the whole store.
class Preferences final : public QObject {
    Q_OBJECT
    Q_PROPERTY(SettingsData data READ data WRITE setData NOTIFY dataChanged)
    Q_PROPERTY(bool needsApply READ needsApply WRITE setNeedsApply NOTIFY needsApplyChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(int section READ section WRITE setSection NOTIFY sectionChanged)
    Q_PROPERTY(QString notice READ notice WRITE setNotice NOTIFY noticeChanged)
    Q_PROPERTY(QString hotkeyStatus READ hotkeyStatus WRITE setHotkeyStatus NOTIFY hotkeyStatusChanged)
    Q_PROPERTY(bool hasBackup READ hasBackup WRITE setHasBackup NOTIFY hasBackupChanged)
    Q_PROPERTY(bool loginEnabled READ loginEnabled WRITE setLoginEnabled NOTIFY loginEnabledChanged)

public:
    static inline const QString recordKey = QStringLiteral("settings.v1");
    static inline const QString backupKey = QStringLiteral("settings.backup.v1");
    static inline const QString legacyHiddenKey = QStringLiteral("hiddenBundles");
    static inline const QString legacySelectedKey = QStringLiteral("selected");
    static inline const QString legacyCompactKey = QStringLiteral("compact");

    Preferences(UserDefaults& defaults, LoginItemService& loginItems, FilePanels& filePanels,
                QObject* parent = nullptr);
    ~Preferences() override;

    const SettingsData& data() const { return m_data; }
    bool needsApply() const { return m_needsApply; }
    const QString& language() const { return m_language; }
    int section() const { return m_section; }
    const QString& notice() const { return m_notice; }
    const QString& hotkeyStatus() const { return m_hotkeyStatus; }
    bool hasBackup() const { return m_hasBackup; }
    bool loginEnabled() const { return m_loginEnabled; }
    UserDefaults& defaults() const { return m_defaults; }

    // Saves the record and sets needsApply. A record whose lists exceed what a stored record
    // may hold (older keys can give one) is kept within those limits.
    void setData(const SettingsData& data);
    void setNeedsApply(bool needsApply);
    void setLanguage(const QString& language); // saves the language
    void setSection(int section);
    void setNotice(const QString& notice);
    void setHotkeyStatus(const QString& status);
    void setHasBackup(bool hasBackup);
    void setLoginEnabled(bool enabled);

    // Puts `bundle` once at the end of the manual list, or takes every copy out.
    void setHidden(const QString& bundle, bool hidden);

    // Moving the whole record in and out; each reports one status line in `notice`.
    void exportSettings();
    void importSettings();
    void resetSettings();
    void restoreBackup();
    // Validates `record`, keeps the current record in the backup slot, then installs it.
    std::optional<Error> replaceWithBackup(const SettingsData& record);
    void setLogin(bool enabled);

    // The file name the export panel proposes for an interface language.
    static QString exportFileName(const QString& language);

Q_SIGNALS:
    void dataChanged(const SettingsData& data);
    void needsApplyChanged(bool needsApply);
    void languageChanged(const QString& language);
    void sectionChanged(int section);
    void noticeChanged(const QString& notice);
    void hotkeyStatusChanged(const QString& status);
    void hasBackupChanged(bool hasBackup);
    void loginEnabledChanged(bool enabled);
    void changed();

private:
    SettingsData loadRecord() const;
    Result<SettingsData> readImport(const QString& path) const;

    UserDefaults& m_defaults;
    LoginItemService& m_loginItems;
    FilePanels& m_filePanels;

    SettingsData m_data;
    bool m_needsApply = false;
    QString m_language;
    int m_section = 0;
    QString m_notice;
    QString m_hotkeyStatus;
    bool m_hasBackup = false;
    bool m_loginEnabled = false;
};

} // namespace tk
