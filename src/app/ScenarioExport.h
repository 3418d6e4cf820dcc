#pragma once

#include "app/DesktopServices.h"
#include "core/Rect.h"
#include "inspection/Accessibility.h"
#include "inspection/Workspace.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QString>
#include <optional>

namespace tk {

// Passes every request on to another accessibility interface and keeps what it answered,
// element by element, so that what a scan saw can be written down again. Never prompts.
class RecordingAccessibility final : public Accessibility {
public:
    // What one element answered; only what was asked is known.
    struct Answers {
        QHash<QString, AXAttribute> attributes;
        std::optional<std::optional<QStringList>> actions;
        std::optional<AXSettable> settable;
        // Every round trip to the element, however many attributes it asked for: when it
        // was made among all the recording saw, and whether an answer came back in time.
        struct Request {
            qint64 sequence = 0;
            bool answered = false;
        };
        QList<Request> requests;
    };

    explicit RecordingAccessibility(Accessibility& inner) : m_inner(inner) {}

    AXElementRef applicationElement(qint32 pid) override;
    void setMessagingTimeout(const AXElementRef& element, double seconds) override;
    AXAttribute attribute(const AXElementRef& element, const QString& name) override;
    // Passed on as one request, each answer kept as a single read's would be.
    QList<AXAttribute> attributes(const AXElementRef& element, const QStringList& names) override;
    std::optional<QStringList> actionNames(const AXElementRef& element) override;
    AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) override;
    // A recording never acts: what it writes down must stay what the scan saw.
    qint32 performAction(const AXElementRef&, const QString&) override
    {
        return AXResult::cannotComplete;
    }
    bool isProcessTrusted() override { return m_inner.isProcessTrusted(); }
    bool promptForTrust() override { return m_inner.isProcessTrusted(); }

    // Nothing when the element was never asked anything.
    std::optional<Answers> answers(const AXElementRef& element) const;
    // The element's answers, with the request just made noted; the lock is held.
    Answers& noteRequest(const AXElementRef& element, bool answered);
    AXElementRef application(qint32 pid) const;

private:
    Accessibility& m_inner;
    mutable QMutex m_mutex;
    QHash<const AXElement*, Answers> m_answers;
    qint64 m_requests = 0;
    QHash<qint32, AXElementRef> m_applications;
    QList<AXElementRef> m_kept; // the keys stay valid while the recording lives
};

// The desktop around a scan, as the export writes it.
struct ExportedDesktop {
    QList<ScreenInfo> screens;
    QList<RunningApplication> applications; // in the order the scan walked them
    qint32 ownPid = 0;
    std::optional<qint32> frontmost; // the application whose menus the menu bar shows
    std::optional<Rect> ownIcon; // accessibility space
    bool trusted = false;
    bool frameworkAvailable = true; // the private visibility framework is present and loads
};

namespace ScenarioExport {

// A scenario file that gives the same scan: what the recording read, and nothing more.
QByteArray write(const RecordingAccessibility& recording, const ExportedDesktop& desktop);

// The bound of a scenario file that `json` goes beyond, named ("at most 16 screens"), so
// that nothing is written that the loader would refuse; nothing when it keeps within all.
std::optional<QString> beyondLoaderLimits(const QByteArray& json);

// Said, in the interface language, when a desktop goes beyond a bound; %1 names it.
inline const QString beyondLimitsNotice =
    QStringLiteral("No se exportó el escritorio: supera los límites de un escenario (%1).");

// Writes `json` to `path` in one step. Refuses to replace anything but a regular file;
// the reason when it could not be written.
std::optional<QString> save(const QString& path, const QByteArray& json);

} // namespace ScenarioExport

} // namespace tk
