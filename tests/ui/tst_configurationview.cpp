#include "inspection/Inspector.h"
#include "l10n/L10n.h"
#include "platform/sim/ScriptedFilePanels.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimPrivacySettings.h"
#include "platform/sim/VirtualTime.h"
#include "settings/Preferences.h"
#include "ui/ChoicePicker.h"
#include "ui/ConfigurationView.h"
#include "ui/ViewStyle.h"
#include "visibility/VisibilityController.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace tk;

using namespace Qt::StringLiterals;
using ListedApps = QList<ConfigurationView::ListedApp>;

namespace {

ExternalItem detected(const std::optional<QString>& bundle, const QString& app)
{
    ExternalItem item;
    item.bundleID = bundle;
    item.app = app;
    return item;
}

// A dark palette close to the Mac's dark appearance.
QPalette darkPalette()
{
    QPalette dark(QColor(72, 72, 72), QColor(50, 50, 50));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::Highlight, QColor(10, 132, 255));
    dark.setColor(QPalette::PlaceholderText, QColor(160, 160, 160));
    return dark;
}

// The settings view on the simulated desktop, its three actions counted. Scans find `found`; a
// held scan waits on the pool until it is released.
struct ViewFixture {
    ViewFixture()
        : platform(SimPlatform::forTests()), desktop(platform->desktop()),
          panels(static_cast<ScriptedFilePanels&>(platform->filePanels())),
          preferences(platform->userDefaults(), platform->loginItems(), panels),
          inspector(
              [this](const QList<ScanApp>&) {
                  if (held.load())
                      gate.acquire();
                  return found;
              },
              [this] { return platform->accessibility().isProcessTrusted(); },
              platform->workspace()),
          visibility(platform->visibilityBridge(), platform->workspace(), platform->time(),
                     [this] { return platform->accessibility().isProcessTrusted(); })
    {
        preferences.setLanguage(u"es"_s);
        preferences.setNeedsApply(false);
        view = std::make_unique<ConfigurationView>(
            preferences, inspector, visibility,
            ConfigurationView::Actions{[this] { ++refreshes; }, [this] { ++toggles; },
                                       [this] { ++applies; }, [](const QString&, auto) {}},
            ConfigurationView::Services{panels, platform->accessibility(),
                                        platform->privacySettings(), platform->visibilityBridge(),
                                        platform->workspace(), {}, {},
                                        [this] { return boundary; }, [this] { return unseen; }});
        view->resize(ConfigurationView::idealSize);
        view->show();
    }

    ~ViewFixture()
    {
        release();
        view.reset();
    }

    // Runs a scan that finds `items`; true once its outcome is published.
    bool scan(const QList<ExternalItem>& items, const QString& report = u"Fecha: hoy"_s)
    {
        found = {items, report};
        inspector.scan();
        return release();
    }

    // Lets a held scan end; true once no scan runs.
    bool release()
    {
        if (held.exchange(false))
            gate.release();
        const bool ended = QTest::qWaitFor([this] { return !inspector.isScanning(); }, 10000);
        QCoreApplication::processEvents();
        return ended;
    }

    template <typename T> T* find(const QString& name) const { return view->findChild<T*>(name); }
    QString labelText(const QString& name) const { return find<QLabel>(name)->text(); }
    QAbstractButton* button(const QString& name) const { return find<QAbstractButton>(name); }
    ChoicePicker* picker(const QString& name) const { return find<ChoicePicker>(name); }
    void click(const QString& name) const { QTest::mouseClick(button(name), Qt::LeftButton); }

    void changeRecord(const std::function<void(SettingsData&)>& change)
    {
        SettingsData record = preferences.data();
        change(record);
        preferences.setData(record);
    }

    std::unique_ptr<SimPlatform> platform;
    SimDesktop& desktop;
    ScriptedFilePanels& panels;
    ScanResult found;
    std::atomic<bool> held{false};
    QSemaphore gate;
    Preferences preferences;
    Inspector inspector;
    VisibilityController visibility;
    std::unique_ptr<ConfigurationView> view;
    int refreshes = 0, toggles = 0, applies = 0;
    std::optional<Rect> boundary = Rect{1000.0, 0.0, 22.0, 24.0}; // Tuckaway's icon
    QStringList unseen; // what the shell found out of sight
};

const QStringList sectionNames = {u"generalSection"_s, u"organizationSection"_s,
                                  u"appearanceSection"_s, u"permissionsSection"_s,
                                  u"aboutSection"_s};
const QString restoredMessage =
    u"Restricción retirada; se ha solicitado restaurar todos los iconos."_s;

// The texts a person can see in the view: labels, buttons and the lines of the report.
QStringList visibleTexts(const QWidget& root)
{
    QStringList texts;
    for (const QLabel* label : root.findChildren<QLabel*>())
        texts.append(label->isVisibleTo(&root) ? label->text() : QString());
    for (const QAbstractButton* button : root.findChildren<QAbstractButton*>())
        texts.append(button->isVisibleTo(&root) ? button->text() : QString());
    for (const QPlainTextEdit* box : root.findChildren<QPlainTextEdit*>())
        texts.append(box->isVisibleTo(&root) ? box->toPlainText().split(u'\n') : QStringList());
    return texts;
}

} // namespace

class TestConfigurationView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Anything but a known section shows "Acerca de" with no row chosen. A row takes clicks on
    // its whole width, far right past the end of its title too; clicked again, it stays chosen.
    void sectionShown()
    {
        ViewFixture f;
        for (int section = -1; section <= 5; ++section) {
            f.preferences.setSection(2);
            if (QAbstractButton* row = f.button(u"sectionRow%1"_s.arg(section))) {
                QTest::mouseClick(row, Qt::LeftButton, {}, {row->width() - 4, row->height() / 2});
                QTest::mouseClick(row, Qt::LeftButton);
                QCOMPARE(f.preferences.section(), section);
            } else {
                f.preferences.setSection(section);
            }
            const int shown = section < 0 || section > 4 ? 4 : section;
            for (int index = 0; index < sectionNames.size(); ++index) {
                QCOMPARE(f.find<QWidget>(sectionNames[index])->isVisible(), index == shown);
                QCOMPARE(f.button(u"sectionRow%1"_s.arg(index))->isChecked(), index == section);
            }
        }
    }

    // The header shows the hiding state; the status line a scan in progress, else the notice, else
    // the controller's message. "Aplicar y ocultar" waits for a scan or a hiding request to end.
    void headerAndFooterFollowTheState()
    {
        ViewFixture f;
        QAbstractButton* apply = f.button(u"applyButton"_s);
        f.preferences.setNotice(u"Configuración aplicada."_s);
        f.held = true;
        f.inspector.scan();
        QCOMPARE(f.labelText(u"statusLine"_s), u"Buscando iconos…"_s);
        f.click(u"applyButton"_s);
        QCOMPARE(f.applies, 0);
        f.preferences.setLanguage(u"en"_s);
        QCOMPARE(f.labelText(u"statusLine"_s), u"Looking for icons…"_s);
        QVERIFY(f.release());
        QCOMPARE(f.labelText(u"statusLine"_s), u"Settings applied."_s);
        f.preferences.setNotice(u"disk full"_s); // no key: shown as it is
        QCOMPARE(f.labelText(u"statusLine"_s), u"disk full"_s);
        f.preferences.setNotice(QString());
        f.preferences.setLanguage(u"es"_s);
        f.preferences.setSection(ConfigurationView::Organization);
        QCOMPARE(f.button(u"toggleVisibilityButton"_s)->text(), u"Colapsar grupo"_s);

        f.visibility.activate({u"com.harborsoft.Dockyard"_s});
        QVERIFY(f.visibility.pending() && !apply->isEnabled());
        static_cast<VirtualTimeSource&>(f.platform->time()).advance(0.1);
        QTRY_VERIFY(f.visibility.active());
        f.click(u"applyButton"_s);
        QCOMPARE(f.applies, 1);
        QCOMPARE(f.labelText(u"statusLine"_s), f.visibility.message());
        QCOMPARE(f.labelText(u"hidingState"_s), u"Colapsado"_s);
        QCOMPARE(f.button(u"toggleVisibilityButton"_s)->text(), u"Mostrar todo"_s);
        f.click(u"toggleVisibilityButton"_s);
        QCOMPARE(f.toggles, 1);
        f.click(u"headerShowAll"_s);
        QCOMPARE(f.visibility.message(), restoredMessage);
        QCOMPARE(f.labelText(u"hidingState"_s), u"Expandido"_s);
    }

    // The delay and the shortcut's keys wait for their switches. A missing shortcut, switched on
    // for the first time, stores exactly the defaults.
    void generalSectionControls()
    {
        ViewFixture f;
        f.changeRecord([](SettingsData& r) {
            r.autoCollapse = false;
            r.delay = 30;
            r.hotkey.reset();
        });
        f.preferences.setNeedsApply(false);
        ChoicePicker* delay = f.picker(u"delayPicker"_s);
        QCOMPARE(delay->optionLabels(),
                 QStringList({u"5 segundos"_s, u"10 segundos"_s, u"30 segundos"_s,
                              u"60 segundos"_s}));
        QCOMPARE(delay->currentValue(), u"30"_s);
        delay->choose(u"60"_s);
        QCOMPARE(f.preferences.data().delay, 30);
        QVERIFY(!f.find<QLabel>(u"needsApplyLine"_s)->isVisible());
        QTest::mouseClick(f.find<QCheckBox>(u"autoCollapseToggle"_s), Qt::LeftButton);
        delay->choose(u"60"_s);
        QCOMPARE(f.preferences.data().delay, 60);
        QVERIFY(f.find<QLabel>(u"needsApplyLine"_s)->isVisible());

        auto* toggle = f.find<QCheckBox>(u"shortcutToggle"_s);
        QWidget* keys = f.find<QWidget>(u"shortcutKeys"_s);
        ChoicePicker* action = f.picker(u"shortcutActionPicker"_s);
        QVERIFY(!toggle->isChecked() && !keys->isEnabled() && !action->isEnabled());
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
    }

    // Export leaves hidden icons hidden; the others show every icon before touching the record.
    // "Recuperar" waits for a backup.
    void transferButtons()
    {
        ViewFixture f;
        QStringList log;
        connect(&f.visibility, &VisibilityController::messageChanged, &f.visibility,
                [&log](const QString& message) {
                    if (message == restoredMessage)
                        log.append(u"restore"_s);
                });
        connect(&f.preferences, &Preferences::dataChanged, &f.preferences,
                [&log] { log.append(u"record"_s); });
        connect(&f.preferences, &Preferences::noticeChanged, &f.preferences,
                [&log] { log.append(u"notice"_s); });
        QTemporaryDir folder;
        f.panels.answerNext(folder.filePath(u"settings.json"_s)); // where export writes
        f.panels.answerNext(folder.filePath(u"settings.json"_s)); // what import reads
        QVERIFY(!f.button(u"recoverButton"_s)->isEnabled());
        const QStringList replacing = {u"restore"_s, u"record"_s, u"notice"_s};
        for (const QString& name : {u"exportButton"_s, u"resetButton"_s, u"recoverButton"_s,
                                    u"importButton"_s}) {
            log.clear();
            f.click(name);
            QCOMPARE(log, name == u"exportButton" ? QStringList{u"notice"_s} : replacing);
        }
        QVERIFY(f.button(u"recoverButton"_s)->isEnabled());
    }

    // Not Apple's, not ours, the last item of an application naming it, then every saved one
    // not detected now; ordered by name, ignoring case.
    void apps()
    {
        const auto apps = [](const QList<ExternalItem>& items, const QStringList& hidden) {
            return ConfigurationView::apps(items, hidden, u"app.tuckaway.Tuckaway"_s, u"en"_s);
        };
        QCOMPARE(apps({detected(u"com.apple.controlcenter"_s, u"Control"_s),
                       detected(u"com.applesoft.x"_s, u"Applesoft"_s),
                       detected(u"Com.apple.y"_s, u"Upper"_s), detected(std::nullopt, u"None"_s),
                       detected(u"app.tuckaway.Tuckaway"_s, u"Tuckaway"_s)},
                      {}),
                 (ListedApps{{u"com.applesoft.x"_s, u"Applesoft"_s},
                             {u"Com.apple.y"_s, u"Upper"_s}}));
        QCOMPARE(apps({detected(u"g"_s, u"gamma"_s), detected(u"b"_s, u"First"_s),
                       detected(u"b"_s, u"Beta"_s)},
                      {u"org.example.gone"_s, u"b"_s}),
                 (ListedApps{{u"b"_s, u"Beta"_s},
                             {u"g"_s, u"gamma"_s},
                             {u"org.example.gone"_s, u"org.example.gone (not detected)"_s}}));
    }

    // In "manual" mode the list, where a click anywhere on a row flips it; in "boundary" mode every
    // detected application with the reason the rule gives it, in the order of their identifiers.
    void appListInManualModeReasonsInBoundaryMode()
    {
        ViewFixture f;
        const auto at = [](const QString& bundle, const QString& app, double x) {
            ExternalItem item = detected(bundle, app);
            item.frame = Rect{x, 0.0, 20.0, 24.0};
            return item;
        };
        QVERIFY(f.scan({at(u"com.b"_s, u"beta"_s, 900.0), at(u"com.b"_s, u"beta"_s, 1040.0),
                        at(u"com.a"_s, u"Alpha"_s, 900.0), at(u"com.apple.x"_s, u"X"_s, 900.0),
                        detected(u"org.c"_s, u"org.c"_s), detected(std::nullopt, u"Nobody"_s)}));
        f.preferences.setSection(ConfigurationView::Organization);
        auto* reasons = f.find<QLabel>(u"reasons"_s);
        auto* list = f.find<QListWidget>(u"appList"_s);
        const auto rowNames = [list] {
            QStringList names;
            for (int row = 0; row < list->count(); ++row)
                names.append(list->item(row)->text());
            return names;
        };
        QCOMPARE(reasons->text().split(u'\n'),
                 QStringList({u"Alpha (com.a): Oculta: todos sus iconos están a la izquierda "
                              u"del nuestro."_s,
                              u"X (com.apple.x): Visible: es un elemento del sistema."_s,
                              u"beta (com.b): Visible: tiene iconos a ambos lados del nuestro."_s,
                              u"org.c: Visible: tiene un icono sin posición legible."_s}));
        QVERIFY(!f.find<QLabel>(u"unseen"_s)->isVisible());
        f.boundary.reset();
        f.unseen = {u"Lumen: bajo la muesca"_s, u"Clipjar: tapado por los menús"_s};
        f.preferences.setLanguage(u"en"_s);
        QCOMPARE(reasons->text().section(u'\n', 0, 0),
                 u"Alpha (com.a): Visible: the position of our icon cannot be read."_s);
        QCOMPARE(f.labelText(u"unseen"_s).split(u'\n').mid(0, 2),
                 QStringList({u"Lumen: under the notch"_s, u"Clipjar: covered by the menus"_s}));
        f.unseen.clear();

        f.preferences.setLanguage(u"es"_s);
        f.changeRecord(
            [](SettingsData& r) { r.hiddenBundles = {u"org.example.gone"_s, u"com.a"_s}; });
        f.picker(u"modePicker"_s)->choose(u"manual"_s);
        QVERIFY(!reasons->isVisible() && !f.find<QLabel>(u"reasonsTitle"_s)->isVisible());
        QCOMPARE(rowNames(), QStringList({u"Alpha"_s, u"beta"_s, u"org.c"_s,
                                          u"org.example.gone (no detectada)"_s}));
        QCOMPARE(list->item(0)->checkState(), Qt::Checked);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->item(1)).center());
        QTRY_COMPARE(f.preferences.data().hiddenBundles,
                     QStringList({u"org.example.gone"_s, u"com.a"_s, u"com.b"_s}));
        list->item(3)->setCheckState(Qt::Unchecked);
        QTRY_COMPARE(rowNames(), QStringList({u"Alpha"_s, u"beta"_s, u"org.c"_s}));
        f.picker(u"modePicker"_s)->choose(u"boundary"_s);
        QVERIFY(!list->isVisible() && reasons->isVisible());
        QCOMPARE(f.preferences.data().hiddenBundles, QStringList({u"com.a"_s, u"com.b"_s}));
    }

    // The permission buttons reach the system; coming back, the view shows what it now allows.
    void authorizationCountAndMechanism()
    {
        ViewFixture f;
        const auto show = [&f](int section) { f.preferences.setSection(section); };
        QVERIFY(f.scan({detected(u"com.a"_s, u"A"_s), detected(u"com.a"_s, u"A"_s)}));
        show(ConfigurationView::Organization);
        QCOMPARE(f.labelText(u"itemCount"_s), u"2 elementos detectados"_s);
        QVERIFY(f.find<QLabel>(u"authorizationWarning"_s)->isHidden());
        show(ConfigurationView::Permissions);
        QCOMPARE(f.labelText(u"authorizationLine"_s), u"Accesibilidad autorizada"_s);
        QCOMPARE(f.labelText(u"mechanismLine"_s), u"Mecanismo de ocultación disponible"_s);

        f.desktop.setTrusted(false);
        SimFrameworkBehaviour absent = f.desktop.frameworkBehaviour();
        absent.present = false;
        f.desktop.setFrameworkBehaviour(absent);
        f.click(u"refreshDiagnosticsButton"_s);
        QCOMPARE(f.refreshes, 1);
        QVERIFY(f.scan({}));
        QCOMPARE(f.labelText(u"authorizationLine"_s), u"Falta autorizar Accesibilidad"_s);
        QCOMPARE(f.labelText(u"mechanismLine"_s), u"Mecanismo de ocultación no disponible"_s);
        show(ConfigurationView::Organization);
        QVERIFY(!f.find<QLabel>(u"authorizationWarning"_s)->isHidden());
        QCOMPARE(f.labelText(u"itemCount"_s), u"0 elementos detectados"_s);

        f.click(u"requestAccessButton"_s);
        QCOMPARE(f.desktop.trustPromptCount(), 1);
        f.click(u"openPrivacyButton"_s);
        SimPrivacySettings& privacy = f.platform->simulatedPrivacySettings();
        QCOMPARE(privacy.accessibilityPaneRequests(), 1);
        privacy.setAccessibilityAllowed(true);
        show(ConfigurationView::Permissions);
        QCOMPARE(f.labelText(u"authorizationLine"_s), u"Accesibilidad autorizada"_s);
    }

    // The report in the interface language, under a name in that language; a cancelled panel
    // changes nothing, and a pipe is left as it was, with the system's reason shown.
    void saveReport()
    {
        ViewFixture f;
        QTemporaryDir folder;
        const QString pipe = folder.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        f.inspector.setReport(u"Fecha: hoy\nDetectados: 2 (com.x.Y)"_s);
        f.click(u"saveReportButton"_s);
        QCOMPARE(f.preferences.notice(), QString());
        const QList<std::tuple<QString, QString, QString>> saves = {
            {u"es"_s, u"Informe guardado."_s, u"Fecha: hoy\nDetectados: 2 (com.x.Y)"_s},
            {u"en"_s, u"Report saved."_s, u"Date: hoy\nDetected: 2 (com.x.Y)"_s}};
        for (const auto& [language, notice, saved] : saves) {
            f.preferences.setLanguage(language);
            f.panels.answerNext(folder.filePath(language));
            f.click(u"saveReportButton"_s);
            QCOMPARE(f.labelText(u"statusLine"_s), notice);
            QFile file(folder.filePath(language));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(QString::fromUtf8(file.readAll()), saved);
        }
        QCOMPARE(f.panels.proposedNames(),
                 (QStringList{u"Tuckaway-diagnostico.txt"_s, u"Tuckaway-diagnostico.txt"_s,
                              u"Tuckaway-diagnostics.txt"_s}));
        f.panels.answerNext(pipe);
        f.click(u"saveReportButton"_s);
        QCOMPARE(f.labelText(u"statusLine"_s),
                 u"Not a regular file: a named pipe, a device or a socket"_s);
        QVERIFY(QFileInfo::exists(pipe) && !QFileInfo(pipe).isFile());
    }

    // The chosen segment stands apart and its title reads on it, also in a disabled picker.
    void chosenSegmentReads()
    {
        QPalette brightAccent = QApplication::palette();
        brightAccent.setColor(QPalette::Highlight, QColor(255, 204, 0));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        brightAccent.setColor(QPalette::Accent, QColor(255, 204, 0));
#endif
        for (const QPalette& palette : {QApplication::palette(), darkPalette(), brightAccent}) {
            for (const bool enabled : {true, false}) {
                const auto chosen = ChoicePicker::segmentLook(palette, true, enabled);
                const auto other = ChoicePicker::segmentLook(palette, false, enabled);
                QVERIFY(ViewStyle::contrast(chosen.text, chosen.fill) >= 3.0);
                QVERIFY(ViewStyle::contrast(chosen.fill, other.fill) >= 1.3);
            }
        }
    }

    // Pictures of every section in both languages, light and dark, at two sizes, for a person to
    // look at. Long names do not widen the window; in English no Spanish key is left.
    void screenshots()
    {
        for (const QString& language : {u"es"_s, u"en"_s}) {
            for (const QString& theme : {u"light"_s, u"dark"_s}) {
                for (const QSize size :
                     {ConfigurationView::idealSize, ConfigurationView::minimumSize})
                    screenshot(language, theme, size);
            }
        }
    }

private:
    static void screenshot(const QString& language, const QString& theme, QSize size)
    {
        const QString root = qEnvironmentVariable("TUCKAWAY_ARTIFACTS", QDir::tempPath());
        const QString folder = u"%1/ui/%2-%3-%4x%5"_s.arg(root, language, theme)
                                   .arg(size.width())
                                   .arg(size.height());
        QVERIFY(QDir().mkpath(folder));
        ViewFixture f;
        if (theme == u"dark")
            f.view->setPalette(darkPalette());
        f.view->resize(size);
        QVERIFY(f.scan({detected(u"com.driftwoodlabs.Weathervane"_s, u"Weathervane"_s),
                        detected(u"com.harborsoft.Dockyard"_s, u"Dockyard"_s),
                        detected(u"com.hollowoak.Clipjar"_s, u"Clipjar"_s),
                        detected(u"com.fernpixel.NimbusSync"_s, u"Nimbus Sync"_s),
                        detected(u"com.example.averyveryveryveryveryverylongbundleidentifier"_s,
                                 u"An Application With A Remarkably Long Name That Must Not Widen "
                                 u"The Settings Window In Any Language"_s)},
                       u"Fecha: 2026-11-02T10:00:00Z\nAccessibility autorizado: sí\nDetectados: 5. "
                       u"No se ha modificado ningún icono externo. La ausencia de resultados no "
                       u"demuestra ausencia de iconos."_s));
        // A disabled picker beside enabled ones, and the warning of a copy without access.
        f.changeRecord([](SettingsData& r) {
            r.mode = u"manual"_s;
            r.hiddenBundles = {u"com.harborsoft.Dockyard"_s, u"org.example.gone"_s};
            r.autoCollapse = false;
            r.hotkey = HotKeySettings{};
        });
        f.unseen = {u"Nimbus Sync: bajo la muesca"_s, u"syncwatch: fuera de la pantalla"_s};
        f.desktop.setTrusted(false);
        f.preferences.setNotice(u"Configuración exportada."_s);
        f.picker(u"languagePicker"_s)->choose(language);
        QCOMPARE(f.view->locale().name().left(2), language);
        const QHash<QString, QString>& english = L10n::english();
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
            QVERIFY(f.view->minimumSizeHint().width() <= ConfigurationView::minimumSize.width());
            for (const QString& text : visibleTexts(*f.view)) {
                const bool spanish = (english.contains(text) && english.value(text) != text) ||
                                     text.contains(u" segundos"_s);
                QVERIFY2(language == u"es" || !spanish, qPrintable(text));
            }
        }
        if (language == u"en") // no bundle version
            QCOMPARE(f.labelText(u"versionLine"_s), u"Version 1.0 · macOS 27"_s);
        // The whole of the longest sections, beyond what the window shows without scrolling.
        for (const int section : {ConfigurationView::General, ConfigurationView::Organization}) {
            f.preferences.setSection(section);
            QCoreApplication::processEvents();
            const QString whole = u"%1/section%2-whole.png"_s.arg(folder).arg(section);
            QVERIFY(f.find<QWidget>(u"sectionColumn"_s)->grab().save(whole));
        }
    }
};

QTEST_MAIN(TestConfigurationView)
#include "tst_configurationview.moc"
