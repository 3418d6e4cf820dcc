#include "ViewFixture.h"
#include "platform/sim/SimScenario.h"
#include "ui/ReportTranslation.h"
#include "ui/ViewStyle.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace tk;

using namespace Qt::StringLiterals;
using ListedApps = QList<ConfigurationView::ListedApp>;

namespace {

const QStringList sectionNames = {u"generalSection"_s, u"organizationSection"_s,
                                  u"appearanceSection"_s, u"permissionsSection"_s,
                                  u"aboutSection"_s};
const QString restoredMessage =
    u"Restricción retirada; se ha solicitado restaurar todos los iconos."_s;

// Every text a person can read in the view: labels, buttons, picker labels, list rows.
QStringList visibleTexts(const QWidget& root)
{
    QStringList texts;
    const auto shown = [&root](const QWidget* widget) { return widget->isVisibleTo(&root); };
    for (const QLabel* label : root.findChildren<QLabel*>())
        texts.append(shown(label) ? label->text() : QString());
    for (const QAbstractButton* button : root.findChildren<QAbstractButton*>())
        texts.append(shown(button) ? button->text() : QString());
    for (const QListWidget* list : root.findChildren<QListWidget*>()) {
        for (int row = 0; row < list->count() && shown(list); ++row)
            texts.append(list->item(row)->text());
    }
    for (const QPlainTextEdit* box : root.findChildren<QPlainTextEdit*>()) {
        if (shown(box))
            texts.append(box->toPlainText().split(u'\n'));
    }
    return texts;
}

QStringList rowNames(const QListWidget& list)
{
    QStringList names;
    for (int row = 0; row < list.count(); ++row)
        names.append(list.item(row)->text());
    return names;
}

} // namespace

class TestConfigurationView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sectionShown_data();
    void sectionShown();
    void sectionRowTakesClicksOnItsWholeWidth();
    void footerStatusPrecedence();
    void applyDisabledWhileScanningOrPending();
    void headerFollowsHidingState();
    void delayPickerFollowsAutoCollapse();
    void shortcutFirstSwitchOnStoresDefaults();
    void recoverNeedsBackup();
    void transferButtons_data();
    void transferButtons();
    void apps_data();
    void apps();
    void appListInManualModeOnly();
    void reasonsInBoundaryModeOnly();
    void countAndAuthorizationLines();
    void permissionButtonsReachTheSystem();
    void saveReport_data();
    void saveReport();
    void saveReportFailureShowsTheSystemsReason_data();
    void saveReportFailureShowsTheSystemsReason();
    void languageSwitchRelabelsEverything();
    void hiddenSectionRedrawsWhenShown();
    void reportTranslatedOncePerReportAndLanguage();
    void chosenSegmentReads_data();
    void chosenSegmentReads();
    void largeInputsKeepLayout();
    void screenshots_data();
    void screenshots();
};

void TestConfigurationView::sectionShown_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("highlighted");
    for (int section = 0; section <= 4; ++section)
        QTest::addRow("%d", section) << section << section << section;
    QTest::newRow("5") << 5 << 4 << -1;
    QTest::newRow("-1") << -1 << 4 << -1;
}

void TestConfigurationView::sectionShown()
{
    QFETCH(int, section);
    QFETCH(int, shown);
    QFETCH(int, highlighted);
    ViewFixture f;
    f.preferences.setSection(section);
    for (int index = 0; index < sectionNames.size(); ++index) {
        QCOMPARE(f.find<QWidget>(sectionNames[index])->isVisible(), index == shown);
        QCOMPARE(f.button(u"sectionRow%1"_s.arg(index))->isChecked(), index == highlighted);
    }
}

void TestConfigurationView::sectionRowTakesClicksOnItsWholeWidth()
{
    ViewFixture f;
    QAbstractButton* row = f.button(u"sectionRow3"_s);
    // Far right of the row, past the end of its title.
    QTest::mouseClick(row, Qt::LeftButton, {}, QPoint(row->width() - 4, row->height() / 2));
    QCOMPARE(f.preferences.section(), 3);
    QVERIFY(row->isChecked());
    QVERIFY(f.find<QWidget>(u"permissionsSection"_s)->isVisible());
    // Clicking the chosen row again keeps it chosen.
    QTest::mouseClick(row, Qt::LeftButton);
    QVERIFY(row->isChecked());
}

void TestConfigurationView::footerStatusPrecedence()
{
    ViewFixture f;
    QCOMPARE(f.labelText(u"statusLine"_s), f.visibility.message());
    f.preferences.setNotice(u"Configuración aplicada."_s);
    QCOMPARE(f.labelText(u"statusLine"_s), u"Configuración aplicada."_s);
    f.holdScan();
    QCOMPARE(f.labelText(u"statusLine"_s), u"Buscando iconos…"_s);
    f.preferences.setLanguage(u"en"_s);
    QCOMPARE(f.labelText(u"statusLine"_s), u"Looking for icons…"_s);
    f.release();
    QCOMPARE(f.labelText(u"statusLine"_s), u"Settings applied."_s);
    f.preferences.setNotice(QString());
    QCOMPARE(f.labelText(u"statusLine"_s), L10n::text(f.visibility.message(), u"en"_s));
    // A text that is no key shows as it is.
    f.preferences.setNotice(u"disk full"_s);
    QCOMPARE(f.labelText(u"statusLine"_s), u"disk full"_s);
}

void TestConfigurationView::applyDisabledWhileScanningOrPending()
{
    ViewFixture f;
    QAbstractButton* apply = f.button(u"applyButton"_s);
    QVERIFY(apply->isEnabled());
    QTest::mouseClick(apply, Qt::LeftButton);
    QCOMPARE(f.applies, 1);

    f.holdScan();
    QVERIFY(!apply->isEnabled());
    QTest::mouseClick(apply, Qt::LeftButton);
    QCOMPARE(f.applies, 1);
    f.release();
    QVERIFY(apply->isEnabled());

    SimFrameworkBehaviour silent = f.desktop.frameworkBehaviour();
    silent.answer = SimFrameworkBehaviour::Answer::None;
    f.desktop.setFrameworkBehaviour(silent);
    f.visibility.activate({u"com.harborsoft.Dockyard"_s});
    QVERIFY(f.visibility.pending());
    QVERIFY(!apply->isEnabled());
    f.visibility.restore();
    QVERIFY(apply->isEnabled());
}

void TestConfigurationView::headerFollowsHidingState()
{
    ViewFixture f;
    f.preferences.setSection(ConfigurationView::Organization);
    QCOMPARE(f.labelText(u"hidingState"_s), u"Expandido"_s);
    QCOMPARE(f.button(u"toggleVisibilityButton"_s)->text(), u"Colapsar grupo"_s);
    f.visibility.activate({u"com.harborsoft.Dockyard"_s});
    f.passTime(0.1);
    QTRY_VERIFY(f.visibility.active());
    QCOMPARE(f.labelText(u"hidingState"_s), u"Colapsado"_s);
    QCOMPARE(f.button(u"toggleVisibilityButton"_s)->text(), u"Mostrar todo"_s);
    QTest::mouseClick(f.button(u"toggleVisibilityButton"_s), Qt::LeftButton);
    QCOMPARE(f.toggles, 1);
    QTest::mouseClick(f.button(u"headerShowAll"_s), Qt::LeftButton);
    QVERIFY(!f.visibility.active());
    QCOMPARE(f.visibility.message(), restoredMessage);
    QCOMPARE(f.labelText(u"hidingState"_s), u"Expandido"_s);
}

void TestConfigurationView::delayPickerFollowsAutoCollapse()
{
    ViewFixture f;
    f.changeRecord([](SettingsData& r) {
        r.autoCollapse = false;
        r.delay = 30;
    });
    ChoicePicker* delay = f.picker(u"delayPicker"_s);
    QCOMPARE(delay->optionLabels(),
             QStringList({u"5 segundos"_s, u"10 segundos"_s, u"30 segundos"_s, u"60 segundos"_s}));
    QCOMPARE(delay->currentValue(), u"30"_s);
    QVERIFY(!delay->isEnabled());
    delay->choose(u"60"_s);
    QCOMPARE(f.preferences.data().delay, 30);

    f.preferences.setNeedsApply(false);
    QTest::mouseClick(f.find<QCheckBox>(u"autoCollapseToggle"_s), Qt::LeftButton);
    QVERIFY(f.preferences.data().autoCollapse);
    QVERIFY(f.preferences.needsApply());
    QVERIFY(delay->isEnabled());
    delay->choose(u"60"_s);
    QCOMPARE(f.preferences.data().delay, 60);
    QVERIFY(f.find<QLabel>(u"needsApplyLine"_s)->isVisible());
}

void TestConfigurationView::shortcutFirstSwitchOnStoresDefaults()
{
    ViewFixture f;
    f.changeRecord([](SettingsData& r) { r.hotkey.reset(); });
    auto* toggle = f.find<QCheckBox>(u"shortcutToggle"_s);
    QWidget* keys = f.find<QWidget>(u"shortcutKeys"_s);
    ChoicePicker* action = f.picker(u"shortcutActionPicker"_s);
    QVERIFY(!toggle->isChecked());
    QCOMPARE(f.picker(u"modifiersPicker"_s)->currentValue(), u"controlOptionCommand"_s);
    QCOMPARE(f.picker(u"keyPicker"_s)->currentValue(), u"M"_s);
    QCOMPARE(action->currentValue(), u"toggle"_s);
    QVERIFY(!keys->isEnabled());
    QVERIFY(!action->isEnabled());

    QTest::mouseClick(toggle, Qt::LeftButton);
    HotKeySettings expected; // enabled, "M", "controlOptionCommand", "toggle"
    QCOMPARE(f.preferences.data().hotkey, std::optional(expected));
    QVERIFY(keys->isEnabled() && action->isEnabled());

    f.picker(u"keyPicker"_s)->choose(u"Space"_s);
    action->choose(u"showAll"_s);
    QTest::mouseClick(toggle, Qt::LeftButton);
    expected = {false, u"Space"_s, u"controlOptionCommand"_s, u"showAll"_s};
    QCOMPARE(f.preferences.data().hotkey, std::optional(expected));
    QVERIFY(!keys->isEnabled() && !action->isEnabled());
    QCOMPARE(f.picker(u"keyPicker"_s)->currentValue(), u"Space"_s);
}

void TestConfigurationView::recoverNeedsBackup()
{
    ViewFixture f;
    QAbstractButton* recover = f.button(u"recoverButton"_s);
    QVERIFY(!f.preferences.hasBackup());
    QVERIFY(!recover->isEnabled());
    QTest::mouseClick(f.button(u"resetButton"_s), Qt::LeftButton);
    QVERIFY(f.preferences.hasBackup());
    QVERIFY(recover->isEnabled());
}

void TestConfigurationView::transferButtons_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("export") << u"exportButton"_s << QStringList{u"panel"_s};
    QTest::newRow("import") << u"importButton"_s << QStringList{u"restore"_s, u"panel"_s};
    QTest::newRow("reset") << u"resetButton"_s << QStringList{u"restore"_s, u"record"_s};
    QTest::newRow("recover") << u"recoverButton"_s << QStringList{u"restore"_s, u"record"_s};
}

// Export leaves hidden icons hidden; the others show every icon before touching the record.
void TestConfigurationView::transferButtons()
{
    QFETCH(QString, name);
    QFETCH(QStringList, expected);
    ViewFixture f;
    f.preferences.resetSettings(); // a backup to recover
    f.log.clear();
    connect(&f.visibility, &VisibilityController::messageChanged, &f.visibility,
            [&f](const QString& message) {
                if (message == restoredMessage)
                    f.log.append(u"restore"_s);
            });
    connect(&f.preferences, &Preferences::dataChanged, &f.preferences,
            [&f] { f.log.append(u"record"_s); });
    QTest::mouseClick(f.button(name), Qt::LeftButton);
    QCOMPARE(f.log, expected);
}

void TestConfigurationView::apps_data()
{
    QTest::addColumn<QList<ExternalItem>>("items");
    QTest::addColumn<QStringList>("hidden");
    QTest::addColumn<QString>("language");
    QTest::addColumn<ListedApps>("expected");
    const QString own = u"app.tuckaway.Tuckaway"_s;

    QTest::newRow("apple prefix needs the dot and the case")
        << QList<ExternalItem>{detected(u"com.apple.controlcenter"_s, u"Control"_s),
                               detected(u"com.applesoft.x"_s, u"Applesoft"_s),
                               detected(u"Com.apple.y"_s, u"Upper"_s),
                               detected(std::nullopt, u"Nameless"_s)}
        << QStringList() << u"es"_s
        << ListedApps{{u"com.applesoft.x"_s, u"Applesoft"_s}, {u"Com.apple.y"_s, u"Upper"_s}};
    QTest::newRow("our own items and duplicates")
        << QList<ExternalItem>{detected(own, u"Tuckaway"_s), detected(u"a.b"_s, u"First"_s),
                               detected(u"a.b"_s, u"Last"_s)}
        << QStringList() << u"es"_s << ListedApps{{u"a.b"_s, u"Last"_s}};
    QTest::newRow("saved but not detected")
        << QList<ExternalItem>{detected(u"a.b"_s, u"Detected"_s)}
        << QStringList{u"org.example.gone"_s, u"a.b"_s} << u"es"_s
        << ListedApps{{u"a.b"_s, u"Detected"_s},
                      {u"org.example.gone"_s, u"org.example.gone (no detectada)"_s}};
    QTest::newRow("not detected in English")
        << QList<ExternalItem>{} << QStringList{u"org.example.gone"_s} << u"en"_s
        << ListedApps{{u"org.example.gone"_s, u"org.example.gone (not detected)"_s}};
    QTest::newRow("order ignores case")
        << QList<ExternalItem>{detected(u"g"_s, u"gamma"_s), detected(u"b"_s, u"beta"_s),
                               detected(u"a"_s, u"Alpha"_s)}
        << QStringList() << u"en"_s
        << ListedApps{{u"a"_s, u"Alpha"_s}, {u"b"_s, u"beta"_s}, {u"g"_s, u"gamma"_s}};
}

void TestConfigurationView::apps()
{
    QFETCH(QList<ExternalItem>, items);
    QFETCH(QStringList, hidden);
    QFETCH(QString, language);
    QFETCH(ListedApps, expected);
    const ListedApps listed =
        ConfigurationView::apps(items, hidden, u"app.tuckaway.Tuckaway"_s, language);
    QCOMPARE(listed, expected);
}

void TestConfigurationView::appListInManualModeOnly()
{
    ViewFixture f;
    QVERIFY(f.scan({detected(u"com.b"_s, u"beta"_s), detected(u"com.a"_s, u"Alpha"_s)}));
    f.changeRecord([](SettingsData& r) {
        r.mode = u"manual"_s;
        r.hiddenBundles = {u"org.example.gone"_s, u"com.a"_s};
    });
    f.preferences.setSection(ConfigurationView::Organization);
    auto* list = f.find<QListWidget>(u"appList"_s);
    QVERIFY(list->isVisible());
    QCOMPARE(rowNames(*list),
             QStringList({u"Alpha"_s, u"beta"_s, u"org.example.gone (no detectada)"_s}));
    QCOMPARE(list->item(0)->checkState(), Qt::Checked);
    QCOMPARE(list->item(1)->checkState(), Qt::Unchecked);

    // A click anywhere on a row flips it.
    const QRect beta = list->visualItemRect(list->item(1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, beta.center());
    QTRY_COMPARE(f.preferences.data().hiddenBundles,
                 QStringList({u"org.example.gone"_s, u"com.a"_s, u"com.b"_s}));
    list->item(2)->setCheckState(Qt::Unchecked);
    QTRY_COMPARE(f.preferences.data().hiddenBundles, QStringList({u"com.a"_s, u"com.b"_s}));
    QCOMPARE(rowNames(*list), QStringList({u"Alpha"_s, u"beta"_s}));

    f.changeRecord([](SettingsData& r) { r.mode = u"boundary"_s; });
    QVERIFY(!list->isVisible());
    QCOMPARE(f.preferences.data().hiddenBundles, QStringList({u"com.a"_s, u"com.b"_s}));
    QCOMPARE(f.picker(u"modePicker"_s)->currentValue(), u"boundary"_s);
    f.picker(u"modePicker"_s)->choose(u"manual"_s);
    QCOMPARE(f.preferences.data().mode, u"manual"_s);
    QVERIFY(list->isVisible());
}

void TestConfigurationView::reasonsInBoundaryModeOnly()
{
    ViewFixture f;
    const auto at = [](const QString& bundle, const QString& app, double x) {
        ExternalItem item = detected(bundle, app);
        item.frame = Rect{x, 0.0, 20.0, 24.0};
        return item;
    };
    QVERIFY(f.scan({at(u"com.b"_s, u"Beta"_s, 900.0), at(u"com.b"_s, u"Beta"_s, 1040.0),
                    at(u"com.a"_s, u"Alpha"_s, 900.0), at(u"com.apple.x"_s, u"X"_s, 900.0),
                    detected(u"org.c"_s, u"org.c"_s), detected(std::nullopt, u"Nobody"_s)}));
    f.preferences.setSection(ConfigurationView::Organization);
    auto* reasons = f.find<QLabel>(u"reasons"_s);
    QVERIFY(reasons->isVisible());
    QCOMPARE(reasons->text().split(u'\n'),
             QStringList({u"Alpha (com.a): Oculta: todos sus iconos están a la izquierda del nuestro."_s,
                          u"X (com.apple.x): Visible: es un elemento del sistema."_s,
                          u"Beta (com.b): Visible: tiene iconos a ambos lados del nuestro."_s,
                          u"org.c: Visible: tiene un icono sin posición legible."_s}));

    f.boundary.reset();
    f.preferences.setLanguage(u"en"_s);
    QCOMPARE(reasons->text().section(u'\n', 0, 0),
             u"Alpha (com.a): Visible: the position of our icon cannot be read."_s);

    f.changeRecord([](SettingsData& r) { r.mode = u"manual"_s; });
    QVERIFY(!reasons->isVisible());
    QVERIFY(!f.find<QLabel>(u"reasonsTitle"_s)->isVisible());
}

void TestConfigurationView::countAndAuthorizationLines()
{
    ViewFixture f;
    const auto show = [&f](int section) { f.preferences.setSection(section); };
    QVERIFY(f.scan({detected(u"com.a"_s, u"A"_s), detected(u"com.a"_s, u"A"_s),
                    detected(u"com.a"_s, u"A"_s)}));
    show(ConfigurationView::Organization);
    QCOMPARE(f.labelText(u"itemCount"_s), u"3 elementos detectados"_s);
    QVERIFY(f.find<QLabel>(u"authorizationWarning"_s)->isHidden());
    show(ConfigurationView::Permissions);
    QCOMPARE(f.labelText(u"authorizationLine"_s), u"Accesibilidad autorizada"_s);

    f.desktop.setTrusted(false);
    QTest::mouseClick(f.button(u"refreshDiagnosticsButton"_s), Qt::LeftButton);
    QCOMPARE(f.refreshes, 1);
    QVERIFY(f.scan({}));
    QCOMPARE(f.labelText(u"authorizationLine"_s), u"Falta autorizar Accesibilidad"_s);
    show(ConfigurationView::Organization);
    QVERIFY(!f.find<QLabel>(u"authorizationWarning"_s)->isHidden());
    QCOMPARE(f.labelText(u"itemCount"_s), u"0 elementos detectados"_s);

    show(ConfigurationView::Permissions);
    QCOMPARE(f.labelText(u"mechanismLine"_s), u"Mecanismo de ocultación disponible"_s);
    SimFrameworkBehaviour absent = f.desktop.frameworkBehaviour();
    absent.present = false;
    f.desktop.setFrameworkBehaviour(absent);
    f.desktop.setTrusted(true);
    QVERIFY(f.scan({}));
    QCOMPARE(f.labelText(u"mechanismLine"_s), u"Mecanismo de ocultación no disponible"_s);
    QCOMPARE(f.labelText(u"authorizationLine"_s), u"Accesibilidad autorizada"_s);
}

void TestConfigurationView::permissionButtonsReachTheSystem()
{
    ViewFixture f;
    SimPrivacySettings& privacy = f.platform->simulatedPrivacySettings();
    QSignalSpy paneShown(&privacy, &SimPrivacySettings::accessibilityPaneRequested);
    f.desktop.setTrusted(false);
    QTest::mouseClick(f.button(u"requestAccessButton"_s), Qt::LeftButton);
    QCOMPARE(f.desktop.trustPromptCount(), 1);
    QTest::mouseClick(f.button(u"openPrivacyButton"_s), Qt::LeftButton);
    QCOMPARE(paneShown.count(), 1);
    // The person flips the switch there and comes back to the window.
    privacy.setAccessibilityAllowed(true);
    f.preferences.setSection(ConfigurationView::Permissions);
    QCOMPARE(f.labelText(u"authorizationLine"_s), u"Accesibilidad autorizada"_s);
}

void TestConfigurationView::saveReport_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("proposed");
    QTest::addColumn<QString>("saved");
    QTest::addColumn<QString>("notice");
    QTest::newRow("es") << u"es"_s << u"Tuckaway-diagnostico.txt"_s
                        << u"Fecha: hoy\nDetectados: 2 (com.x.Y)"_s << u"Informe guardado."_s;
    QTest::newRow("en") << u"en"_s << u"Tuckaway-diagnostics.txt"_s
                        << u"Date: hoy\nDetected: 2 (com.x.Y)"_s << u"Report saved."_s;
}

void TestConfigurationView::saveReport()
{
    QFETCH(QString, language);
    QFETCH(QString, proposed);
    QFETCH(QString, saved);
    QFETCH(QString, notice);
    ViewFixture f;
    QTemporaryDir folder;
    const QString path = folder.filePath(u"report.txt"_s);
    QFile earlier(path);
    QVERIFY(earlier.open(QIODevice::WriteOnly) && earlier.write("an older, longer report") > 0);
    earlier.close();
    f.preferences.setLanguage(language);
    f.inspector.setReport(u"Fecha: hoy\nDetectados: 2 (com.x.Y)"_s);

    f.panels.answers = {std::nullopt, path};
    QTest::mouseClick(f.button(u"saveReportButton"_s), Qt::LeftButton);
    QCOMPARE(f.preferences.notice(), QString()); // cancelled: nothing changes
    QTest::mouseClick(f.button(u"saveReportButton"_s), Qt::LeftButton);
    QCOMPARE(f.panels.proposedNames, QStringList({proposed, proposed}));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()), saved);
    QCOMPARE(f.labelText(u"statusLine"_s), notice);
}

void TestConfigurationView::saveReportFailureShowsTheSystemsReason_data()
{
    QTest::addColumn<QString>("relativePath");
    QTest::addColumn<QString>("notice"); // as the system describes the failure
    QTest::newRow("missing folder") << u"missing/report.txt"_s << u"No such file or directory"_s;
    QTest::newRow("named pipe") << u"pipe"_s
                                << u"Not a regular file: a named pipe, a device or a socket"_s;
}

void TestConfigurationView::saveReportFailureShowsTheSystemsReason()
{
    QFETCH(QString, relativePath);
    QFETCH(QString, notice);
    ViewFixture f;
    QTemporaryDir folder;
    const QString path = folder.filePath(relativePath);
    QVERIFY(relativePath != u"pipe"_s || ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    f.panels.answers = {path};
    f.view->saveReport();
    QCOMPARE(f.preferences.notice(), notice);
    QVERIFY(!QFileInfo(path).isFile()); // nothing written, the pipe left as it was
    QCOMPARE(f.labelText(u"statusLine"_s), notice);
}

// Every text that has an English rendering shows it once the language is "en".
void TestConfigurationView::languageSwitchRelabelsEverything()
{
    ViewFixture f;
    QVERIFY(f.scan({detected(u"com.a"_s, u"A"_s)}, u"Fecha: hoy\nDetectados: 1"_s));
    f.changeRecord([](SettingsData& r) {
        r.mode = u"manual"_s;
        r.hiddenBundles = {u"org.example.gone"_s};
    });
    f.preferences.setNotice(u"Configuración exportada."_s);
    f.picker(u"languagePicker"_s)->choose(u"en"_s);
    QCOMPARE(f.preferences.language(), u"en"_s);

    const QHash<QString, QString>& english = L10n::english();
    for (int section = 0; section < sectionNames.size(); ++section) {
        f.preferences.setSection(section);
        for (const QString& text : visibleTexts(*f.view)) {
            QVERIFY2(!english.contains(text) || english.value(text) == text, qPrintable(text));
            QVERIFY2(!text.contains(u" (no detectada)"_s) && !text.contains(u" segundos"_s),
                     qPrintable(text));
        }
    }
    QCOMPARE(f.button(u"sectionRow3"_s)->text(), u"Permissions & diagnostics"_s);
    QCOMPARE(f.labelText(u"statusLine"_s), u"Settings exported."_s);
    QCOMPARE(f.labelText(u"versionLine"_s), u"Version 1.0 · macOS 27"_s); // no bundle version
    QCOMPARE(f.find<QPlainTextEdit>(u"report"_s)->toPlainText(), u"Date: hoy\nDetected: 1"_s);
    QCOMPARE(f.view->locale().language(), QLocale::English);
}

// A section out of view keeps what it last showed through published changes, and shows the
// state of the moment as soon as it comes into view.
void TestConfigurationView::hiddenSectionRedrawsWhenShown()
{
    ViewFixture f;
    f.preferences.setSection(ConfigurationView::Permissions);
    f.inspector.setReport(u"Detectados: 1"_s);
    auto* report = f.find<QPlainTextEdit>(u"report"_s);
    QCOMPARE(report->toPlainText(), u"Detectados: 1"_s);
    f.preferences.setSection(ConfigurationView::General);
    f.inspector.setReport(u"Detectados: 2"_s);
    f.preferences.setLanguage(u"en"_s);
    QCOMPARE(report->toPlainText(), u"Detectados: 1"_s);
    f.preferences.setSection(ConfigurationView::Permissions);
    QCOMPARE(report->toPlainText(), u"Detected: 2"_s);
}

void TestConfigurationView::reportTranslatedOncePerReportAndLanguage()
{
    int translations = 0;
    ReportTranslation translation([&translations](const QString& report, const QString& language) {
        ++translations;
        return L10n::text(report, language);
    });
    const QString report = u"Detectados: 3"_s;
    const QString first = translation.text(report, u"en"_s);
    QCOMPARE(translation.text(QString(report), u"en"_s), first);
    QCOMPARE(translations, 1);
    QCOMPARE(first, u"Detected: 3"_s);
    QCOMPARE(translation.text(report, u"es"_s), report);
    QCOMPARE(translation.text(u"Detectados: 4"_s, u"es"_s), u"Detectados: 4"_s);
    QCOMPARE(translations, 3);
}

void TestConfigurationView::chosenSegmentReads_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::addColumn<bool>("enabled");
    QPalette brightAccent = QApplication::palette();
    brightAccent.setColor(QPalette::Highlight, QColor(255, 204, 0));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    brightAccent.setColor(QPalette::Accent, QColor(255, 204, 0));
#endif
    const QList<std::pair<const char*, QPalette>> palettes = {{"light", QApplication::palette()},
                                                              {"dark", darkPalette()},
                                                              {"bright accent", brightAccent}};
    for (const auto& [name, palette] : palettes) {
        QTest::addRow("%s", name) << palette << true;
        QTest::addRow("%s, disabled", name) << palette << false;
    }
}

// The chosen segment stands apart from the others and its title reads on it, also in a
// disabled picker, where it still shows the stored value.
void TestConfigurationView::chosenSegmentReads()
{
    QFETCH(QPalette, palette);
    QFETCH(bool, enabled);
    const ChoicePicker::SegmentLook chosen = ChoicePicker::segmentLook(palette, true, enabled);
    const ChoicePicker::SegmentLook other = ChoicePicker::segmentLook(palette, false, enabled);
    const double readable = ViewStyle::contrast(chosen.text, chosen.fill);
    QVERIFY2(readable >= 3.0, qPrintable(QString::number(readable)));
    QVERIFY2(ViewStyle::contrast(chosen.fill, other.fill) >= 1.3, qPrintable(chosen.fill.name()));
    QVERIFY(chosen.fill != other.fill);
}

// Long names and a report of thousands of lines do not widen the window.
void TestConfigurationView::largeInputsKeepLayout()
{
    ViewFixture f;
    const QString longBundle = u"com.example."_s + QString(300, u'x');
    QStringList lines;
    for (int line = 0; line < 5000; ++line)
        lines.append(u"Icono sin etiqueta %1 %2 {{1200, 0}, {24, 24}}"_s.arg(line).arg(longBundle));
    QVERIFY(f.scan({detected(longBundle, QString(400, u'N'))}, lines.join(u'\n')));
    f.changeRecord([&](SettingsData& r) {
        r.mode = u"manual"_s;
        r.hiddenBundles = {longBundle + u".gone"_s};
    });
    for (int section = 0; section <= 4; ++section) {
        f.preferences.setSection(section);
        QVERIFY2(f.view->minimumSizeHint().width() <= ConfigurationView::minimumSize.width(),
                 qPrintable(sectionNames[section]));
    }
    QCOMPARE(f.find<QPlainTextEdit>(u"report"_s)->blockCount(), 5000);
}

void TestConfigurationView::screenshots_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("dark");
    QTest::addColumn<QSize>("size");
    for (const QString& language : {u"es"_s, u"en"_s}) {
        for (const bool dark : {false, true}) {
            for (const QSize size :
                 {ConfigurationView::idealSize, ConfigurationView::minimumSize}) {
                const QString name = u"%1-%2-%3x%4"_s.arg(language, dark ? u"dark"_s : u"light"_s)
                                         .arg(size.width())
                                         .arg(size.height());
                QTest::newRow(qPrintable(name)) << language << dark << size;
            }
        }
    }
}

// Pictures of every section in both languages, light and dark, at the ideal and the minimum
// size, for a person to look at.
void TestConfigurationView::screenshots()
{
    QFETCH(QString, language);
    QFETCH(bool, dark);
    QFETCH(QSize, size);
    const QString folder =
        u"%1/ui/%2"_s.arg(qEnvironmentVariable("TUCKAWAY_ARTIFACTS", QDir::tempPath()),
                          QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(QDir().mkpath(folder));
    ViewFixture f;
    if (dark)
        f.view->setPalette(darkPalette());
    f.view->resize(size);
    QVERIFY(f.scan({detected(u"com.driftwoodlabs.Weathervane"_s, u"Weathervane"_s),
                    detected(u"com.harborsoft.Dockyard"_s, u"Dockyard"_s),
                    detected(u"com.hollowoak.Clipjar"_s, u"Clipjar"_s),
                    detected(u"com.fernpixel.NimbusSync"_s, u"Nimbus Sync"_s),
                    detected(u"com.example.averyveryveryveryveryverylongbundleidentifier"_s,
                             u"An Application With A Remarkably Long Name That Must Not Widen "
                             u"The Settings Window In Any Language"_s)},
                   u"Fecha: 2026-11-02T10:00:00Z\nAccessibility autorizado: sí\nDetectados: 5. No "
                   u"se ha modificado ningún icono externo. La ausencia de resultados no "
                   u"demuestra ausencia de iconos."_s));
    // A disabled picker beside enabled ones, and the warning of a copy without access.
    f.changeRecord([](SettingsData& r) {
        r.mode = u"manual"_s;
        r.hiddenBundles = {u"com.harborsoft.Dockyard"_s, u"org.example.gone"_s};
        r.autoCollapse = false;
        r.hotkey = HotKeySettings{};
    });
    f.desktop.setTrusted(false);
    f.preferences.setNotice(u"Configuración exportada."_s);
    f.preferences.setLanguage(language);
    for (int section = 0; section <= 4; ++section) {
        f.preferences.setSection(section);
        if (section == ConfigurationView::Organization) { // just after ticking "Clipjar"
            auto* list = f.find<QListWidget>(u"appList"_s);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(list->item(1)).center());
        }
        QCoreApplication::processEvents();
        const QString path = u"%1/section%2.png"_s.arg(folder).arg(section);
        QVERIFY2(f.view->grab().save(path), qPrintable(path));
    }
    // The whole of the longest section, beyond what the window shows without scrolling.
    f.preferences.setSection(ConfigurationView::General);
    QCoreApplication::processEvents();
    QVERIFY(f.find<QWidget>(u"sectionColumn"_s)->grab().save(folder + u"/section0-whole.png"_s));
}

QTEST_MAIN(TestConfigurationView)
#include "tst_configurationview.moc"
