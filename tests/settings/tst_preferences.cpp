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
using namespace Qt::StringLiterals;

namespace {

const QString incompatible = u"El archivo contiene una versión u opciones incompatibles."_s;

QByteArray storedRecord(qint64 delay = 10)
{
    SettingsData record;
    record.delay = delay;
    return record.encoded(SettingsData::Form::Stored);
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

} // namespace

// Each test starts on an empty store, in Spanish; `restart` reads the preferences anew from
// the store, as the next start of the application does.
class TestPreferences : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    std::unique_ptr<InMemoryUserDefaults> defaults;
    std::unique_ptr<SimLoginItems> login;
    std::unique_ptr<ScriptedFilePanels> panels;
    std::unique_ptr<Preferences> prefs;

    void restart() { prefs = std::make_unique<Preferences>(*defaults, *login, *panels); }

private Q_SLOTS:
    void init()
    {
        prefs.reset();
        defaults = std::make_unique<InMemoryUserDefaults>();
        login = std::make_unique<SimLoginItems>();
        panels = std::make_unique<ScriptedFilePanels>();
        defaults->setString(L10n::languageKey, u"es"_s);
        restart();
    }

    void unusableStoredRecordFallsBackToOlderKeys_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("nothing stored") << QByteArray();
        QTest::newRow("delay out of range") << storedRecord(7);
        QTest::newRow("not utf-8") << QByteArray("{\"version\":\xff\xfe}");
        QTest::newRow("wrong type") << storedRecord().replace("[]", "\"a\"");
        QTest::newRow("megabytes") << QByteArray(4 * 1024 * 1024, '[');
    }

    // The older keys are taken as they are, and the start writes nothing.
    void unusableStoredRecordFallsBackToOlderKeys()
    {
        QFETCH(QByteArray, stored);
        if (!stored.isNull())
            defaults->setBytes(Preferences::recordKey, stored);
        defaults->setStringList(Preferences::legacyHiddenKey, {u"z"_s, u"a"_s});
        defaults->setStringList(Preferences::legacySelectedKey, {u"s"_s});
        defaults->setBoolean(Preferences::legacyCompactKey, true);
        defaults->setBytes(Preferences::backupKey, QByteArray("not even json"));
        const int writesBefore = defaults->writeCount();
        restart();
        SettingsData expected;
        expected.hiddenBundles = {u"z"_s, u"a"_s};
        expected.selected = {u"s"_s};
        expected.compact = true;
        QCOMPARE(prefs->data(), expected);
        QVERIFY(prefs->hasBackup()); // its content is not examined at start
        QCOMPARE(defaults->writeCount(), writesBefore);
    }

    // Assigning the value already held still saves it and notifies.
    void everyAssignmentSavesAndNotifiesEvenWhenEqual()
    {
        QSignalSpy any(prefs.get(), &Preferences::changed);
        defaults->setString(L10n::languageKey, u"en"_s);
        prefs->setLanguage(u"es"_s);
        QCOMPARE(defaults->string(L10n::languageKey), std::optional<QString>(u"es"_s));
        prefs->setData(prefs->data());
        QVERIFY(defaults->bytes(Preferences::recordKey).has_value());
        QCOMPARE(any.count(), 3); // the language, the record, needsApply
    }

    // A stored record is read back validated, its lists normalised.
    void setHiddenMovesToEndOrRemovesEveryCopy()
    {
        SettingsData record;
        record.hiddenBundles = {u"a"_s, u"b"_s, u"a"_s, u"c"_s};
        prefs->setData(record);
        prefs->setHidden(u"a"_s, true);
        QCOMPARE(prefs->data().hiddenBundles, (QStringList{u"b"_s, u"c"_s, u"a"_s}));
        restart();
        QCOMPARE(prefs->data().hiddenBundles, (QStringList{u"a"_s, u"b"_s, u"c"_s}));
        prefs->setHidden(u"a"_s, false);
        prefs->setHidden(u"A"_s, false); // exact comparison: nothing else goes
        QCOMPARE(prefs->data().hiddenBundles, (QStringList{u"b"_s, u"c"_s}));
    }

    void changesSurviveARestartPastTheListLimits_data()
    {
        QTest::addColumn<QStringList>("older"); // under the older "hiddenBundles" key
        QTest::addColumn<QString>("hide");      // hidden after the start; empty: the delay changes
        QStringList six;
        for (int i = 0; i < 600; ++i)
            six << u"com.example.app%1"_s.arg(i, 3, 10, QLatin1Char('0'));
        QTest::newRow("600 older entries") << six << QString();
        QTest::newRow("an empty older entry") << QStringList{u"a"_s, QString()} << QString();
        QTest::newRow("a 501st entry") << six.mid(0, 500) << u"com.example.new"_s;
    }

    // What the user does after a start from the older keys must still be there at the next start,
    // which refuses a stored record beyond the limits.
    void changesSurviveARestartPastTheListLimits()
    {
        QFETCH(QStringList, older);
        QFETCH(QString, hide);
        defaults->setStringList(Preferences::legacyHiddenKey, older);
        restart();
        SettingsData changed = prefs->data();
        changed.delay = 30;
        if (hide.isEmpty())
            prefs->setData(changed);
        else
            prefs->setHidden(hide, true);
        const SettingsData before = prefs->data();
        QVERIFY(hide.isEmpty() ? before.delay == 30 : before.hiddenBundles.constLast() == hide);
        restart();
        QCOMPARE(prefs->data(), before.validated().value());
    }

    // An export, under a name in the interface language, padded to the largest size an import
    // takes, reads back whole; the record it replaces becomes the backup.
    void exportAndImportRoundTrip()
    {
        SettingsData exported;
        exported.mode = u"manual"_s;
        exported.hiddenBundles = {u"b.b"_s, u"a.a"_s};
        exported.hotkey = HotKeySettings{false, u"Space"_s, u"controlShift"_s, u"showAll"_s};
        prefs->setData(exported);
        prefs->setNeedsApply(false);
        prefs->exportSettings(); // cancelled: nothing to say
        QVERIFY(prefs->notice().isEmpty());
        const QString path = m_dir.filePath(u"exported.json"_s);
        panels->answerNext(path);
        prefs->exportSettings();
        QCOMPARE(prefs->notice(), u"Configuración exportada."_s);
        QVERIFY(!prefs->needsApply());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QCOMPARE(file.readAll(), exported.encoded(SettingsData::Form::Exported));
        QVERIFY(file.write(QByteArray(999'999 - file.size(), '\n')) > 0);
        file.close();

        SettingsData current;
        current.delay = 30;
        prefs->setData(current);
        panels->answerNext(path);
        prefs->importSettings();
        QCOMPARE(prefs->data(), exported.validated().value());
        QCOMPARE(SettingsData::decoded(*defaults->bytes(Preferences::backupKey)).value(), current);
        QCOMPARE(prefs->notice(), u"Configuración importada. Los iconos permanecen visibles "
                                  u"hasta que decidas ocultarlos."_s);

        prefs->setLanguage(u"en"_s);
        const QString missing = m_dir.filePath(u"missing-folder/settings.json"_s);
        panels->answerNext(missing);
        prefs->exportSettings();
        QVERIFY(!QFile::exists(missing));
        QVERIFY(prefs->notice().startsWith(u"The file “settings.json” couldn’t be saved: "_s));
        QCOMPARE(panels->proposedNames(),
                 (QStringList{u"Tuckaway-configuracion.json"_s, u"Tuckaway-configuracion.json"_s,
                              u"Tuckaway-settings.json"_s}));
    }

    void refusedImportsChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason"); // what follows "No se importó: ", or a prefix of it
        QByteArray tooLarge = storedRecord();
        tooLarge.append(QByteArray(1'000'000 - tooLarge.size(), ' '));
        QTest::newRow("1,000,000 bytes")
            << tooLarge << u"The file “import.json” couldn’t be opened because it is too large"_s;
        QTest::newRow("delay 15") << storedRecord(15) << incompatible;
        QTest::newRow("no compact") << storedRecord().replace("\"compact\":false,", "")
                                    << u"The value for key \"compact\""_s;
        QTest::newRow("empty") << QByteArray() << QString();
    }

    void refusedImportsChangeNothing()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        SettingsData current;
        current.symbol = u"single"_s;
        prefs->setData(current);
        const QString path = m_dir.filePath(u"import.json"_s);
        writeFile(path, content);
        const int writesBefore = defaults->writeCount();
        prefs->importSettings(); // cancelled: nothing to say
        QVERIFY(prefs->notice().isEmpty());
        panels->answerNext(path);
        prefs->importSettings();
        const QString refused = u"No se importó: "_s;
        QVERIFY2(prefs->notice().startsWith(refused + reason), qPrintable(prefs->notice()));
        QVERIFY(prefs->notice().size() > refused.size());
        QCOMPARE(prefs->data(), current);
        QVERIFY(!prefs->hasBackup());
        QCOMPARE(defaults->writeCount(), writesBefore);
    }

    void resetTwiceThenRecoverGivesDefaultsAndRecoverTwiceSwapsBack()
    {
        prefs->restoreBackup(); // no backup: nothing to say
        QVERIFY(prefs->notice().isEmpty());
        SettingsData mine;
        mine.hoverReveal = true;
        prefs->setData(mine);
        prefs->resetSettings();
        QCOMPARE(prefs->notice(),
                 u"Valores iniciales restaurados. Puedes recuperar los ajustes anteriores."_s);
        prefs->resetSettings();
        prefs->restoreBackup();
        QCOMPARE(prefs->data(), SettingsData()); // the first reset's record is gone
        QCOMPARE(prefs->notice(), u"Configuración anterior recuperada. Se conservó una copia "
                                  u"de la que acabas de sustituir."_s);
        prefs->setData(mine);
        prefs->resetSettings();
        prefs->restoreBackup();
        QCOMPARE(prefs->data(), mine);
        prefs->restoreBackup();
        QCOMPARE(prefs->data(), SettingsData());

        defaults->setBytes(Preferences::backupKey, storedRecord(7));
        prefs->restoreBackup();
        QCOMPARE(prefs->notice(), u"No se pudo recuperar: "_s + incompatible);
        QCOMPARE(prefs->data(), SettingsData());
    }

    void loginSwitchShowsWhatTheSystemDid()
    {
        login->behaviour().requiresApproval = true;
        prefs->setLogin(true);
        QVERIFY(!prefs->loginEnabled());
        QCOMPARE(prefs->notice(), u"Confirma el inicio de sesión en Ajustes del Sistema → "
                                  u"General → Elementos de inicio."_s);
        login->approve();
        prefs->setLogin(true);
        QVERIFY(prefs->loginEnabled());
        QCOMPARE(prefs->notice(), u"Inicio de sesión actualizado."_s);

        login->behaviour().unregisterFailure = Error{u"SM"_s, 1, u"Operation not permitted."_s};
        prefs->setLogin(false);
        QVERIFY(prefs->loginEnabled());
        QCOMPARE(prefs->notice(), u"Operation not permitted."_s);
        login->behaviour().unregisterFailure = Error{u"SMAppServiceErrorDomain"_s, 1, QString()};
        prefs->setLogin(false);
        QCOMPARE(prefs->notice(),
                 u"The operation couldn’t be completed. (SMAppServiceErrorDomain error 1.)"_s);
        restart();
        QVERIFY(prefs->loginEnabled()); // as the system has it
    }

    // With a display, an enabled login item is kept in the host's autostart entry: the entry
    // follows the simulated system's status, and the person's switch applies to it.
    void loginItemKeptInTheHostsEntry()
    {
        using Status = LoginItemService::Status;
        QTemporaryDir home;
        XdgAutostart entry(home.path(), QCoreApplication::applicationFilePath());
        QVERIFY(!entry.registerApp());
        SimLoginItems::Behaviour behaviour;
        behaviour.requiresApproval = true;
        behaviour.switchedOff = true;
        SimLoginItems system(behaviour, std::make_unique<XdgAutostart>(
                                           home.path(), QCoreApplication::applicationFilePath()));
        QCOMPARE(system.status(), Status::RequiresApproval); // the entry's, switched off
        system.approve();
        QCOMPARE(entry.status(), Status::Enabled);
        system.switchOff();
        QCOMPARE(entry.status(), Status::NotRegistered);
        QCOMPARE(system.registerApp()->description, u"Operation not permitted"_s);
        QCOMPARE(entry.status(), Status::NotRegistered);
        system.approve();
        QVERIFY(!system.unregisterApp());
        QCOMPARE(entry.status(), Status::NotRegistered);
        QVERIFY(!system.registerApp()); // waits for approval: no entry yet
        QCOMPARE(system.status(), Status::RequiresApproval);
        QCOMPARE(entry.status(), Status::NotRegistered);
    }

    void autostartEntryLifecycle()
    {
        QTemporaryDir home;
        const QString executable = QCoreApplication::applicationFilePath();
        XdgAutostart autostart(home.path(), executable);
        const QString entry = autostart.entryPath();
        QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
        QVERIFY(!autostart.registerApp());
        QCOMPARE(autostart.status(), LoginItemService::Status::Enabled);
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY(content.startsWith("[Desktop Entry]\n"));
        QVERIFY(content.contains("\nExec=\"" + executable.toUtf8() + "\"\n"));
        QVERIFY(!autostart.unregisterApp());
        QVERIFY(!QFile::exists(entry));
        QVERIFY(!autostart.unregisterApp());

        // An entry that starts another program is not this one's registration.
        writeFile(entry, "[Desktop Entry]\nType=Application\nExec=/usr/bin/other\n");
        QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
        // A pipe in the entry's place neither blocks the status nor is replaced.
        QVERIFY(QFile::remove(entry));
        QCOMPARE(::mkfifo(QFile::encodeName(entry).constData(), 0600), 0);
        QCOMPARE(autostart.status(), LoginItemService::Status::NotRegistered);
        QVERIFY(autostart.registerApp().has_value());
        QVERIFY(QFileInfo::exists(entry) && !QFileInfo(entry).isFile());

        XdgAutostart missing(home.path(), home.filePath(u"no-such-binary"_s));
        QCOMPARE(missing.status(), LoginItemService::Status::NotFound);
        QVERIFY(missing.registerApp().has_value());
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
