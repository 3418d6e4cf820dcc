#include "inspection/RunningApplications.h"

#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

// "pid:bundle" words; an application without a bundle identifier is its pid alone.
QList<RunningApplication> applications(const QString& words)
{
    QList<RunningApplication> list;
    for (const QString& word : words.split(u' ', Qt::SkipEmptyParts)) {
        RunningApplication application{word.section(u':', 0, 0).toInt(), {}, {}};
        if (word.contains(u':'))
            application.bundleIdentifier = word.section(u':', 1);
        list.append(application);
    }
    return list;
}

QString words(const QList<RunningApplication>& list)
{
    QStringList out;
    for (const RunningApplication& application : list)
        out << QString::number(application.pid) + (application.bundleIdentifier
                                                       ? u':' + *application.bundleIdentifier
                                                       : QString());
    return out.join(u' ');
}

} // namespace

class TestRunningApplications : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void between_data();
    void between();
};

void TestRunningApplications::between_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("launched");
    QTest::addColumn<QString>("terminated");
    QTest::newRow("nothing changed, order aside")
        << u"1:a 2:b 3"_s << u"3 2:b 1:a"_s << QString() << QString();
    QTest::newRow("menu-bar-only agent starts")
        << u"1:a 2:b"_s << u"1:a 7:agent 2:b"_s << u"7:agent"_s << QString();
    QTest::newRow("agent quits") << u"1:a 7:agent 2:b"_s << u"1:a 2:b"_s << QString()
                                 << u"7:agent"_s;
    QTest::newRow("several at one look, in each list's order")
        << u"5:e 1:a 4:d"_s << u"1:a 9:i 8:h"_s << u"9:i 8:h"_s << u"5:e 4:d"_s;
    QTest::newRow("back under a new process identifier")
        << u"1:a 2:b"_s << u"1:a 3:b"_s << u"3:b"_s << u"2:b"_s;
    QTest::newRow("the same process under another name stays")
        << u"2:b"_s << u"2:renamed"_s << QString() << QString();
    QTest::newRow("from nothing") << QString() << u"1:a 2"_s << u"1:a 2"_s << QString();
    QTest::newRow("to nothing") << u"1:a 2"_s << QString() << QString() << u"1:a 2"_s;
    QTest::newRow("a process listed twice is told once")
        << u"1:a"_s << u"1:a 4:d 4:d"_s << u"4:d"_s << QString();
}

void TestRunningApplications::between()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, launched);
    QFETCH(QString, terminated);
    const RunningApplications::Changes changes =
        RunningApplications::between(applications(before), applications(after));
    QCOMPARE(words(changes.launched), launched);
    QCOMPARE(words(changes.terminated), terminated);
}

QTEST_GUILESS_MAIN(TestRunningApplications)
#include "tst_runningapplications.moc"
