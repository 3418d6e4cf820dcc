#pragma once

#include "control/ControlProtocol.h"

#include <functional>
#include <optional>

namespace tk {

// A refusal's reason, or nothing when the request was carried out.
using ControlOutcome = std::optional<ControlText>;

// What the control interface may do with the application: the operations its click, its menu
// entries and its hidden-icons entries do, and its status. The application implements it.
// Each operation calls `done` once, on a later turn of the main thread, when the application
// is at rest again (no scan under way, no hiding request outstanding).
class ControlOperations {
public:
    using Done = std::function<void(const ControlOutcome&)>;

    virtual ~ControlOperations() = default;

    virtual void collapse(Done done) = 0; // only when shown
    virtual void expand(Done done) = 0;   // only when hidden
    virtual void toggle(Done done) = 0;
    virtual void showAll(Done done) = 0;
    // Refused when `application` is not among the hidden applications.
    virtual void reveal(const QString& application, Done done) = 0;

    virtual ControlStatus status() const = 0; // the message in Spanish, as a key
    virtual QString language() const = 0;     // the interface language
};

} // namespace tk
