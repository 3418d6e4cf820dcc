#pragma once

#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace tk {

// An accessibility element of another process. Opaque: only the accessibility
// implementation that made it can read it. Held for as long as a reference lives.
class AXElement {
public:
    virtual ~AXElement() = default;
};
using AXElementRef = std::shared_ptr<const AXElement>;

// Result codes of the accessibility interface that the system relies on.
namespace AXResult {
constexpr qint32 success = 0;
constexpr qint32 failure = -25200;
constexpr qint32 illegalArgument = -25201;
constexpr qint32 invalidUIElement = -25202; // the element's application has quit
constexpr qint32 cannotComplete = -25204; // includes "did not answer within the messaging timeout"
constexpr qint32 attributeUnsupported = -25205;
constexpr qint32 actionUnsupported = -25206;
constexpr qint32 apiDisabled = -25211; // this process is not trusted, checked on every request
constexpr qint32 noValue = -25212;
} // namespace AXResult

// One attribute read, as the interface gave it.
struct AXAttribute {
    enum class Kind {
        Nothing,      // the read failed or yielded no value
        String,
        Element,
        ElementList,  // a list whose entries are all elements
        PointValue,   // an accessibility value of the point kind
        SizeValue,    // an accessibility value of the size kind
        OtherValue,   // an accessibility value of another kind
        Other,        // anything else (a number, a list with other entries, ...)
    };

    qint32 error = AXResult::success;
    Kind kind = Kind::Nothing;
    QString string;
    AXElementRef element;
    QList<AXElementRef> elements;
    std::optional<QPointF> point; // PointValue whose coordinates could be extracted
    std::optional<QSizeF> size;   // SizeValue whose extent could be extracted
};

struct AXSettable {
    qint32 error = AXResult::success;
    bool settable = false; // false whenever the query did not answer
};

// The accessibility interface of the platform. Every call may come from any thread;
// each is a synchronous request to another process, bounded by the element's
// messaging timeout.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    virtual AXElementRef applicationElement(qint32 pid) = 0;
    virtual void setMessagingTimeout(const AXElementRef& element, double seconds) = 0;
    virtual AXAttribute attribute(const AXElementRef& element, const QString& name) = 0;
    // Several attributes of one element in one request, each with its own result, in the
    // order of `names`. A request that fails as a whole gives its failure to every one.
    // Here one read after another; an interface that can ask for them at once does.
    virtual QList<AXAttribute> attributes(const AXElementRef& element, const QStringList& names);
    // Nothing when the names cannot be read or are not all strings.
    virtual std::optional<QStringList> actionNames(const AXElementRef& element) = 0;
    virtual AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) = 0;
    // Asks the element to perform one of its actions ("AXPress", "AXShowMenu", ...);
    // answers the result code. The element's application may act on it after answering.
    virtual qint32 performAction(const AXElementRef& element, const QString& name) = 0;

    // Whether this copy of the application may use the interface.
    virtual bool isProcessTrusted() = 0;
    // Shows the system's prompt to grant access (when not yet trusted); answers the
    // trust state at the time of the call.
    virtual bool promptForTrust() = 0;
};

} // namespace tk
