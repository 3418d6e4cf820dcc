#include "core/FileAccess.h"
#include "core/Rect.h"
#include "core/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <limits>
#include <sys/stat.h>

using namespace tk;
using namespace Qt::StringLiterals;

class TestCore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Each store reads the file afresh, as a new process does. Reads are typed: a value of
    // another type reads as absent.
    void settingsFileKeepsEveryTypeAcrossReopening()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"Tuckaway/settings.json"_s);
        const QByteArray json = QByteArrayLiteral("{\"mode\":\"manual\",\"\xc3\xa9\":[1]}\n\0\xff");
        const QStringList list{u"b"_s, u"a, c"_s};
        {
            FileUserDefaults defaults(path);
            defaults.setBytes(u"record"_s, json);
            defaults.setString(u"language"_s, u"es"_s);
            defaults.setStringList(u"hidden"_s, list);
            defaults.setBoolean(u"compact"_s, false);
        }
        const FileUserDefaults reopened(path);
        QCOMPARE(reopened.bytes(u"record"_s), std::optional<QByteArray>(json));
        QCOMPARE(reopened.string(u"language"_s), std::optional<QString>(u"es"_s));
        QCOMPARE(reopened.stringList(u"hidden"_s), std::optional<QStringList>(list));
        QCOMPARE(reopened.boolean(u"compact"_s), std::optional<bool>(false));
        QVERIFY(!reopened.string(u"compact"_s) && !reopened.bytes(u"language"_s));
        QVERIFY(!reopened.boolean(u"language"_s) && !reopened.stringList(u"language"_s));
        InMemoryUserDefaults memory;
        memory.setRaw(u"mixed"_s, QVariantList{u"a"_s, 3});
        QVERIFY(!memory.stringList(u"mixed"_s));
    }

    // A file that is not ours is never lost: kept aside, or left alone when it is no file.
    void settingsFileThatCannotBeUsedIsKept()
    {
        QTemporaryDir dir;
        const QString damaged = dir.filePath(u"damaged.json"_s);
        QFile file(damaged);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("language=es\n") > 0);
        file.close();
        {
            FileUserDefaults defaults(damaged);
            QVERIFY(defaults.problem().contains(damaged));
            defaults.setString(u"language"_s, u"en"_s);
        }
        QFile aside(damaged + u".unreadable"_s);
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), QByteArray("language=es\n"));
        QCOMPARE(FileUserDefaults(damaged).string(u"language"_s), std::optional<QString>(u"en"_s));

        // Under a file, the store can never be written: said once, every change kept.
        QStringList told;
        const QString blocked = damaged + u"/settings.json"_s;
        FileUserDefaults unwritable(blocked, [&told](const QString& problem) { told << problem; });
        unwritable.setString(u"language"_s, u"en"_s);
        unwritable.setString(u"language"_s, u"es"_s);
        QCOMPARE(told.size(), 1);
        QVERIFY(told.first().startsWith(blocked));
        QCOMPARE(unwritable.string(u"language"_s), std::optional<QString>(u"es"_s));

        const QString pipe = dir.filePath(u"pipe.json"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        FileUserDefaults defaults(pipe);
        QVERIFY(defaults.problem().contains(pipe));
        defaults.setBoolean(u"compact"_s, true);
        QCOMPARE(defaults.boolean(u"compact"_s), std::optional<bool>(true));
        QVERIFY(!QFileInfo(pipe).isFile());
    }

    void rectTextAndStandardisation()
    {
        const double inf = std::numeric_limits<double>::infinity();
        QCOMPARE((Rect{0, 0, 100, 22}.text()), u"{{0, 0}, {100, 22}}"_s);
        QCOMPARE((Rect{1512.5, -0.0, 0.1, 1e21}.text()), u"{{1512.5, 0}, {0.1, 1e+21}}"_s);
        QCOMPARE((Rect{10, 10, -4, -6}.standardized()), (Rect{6, 4, 4, 6}));
        QCOMPARE((Rect{10, 10, -4, -6}.maxX()), 10.0);
        QVERIFY(Rect::null().isNull() && Rect::null().isEmpty() && !Rect::null().isFinite());
        QVERIFY((Rect{inf, 0, 5, 5}.isNull()) && (Rect{0, inf, 5, 5}.isNull()));
        QVERIFY(!(Rect{-inf, 0, 5, 5}.isNull()));
        QVERIFY(Rect::infinite().isInfinite());
        QVERIFY(!(Rect{0, std::numeric_limits<double>::quiet_NaN(), 1, 1}.isFinite()));
    }

    // Only a regular file within the limit is read; what is no regular file is never replaced.
    void fileAccessTouchesOnlyRegularFiles()
    {
        QTemporaryDir dir;
        const auto path = [&dir](const char* name) { return dir.filePath(QLatin1String(name)); };
        for (const auto& [name, size] : {std::pair("atLimit", 10), std::pair("pastLimit", 11)}) {
            QFile file(path(name));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(size, 'x')) == size);
        }
        QVERIFY(QDir().mkdir(path("folder")));
        QCOMPARE(::mkfifo(QFile::encodeName(path("pipe")).constData(), 0600), 0);

        QCOMPARE(FileAccess::readRegularFile(path("atLimit"), 10).value(), QByteArray(10, 'x'));
        for (const char* name : {"nothing", "pastLimit", "folder", "pipe"}) {
            const Result<QByteArray> read = FileAccess::readRegularFile(path(name), 10);
            QVERIFY2(!read.ok() && !read.error().description.isEmpty(), name);
        }
        for (const char* name : {"nothing", "atLimit", "pastLimit"}) {
            QVERIFY(!FileAccess::writeAtomically(path(name), "new"));
            QFile file(path(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), QByteArray("new"));
        }
        for (const char* name : {"folder", "pipe"}) {
            const std::optional<QString> failure = FileAccess::writeAtomically(path(name), "new");
            QVERIFY2(failure && !failure->isEmpty(), name);
            QVERIFY(QFileInfo::exists(path(name)) && !QFileInfo(path(name)).isFile());
        }
    }
};

QTEST_GUILESS_MAIN(TestCore)
#include "tst_core.moc"
