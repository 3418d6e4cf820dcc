#include "core/UserDefaults.h"
#include "l10n/L10n.h"
#include "platform/linux/XdgAutostart.h"
#include "platform/sim/ScriptedFilePanels.h"
#include "platform/sim/SimLoginItems.h"
#include "settings/Preferences.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace tk;

namespace {

const QString incompatible =
    QStringLiteral("El archivo contiene una versión u opciones incompatibles.");

QByteArray recordJson(const QString& hiddenJson, int delay = 10)
{
    return QStringLiteral(
               R"({"version":1,"mode":"manual","symbol":"dots","showOnLaunch":false,)"
               R"("startCollapsed":false,"autoCollapse":true,"delay":%1,"hoverReveal":false,)"
               R"("compact":false,"hiddenBundles":%2,"selected":[]})")
        .arg(delay)
        .arg(hiddenJson)
        .toUtf8();
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

} // namespace

class TestPreferences : public QObject {
    Q_OBJECT

private:
    struct Fixture {
        InMemoryUserDefaults defaults;
        SimLoginItems login;
        ScriptedFilePanels panels;
        std::unique_ptr<Preferences> make()
        {
            return std::make_unique<Preferences>(defaults, login, panels);
        }
    };

    QTemporaryDir m_dir;

private Q_SLOTS:
    void firstStartUsesDefaultsAndWritesNothing();
    void unusableStoredRecordFallsBackToOlderKeys_data();
    void unusableStoredRecordFallsBackToOlderKeys();
    void storedRecordIsUsedValidatedWithoutRewrite();
    void everyAssignmentSavesAndNotifiesEvenWhenEqual();
    void setHiddenMovesToEndOrRemovesEveryCopy();
    void changesSurviveARestartPastTheListLimits_data();
    void changesSurviveARestartPastTheListLimits();
    void exportProposesNameByLanguageAndWritesExportedForm();
    void exportFailureLeavesNoFileAndReportsTheReason();
    void cancelledPanelsAndEmptyBackupSaySomethingNowhere();
    void importRoundTripKeepsPreviousRecordAsBackup();
    void importOfTheLargestAllowedFileProceeds();
    void refusedImportsChangeNothing_data();
    void refusedImportsChangeNothing();
    void resetTwiceThenRecoverGivesDefaultsAndRecoverTwiceSwapsBack();
    void loginSwitchShowsWhatTheSystemDid();
    void autostartEntryLifecycle();
};

void TestPreferences::firstStartUsesDefaultsAndWritesNothing()
{
    Fixture f;
    f.defaults.setString(L10n::languageKey, QStringLiteral("es"));
    auto prefs = f.make();
    QCOMPARE(prefs->data(), SettingsData());
    QCOMPARE(prefs->language(), QStringLiteral("es"));
    QVERIFY(!prefs->hasBackup());
    QVERIFY(!prefs->needsApply());
    QCOMPARE(prefs->hotkeyStatus(), QStringLiteral("Atajo desactivado."));
    QCOMPARE(f.defaults.writeCount(), 1); // only the language set up above
}

void TestPreferences::unusableStoredRecordFallsBackToOlderKeys_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::newRow("delay out of range") << recordJson(QStringLiteral("[]"), 7);
    QTest::newRow("not json") << QByteArray("settings, please");
    QTest::newRow("not utf-8") << QByteArray("{\"version\":\xff\xfe}");
    QTest::newRow("wrong type") << QByteArray(recordJson(QStringLiteral("\"a\"")));
    QTest::newRow("megabytes") << QByteArray(4 * 1024 * 1024, '[');
}

void TestPreferences::unusableStoredRecordFallsBackToOlderKeys()
{
    QFETCH(QByteArray, stored);
    Fixture f;
    f.defaults.setBytes(Preferences::recordKey, stored);
    f.defaults.setStringList(Preferences::legacyHiddenKey,
                             {QStringLiteral("z"), QStringLiteral("a")});
    f.defaults.setStringList(Preferences::legacySelectedKey, {QStringLiteral("s")});
    f.defaults.setBoolean(Preferences::legacyCompactKey, true);
    f.defaults.setBytes(Preferences::backupKey, QByteArray("not even json"));
    const int writesBefore = f.defaults.writeCount();

    auto prefs = f.make();
    SettingsData expected;
    expected.hiddenBundles = {QStringLiteral("z"), QStringLiteral("a")}; // taken as it is
    expected.selected = {QStringLiteral("s")};
    expected.compact = true;
    QCOMPARE(prefs->data(), expected);
    QVERIFY(prefs->hasBackup()); // its content is not examined at start
    QVERIFY(prefs->notice().isEmpty());
    QCOMPARE(f.defaults.writeCount(), writesBefore);
    QCOMPARE(f.defaults.bytes(Preferences::recordKey), std::optional<QByteArray>(stored));
}

void TestPreferences::storedRecordIsUsedValidatedWithoutRewrite()
{
    Fixture f;
    const QByteArray stored = recordJson(QStringLiteral(R"(["b","a","b"])"));
    f.defaults.setBytes(Preferences::recordKey, stored);
    auto prefs = f.make();
    QCOMPARE(prefs->data().hiddenBundles, (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(prefs->data().mode, QStringLiteral("manual"));
    QCOMPARE(f.defaults.bytes(Preferences::recordKey), std::optional<QByteArray>(stored));
}

void TestPreferences::everyAssignmentSavesAndNotifiesEvenWhenEqual()
{
    Fixture f;
    auto prefs = f.make();
    QSignalSpy data(prefs.get(), &Preferences::dataChanged);
    QSignalSpy apply(prefs.get(), &Preferences::needsApplyChanged);
    QSignalSpy language(prefs.get(), &Preferences::languageChanged);
    QSignalSpy notice(prefs.get(), &Preferences::noticeChanged);
    QSignalSpy any(prefs.get(), &Preferences::changed);

    prefs->setData(prefs->data());
    QCOMPARE(data.count(), 1);
    QCOMPARE(apply.count(), 1);
    QVERIFY(prefs->needsApply());
    QCOMPARE(f.defaults.bytes(Preferences::recordKey),
             std::optional<QByteArray>(SettingsData().encoded(SettingsData::Form::Stored)));

    prefs->setLanguage(QStringLiteral("es"));
    f.defaults.setString(L10n::languageKey, QStringLiteral("en"));
    prefs->setLanguage(QStringLiteral("es"));
    QCOMPARE(language.count(), 2);
    QCOMPARE(f.defaults.string(L10n::languageKey), std::optional<QString>(QStringLiteral("es")));

    prefs->setNotice(QString());
    prefs->setNotice(QString());
    QCOMPARE(notice.count(), 2);
    QCOMPARE(any.count(), 6);
}

void TestPreferences::setHiddenMovesToEndOrRemovesEveryCopy()
{
    Fixture f;
    auto prefs = f.make();
    SettingsData record;
    record.hiddenBundles = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a"),
                            QStringLiteral("c")};
    prefs->setData(record);
    QSignalSpy saves(prefs.get(), &Preferences::dataChanged);

    prefs->setHidden(QStringLiteral("a"), true);
    QCOMPARE(prefs->data().hiddenBundles,
             (QStringList{QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("a")}));
    QCOMPARE(saves.count(), 2);

    prefs->setHidden(QStringLiteral("a"), false);
    prefs->setHidden(QStringLiteral("A"), false); // exact comparison: nothing else goes
    QCOMPARE(prefs->data().hiddenBundles, (QStringList{QStringLiteral("b"), QStringLiteral("c")}));
    QCOMPARE(saves.count(), 4);
    const auto stored = SettingsData::decoded(*f.defaults.bytes(Preferences::recordKey));
    QCOMPARE(stored->hiddenBundles, prefs->data().hiddenBundles);
}

void TestPreferences::changesSurviveARestartPastTheListLimits_data()
{
    QTest::addColumn<QStringList>("older"); // under the older "hiddenBundles" key
    QTest::addColumn<QString>("hide");      // hidden after the start; empty: the delay changes
    QStringList six, five;
    for (int i = 0; i < 600; ++i)
        (i < 500 ? five : six)
            << QStringLiteral("com.example.app%1").arg(i, 3, 10, QLatin1Char('0'));
    six = five + six;
    QTest::newRow("600 older entries") << six << QString();
    QTest::newRow("an empty older entry")
        << QStringList{QStringLiteral("a"), QString()} << QString();
    QTest::newRow("a 501st entry") << five << QStringLiteral("com.example.new");
}

// The start takes the older keys as they are; what the user does afterwards must still be
// there at the next start, which refuses a stored record beyond the limits.
void TestPreferences::changesSurviveARestartPastTheListLimits()
{
    QFETCH(QStringList, older);
    QFETCH(QString, hide);
    Fixture f;
    f.defaults.setStringList(Preferences::legacyHiddenKey, older);
    auto prefs = f.make();
    QCOMPARE(prefs->data().hiddenBundles, older);
    if (hide.isEmpty()) {
        SettingsData changed = prefs->data();
        changed.delay = 30;
        prefs->setData(changed);
    } else {
        prefs->setHidden(hide, true);
    }
    const SettingsData before = prefs->data();
    QVERIFY(hide.isEmpty() ? before.delay == 30 : before.hiddenBundles.constLast() == hide);
    QVERIFY(before.validated().ok());
    QCOMPARE(f.make()->data(), before.validated().value());
}

void TestPreferences::exportProposesNameByLanguageAndWritesExportedForm()
{
    Fixture f;
    auto prefs = f.make();
    SettingsData record;
    record.hotkey = HotKeySettings();
    prefs->setData(record);
    prefs->setNeedsApply(false);
    const QString path = m_dir.filePath(QStringLiteral("exported.json"));

    prefs->setLanguage(QStringLiteral("es"));
    f.panels.answerNext(path);
    prefs->exportSettings();
    prefs->setLanguage(QStringLiteral("en"));
    f.panels.answerNext(std::nullopt);
    prefs->exportSettings();

    QCOMPARE(f.panels.proposedNames(), (QStringList{QStringLiteral("Tuckaway-configuracion.json"),
                                                    QStringLiteral("Tuckaway-settings.json")}));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), record.encoded(SettingsData::Form::Exported));
    QCOMPARE(prefs->notice(), QStringLiteral("Configuración exportada."));
    QVERIFY(!prefs->needsApply());
}

void TestPreferences::exportFailureLeavesNoFileAndReportsTheReason()
{
    Fixture f;
    auto prefs = f.make();
    const QString path = m_dir.filePath(QStringLiteral("missing-folder/settings.json"));
    f.panels.answerNext(path);
    prefs->exportSettings();
    QVERIFY(!QFile::exists(path));
    QVERIFY(
        prefs->notice().startsWith(QStringLiteral("The file “settings.json” couldn’t be saved: ")));
}

void TestPreferences::cancelledPanelsAndEmptyBackupSaySomethingNowhere()
{
    Fixture f;
    auto prefs = f.make();
    QSignalSpy notice(prefs.get(), &Preferences::noticeChanged);
    prefs->exportSettings();
    prefs->importSettings();
    prefs->restoreBackup();
    QCOMPARE(notice.count(), 0);
    QCOMPARE(f.panels.openPanelCount(), 1);
    QVERIFY(!prefs->hasBackup());
}

void TestPreferences::importRoundTripKeepsPreviousRecordAsBackup()
{
    Fixture f;
    auto prefs = f.make();
    SettingsData exported;
    exported.mode = QStringLiteral("manual");
    exported.hiddenBundles = {QStringLiteral("com.example.b"), QStringLiteral("com.example.a")};
    exported.hotkey = HotKeySettings{false, QStringLiteral("Space"), QStringLiteral("controlShift"),
                                     QStringLiteral("showAll")};
    prefs->setData(exported);
    const QString path = m_dir.filePath(QStringLiteral("roundtrip.json"));
    f.panels.answerNext(path);
    prefs->exportSettings();

    SettingsData current;
    current.delay = 30;
    prefs->setData(current);
    prefs->setNeedsApply(false);
    f.panels.answerNext(path);
    prefs->importSettings();

    QCOMPARE(prefs->data(), exported.validated().value());
    QVERIFY(prefs->needsApply());
    QVERIFY(prefs->hasBackup());
    QCOMPARE(SettingsData::decoded(*f.defaults.bytes(Preferences::backupKey)).value(), current);
    QCOMPARE(prefs->notice(),
             QStringLiteral("Configuración importada. Los iconos permanecen visibles "
                            "hasta que decidas ocultarlos."));
}

void TestPreferences::importOfTheLargestAllowedFileProceeds()
{
    Fixture f;
    auto prefs = f.make();
    QByteArray padded = recordJson(QStringLiteral(R"(["com.example.big"])"));
    padded.append(QByteArray(999'999 - padded.size(), '\n'));
    const QString path = m_dir.filePath(QStringLiteral("largest.json"));
    writeFile(path, padded);
    f.panels.answerNext(path);
    prefs->importSettings();
    QCOMPARE(prefs->data().hiddenBundles, QStringList{QStringLiteral("com.example.big")});
    QVERIFY(prefs->hasBackup());
}

void TestPreferences::refusedImportsChangeNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason"); // what follows "No se importó: ", or a prefix of it

    QByteArray padded = recordJson(QStringLiteral("[]"));
    padded.append(QByteArray(999'999 - padded.size(), ' '));
    QByteArray tooLarge = padded + ' ';
    QByteArray withoutCompact = recordJson(QStringLiteral("[]")).replace("\"compact\":false,", "");

    QTest::newRow("1,000,000 bytes")
        << tooLarge
        << QStringLiteral("The file “import.json” couldn’t be opened because it is too large");
    QTest::newRow("version 2")
        << recordJson(QStringLiteral("[]")).replace("\"version\":1", "\"version\":2")
        << incompatible;
    QTest::newRow("delay 15") << recordJson(QStringLiteral("[]"), 15) << incompatible;
    QTest::newRow("no compact") << withoutCompact
                                << QStringLiteral("The value for key \"compact\"");
    QTest::newRow("not json") << QByteArray("{\"version\": 1,") << QString();
    QTest::newRow("empty") << QByteArray() << QString();
}

void TestPreferences::refusedImportsChangeNothing()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    Fixture f;
    auto prefs = f.make();
    SettingsData current;
    current.symbol = QStringLiteral("single");
    prefs->setData(current);
    const QString path = m_dir.filePath(QStringLiteral("import.json"));
    writeFile(path, content);
    const int writesBefore = f.defaults.writeCount();

    f.panels.answerNext(path);
    prefs->importSettings();

    QVERIFY2(prefs->notice().startsWith(QStringLiteral("No se importó: ") + reason),
             qPrintable(prefs->notice()));
    QVERIFY(prefs->notice().size() > QStringLiteral("No se importó: ").size());
    QCOMPARE(prefs->data(), current);
    QVERIFY(!prefs->hasBackup());
    QCOMPARE(f.defaults.writeCount(), writesBefore);
}

void TestPreferences::resetTwiceThenRecoverGivesDefaultsAndRecoverTwiceSwapsBack()
{
    Fixture f;
    auto prefs = f.make();
    SettingsData mine;
    mine.hoverReveal = true;
    prefs->setData(mine);

    prefs->resetSettings();
    QCOMPARE(
        prefs->notice(),
        QStringLiteral("Valores iniciales restaurados. Puedes recuperar los ajustes anteriores."));
    prefs->resetSettings();
    prefs->restoreBackup();
    QCOMPARE(prefs->data(), SettingsData()); // the first reset's record is gone
    QCOMPARE(prefs->notice(),
             QStringLiteral("Configuración anterior recuperada. Se conservó una copia "
                            "de la que acabas de sustituir."));

    prefs->setData(mine);
    prefs->resetSettings();
    prefs->restoreBackup();
    QCOMPARE(prefs->data(), mine);
    prefs->restoreBackup();
    QCOMPARE(prefs->data(), SettingsData());

    f.defaults.setBytes(Preferences::backupKey, recordJson(QStringLiteral("[]"), 7));
    prefs->restoreBackup();
    QCOMPARE(prefs->notice(), QStringLiteral("No se pudo recuperar: ") + incompatible);
    QCOMPARE(prefs->data(), SettingsData());
}

void TestPreferences::loginSwitchShowsWhatTheSystemDid()
{
    Fixture f;
    f.login.behaviour().requiresApproval = true;
    auto prefs = f.make();

    prefs->setLogin(true);
    QVERIFY(!prefs->loginEnabled());
    QCOMPARE(prefs->notice(),
             QStringLiteral("Confirma el inicio de sesión en Ajustes del Sistema → "
                            "General → Elementos de inicio."));
    f.login.approve();
    prefs->setLogin(true);
    QVERIFY(prefs->loginEnabled());
    QCOMPARE(prefs->notice(), QStringLiteral("Inicio de sesión actualizado."));

    f.login.behaviour().unregisterFailure =
        Error{QStringLiteral("SM"), 1, QStringLiteral("Operation not permitted.")};
    prefs->setLogin(false);
    QVERIFY(prefs->loginEnabled());
    QCOMPARE(prefs->notice(), QStringLiteral("Operation not permitted."));
    f.login.behaviour().unregisterFailure =
        Error{QStringLiteral("SMAppServiceErrorDomain"), 1, QString()};
    prefs->setLogin(false);
    QCOMPARE(prefs->notice(), QStringLiteral("The operation couldn’t be completed. "
                                             "(SMAppServiceErrorDomain error 1.)"));

    Fixture enabledAtStart;
    QVERIFY(!enabledAtStart.login.registerApp());
    QVERIFY(enabledAtStart.make()->loginEnabled());
}

void TestPreferences::autostartEntryLifecycle()
{
    QTemporaryDir home;
    XdgAutostart autostart(home.filePath(QStringLiteral("config")),
                           QCoreApplication::applicationFilePath());
    QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
    QVERIFY(!autostart.registerApp());
    QCOMPARE(autostart.status(), LoginItemService::Status::Enabled);
    QFile entry(autostart.entryPath());
    QVERIFY(entry.open(QIODevice::ReadOnly));
    const QByteArray content = entry.readAll();
    QVERIFY(content.startsWith("[Desktop Entry]\n"));
    QVERIFY(
        content.contains("\nExec=\"" + QCoreApplication::applicationFilePath().toUtf8() + "\"\n"));
    QVERIFY(!autostart.unregisterApp());
    QVERIFY(!QFile::exists(autostart.entryPath()));
    QVERIFY(!autostart.unregisterApp());

    // An entry that starts another program is not this one's registration.
    writeFile(autostart.entryPath(), "[Desktop Entry]\nType=Application\nExec=/usr/bin/other\n");
    QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
    // A pipe in the entry's place neither blocks the status nor is replaced.
    QVERIFY(QFile::remove(autostart.entryPath()));
    QCOMPARE(::mkfifo(QFile::encodeName(autostart.entryPath()).constData(), 0600), 0);
    QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
    QVERIFY(autostart.registerApp().has_value());
    QVERIFY(QFileInfo::exists(autostart.entryPath()) && !QFileInfo(autostart.entryPath()).isFile());

    XdgAutostart missing(home.filePath(QStringLiteral("config")),
                         home.filePath(QStringLiteral("no-such-binary")));
    QCOMPARE(missing.status(), LoginItemService::Status::NotFound);
    QVERIFY(missing.registerApp().has_value());

    // A folder where the autostart folder should be makes registration fail cleanly.
    writeFile(home.filePath(QStringLiteral("blocked")), QByteArray("file"));
    XdgAutostart blocked(home.filePath(QStringLiteral("blocked")),
                         QCoreApplication::applicationFilePath());
    const auto failure = blocked.registerApp();
    QVERIFY(failure.has_value());
    QVERIFY(!failure->description.isEmpty());
}

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
