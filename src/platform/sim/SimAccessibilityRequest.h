#pragma once

#include "inspection/Accessibility.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"

#include <QVarLengthArray>
#include <atomic>
#include <memory>

// What sending a request to a simulated application and answering it share.
namespace tk {

// An element of a simulated application: the process it belongs to and where it stands in
// that application's tree. It holds no answer: every request reads the desktop as it is
// at that moment, so an item that moved or came back between two reads is seen where it
// is, and an element of an application that has quit is no longer valid.
class SimAXElement final : public AXElement {
public:
    enum class Kind { Application, ExtrasMenuBar, Item, MenuBar, Menu };
    // Indices from the extras menu bar down to an item; room for the levels a scan visits.
    using Path = QVarLengthArray<qsizetype, 4>;

    SimAXElement(qint32 processId, std::shared_ptr<SimProcess> runningProcess, Kind elementKind,
                 Path elementPath = {})
        : pid(processId), process(std::move(runningProcess)), kind(elementKind),
          path(std::move(elementPath))
    {
    }

    // As on the Mac, an element read from another does not take over its messaging timeout.
    AXElementRef derived(Kind derivedKind, Path derivedPath = {}) const
    {
        return std::make_shared<SimAXElement>(pid, process, derivedKind, std::move(derivedPath));
    }

    const qint32 pid;
    const std::shared_ptr<SimProcess> process; // null: no process had the pid when it was made
    const Kind kind;
    const Path path; // for items
    mutable std::atomic<double> timeout{SimAccessibility::defaultMessagingTimeout};
};

// One request as the desktop stands when it is made. `error` says why it has no answer;
// otherwise `application` (and `item`, for an item) are what it answers from, kept alive
// by `world` for as long as the request lasts.
struct SimAXRequest {
    qint32 error = AXResult::success;
    std::shared_ptr<const SimWorldState> world;
    const SimAXElement* element = nullptr;
    const SimApplicationState* application = nullptr;
    const SimElement* item = nullptr;
};

// What the element of a request that reached it answers for one attribute.
AXAttribute answer(const SimAXRequest& request, const QString& name);

} // namespace tk
