#pragma once

#include "artwork/AppIdentity.h"
#include "core/Rect.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

namespace tk {

class Accessibility;
class FilePanels;
class Inspector;
class NativeVisibilityBridge;
class Preferences;
class PrivacySettings;
class VisibilityController;
class Workspace;
struct ExternalItem;
struct ViewContext;

// The whole content of the settings window: a header with the hiding state, the list of
// five sections, the chosen section and a footer with the status line and "Aplicar y
// ocultar". It keeps nothing of its own: every published change of the store, the
// inspector or the visibility controller redraws it from them, and every control writes
// through them or calls one of the actions it was handed.
class ConfigurationView final : public QWidget {
    Q_OBJECT

public:
    // What the settings window does on the view's behalf.
    struct Actions {
        std::function<void()> refresh;          // show everything, then scan again
        std::function<void()> toggleVisibility; // collapse or expand the group
        std::function<void()> applySettings;    // show everything, then collapse anew
        // Scans the desktop off the main thread and writes what the scan read to a scenario
        // file at the path; `done` gets nothing when it was written, else the reason.
        std::function<void(const QString& path, std::function<void(std::optional<QString>)> done)>
            exportDesktop = {};
    };

    // The system services a few controls reach; each must outlive the view.
    struct Services {
        FilePanels& filePanels;             // where "Guardar informe…" saves
        Accessibility& accessibility;       // "Solicitar acceso"
        PrivacySettings& privacySettings;   // "Abrir ajustes de privacidad"
        NativeVisibilityBridge& visibility; // whether the hiding mechanism is present
        const Workspace& workspace;         // this application's own bundle identifier
        AppIdentity::BundleIconLoader bundleIcon = {};
        std::function<QString()> bundleVersion = {}; // empty or missing: "1.0"
        // Tuckaway's icon in accessibility space, what the boundary mode measures against;
        // nothing when its place cannot be read.
        std::function<std::optional<Rect>()> boundary = {};
        // The applications of the latest scan with an icon out of sight, each named with why
        // as a Spanish text, one line per application and reason.
        std::function<QStringList()> unseen = {};
    };

    // One row of the manual list: an application's bundle identifier and what it is
    // called.
    struct ListedApp {
        QString bundle;
        QString name;

        friend bool operator==(const ListedApp&, const ListedApp&) = default;
    };

    enum Section { General = 0, Organization = 1, Appearance = 2, Permissions = 3, About = 4 };

    static constexpr QSize minimumSize{820, 560};
    static constexpr QSize idealSize{860, 620};

    ConfigurationView(Preferences& preferences, Inspector& inspector,
                      VisibilityController& visibility, Actions actions, Services services,
                      QWidget* parent = nullptr);
    ~ConfigurationView() override;

    QSize sizeHint() const override;

    // The applications the manual list offers: those with a detected item (not Apple's, not
    // ours, the last item of an application naming it), then every saved one that is not
    // detected now, marked so; ordered by name as a person reads them, ignoring case.
    static QList<ListedApp> apps(const QList<ExternalItem>& items, const QStringList& hiddenBundles,
                                 const std::optional<QString>& ownBundle, const QString& language);

    // Asks where to save the last scan's report, in the interface language, and writes it
    // in one step; the outcome goes to the store's notice. A cancelled panel changes nothing.
    void saveReport();

    // The section on show for a value of the store's `section`: anything unknown is About.
    static Section sectionFor(int section);

protected:
    void changeEvent(QEvent* event) override;

private:
    struct Parts;

    void build();
    void render();

    std::unique_ptr<ViewContext> m_context;
    std::unique_ptr<Parts> m_parts;
};

} // namespace tk
