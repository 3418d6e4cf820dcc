#include "MacAccessibility.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

namespace tk {

namespace {

// Owns one reference to an accessibility element for as long as any holder keeps it.
class MacAXElement final : public AXElement {
public:
    // Takes over a reference the caller owns (from a Create or Copy call).
    static AXElementRef adopt(AXUIElementRef owned)
    {
        return std::make_shared<MacAXElement>(owned);
    }
    // Keeps an element the caller does not own (an entry of a list, a borrowed value).
    static AXElementRef retain(AXUIElementRef borrowed)
    {
        return adopt(static_cast<AXUIElementRef>(CFRetain(borrowed)));
    }

    explicit MacAXElement(AXUIElementRef owned) : m_element(owned) {}
    ~MacAXElement() override { CFRelease(m_element); }
    MacAXElement(const MacAXElement&) = delete;
    MacAXElement& operator=(const MacAXElement&) = delete;

    AXUIElementRef ref() const { return m_element; }

private:
    AXUIElementRef m_element;
};

AXUIElementRef refOf(const AXElementRef& element)
{
    const auto* mac = dynamic_cast<const MacAXElement*>(element.get());
    return mac ? mac->ref() : nullptr;
}

// A CFString made from a QString, released when it goes out of scope.
class CFName {
public:
    explicit CFName(const QString& name) : m_string(name.toCFString()) {}
    ~CFName() { CFRelease(m_string); }
    CFName(const CFName&) = delete;
    CFName& operator=(const CFName&) = delete;
    operator CFStringRef() const { return m_string; }

private:
    CFStringRef m_string;
};

void translateValue(AXValueRef value, AXAttribute& out)
{
    switch (AXValueGetType(value)) {
    case kAXValueTypeCGPoint: {
        out.kind = AXAttribute::Kind::PointValue;
        CGPoint point;
        if (AXValueGetValue(value, kAXValueTypeCGPoint, &point))
            out.point = QPointF(point.x, point.y);
        break;
    }
    case kAXValueTypeCGSize: {
        out.kind = AXAttribute::Kind::SizeValue;
        CGSize size;
        if (AXValueGetValue(value, kAXValueTypeCGSize, &size))
            out.size = QSizeF(size.width, size.height);
        break;
    }
    default:
        out.kind = AXAttribute::Kind::OtherValue;
    }
}

void translateArray(CFArrayRef array, AXAttribute& out)
{
    QList<AXElementRef> elements;
    const CFIndex count = CFArrayGetCount(array);
    for (CFIndex i = 0; i < count; ++i) {
        const CFTypeRef entry = CFArrayGetValueAtIndex(array, i);
        if (!entry || CFGetTypeID(entry) != AXUIElementGetTypeID()) {
            out.kind = AXAttribute::Kind::Other;
            return;
        }
        elements << MacAXElement::retain(static_cast<AXUIElementRef>(entry));
    }
    out.kind = AXAttribute::Kind::ElementList;
    out.elements = std::move(elements);
}

// Reads a value the caller still owns; takes its own references to what it keeps.
void translate(CFTypeRef value, AXAttribute& out)
{
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) {
        out.kind = AXAttribute::Kind::String;
        out.string = QString::fromCFString(static_cast<CFStringRef>(value));
    } else if (type == AXUIElementGetTypeID()) {
        out.kind = AXAttribute::Kind::Element;
        out.element = MacAXElement::retain(static_cast<AXUIElementRef>(value));
    } else if (type == CFArrayGetTypeID()) {
        translateArray(static_cast<CFArrayRef>(value), out);
    } else if (type == AXValueGetTypeID()) {
        translateValue(static_cast<AXValueRef>(value), out);
    } else {
        out.kind = AXAttribute::Kind::Other;
    }
}

// An array of the names, released when it goes out of scope.
class CFNames {
public:
    explicit CFNames(const QStringList& names)
        : m_array(CFArrayCreateMutable(kCFAllocatorDefault, names.size(), &kCFTypeArrayCallBacks))
    {
        for (const QString& name : names)
            CFArrayAppendValue(m_array, CFName(name));
    }
    ~CFNames() { CFRelease(m_array); }
    CFNames(const CFNames&) = delete;
    CFNames& operator=(const CFNames&) = delete;
    operator CFArrayRef() const { return m_array; }

private:
    CFMutableArrayRef m_array;
};

// One entry of a multiple-attribute answer: a value, an error value holding the attribute's
// own result, or a null where the attribute has none.
AXAttribute translateEntry(CFTypeRef entry)
{
    AXAttribute out;
    if (!entry || CFGetTypeID(entry) == CFNullGetTypeID()) {
        out.error = kAXErrorNoValue;
        return out;
    }
    if (CFGetTypeID(entry) == AXValueGetTypeID() &&
        AXValueGetType(static_cast<AXValueRef>(entry)) == kAXValueTypeAXError) {
        AXError error = kAXErrorFailure;
        AXValueGetValue(static_cast<AXValueRef>(entry), kAXValueTypeAXError, &error);
        out.error = error;
        return out;
    }
    translate(entry, out);
    return out;
}

} // namespace

AXElementRef MacAccessibility::applicationElement(qint32 pid)
{
    const AXUIElementRef application = AXUIElementCreateApplication(static_cast<pid_t>(pid));
    return application ? MacAXElement::adopt(application) : nullptr;
}

void MacAccessibility::setMessagingTimeout(const AXElementRef& element, double seconds)
{
    if (const AXUIElementRef ref = refOf(element))
        AXUIElementSetMessagingTimeout(ref, static_cast<float>(seconds));
}

AXAttribute MacAccessibility::attribute(const AXElementRef& element, const QString& name)
{
    AXAttribute result;
    const AXUIElementRef ref = refOf(element);
    if (!ref) {
        result.error = kAXErrorIllegalArgument;
        return result;
    }
    CFTypeRef value = nullptr;
    result.error = AXUIElementCopyAttributeValue(ref, CFName(name), &value);
    if (result.error == kAXErrorSuccess && value)
        translate(value, result);
    if (value)
        CFRelease(value);
    return result;
}

// Every attribute keeps its own result: the request does not stop at the first error.
QList<AXAttribute> MacAccessibility::attributes(const AXElementRef& element,
                                                const QStringList& names)
{
    AXAttribute whole;
    const AXUIElementRef ref = refOf(element);
    CFArrayRef values = nullptr;
    whole.error = ref ? AXUIElementCopyMultipleAttributeValues(
                                 ref, CFNames(names), AXCopyMultipleAttributeOptions(0), &values)
                      : kAXErrorIllegalArgument;
    if (whole.error == kAXErrorSuccess && !values)
        whole.error = kAXErrorFailure;
    QList<AXAttribute> answers;
    answers.reserve(names.size());
    const CFIndex count = whole.error == kAXErrorSuccess ? CFArrayGetCount(values) : 0;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (i < count) {
            answers.append(translateEntry(CFArrayGetValueAtIndex(values, CFIndex(i))));
        } else {
            answers.append(whole);
            if (whole.error == kAXErrorSuccess)
                answers.last().error = kAXErrorFailure;
        }
    }
    if (values)
        CFRelease(values);
    return answers;
}

std::optional<QStringList> MacAccessibility::actionNames(const AXElementRef& element)
{
    const AXUIElementRef ref = refOf(element);
    CFArrayRef names = nullptr;
    if (!ref || AXUIElementCopyActionNames(ref, &names) != kAXErrorSuccess || !names) {
        if (names)
            CFRelease(names);
        return std::nullopt;
    }
    std::optional<QStringList> list = QStringList();
    const CFIndex count = CFArrayGetCount(names);
    for (CFIndex i = 0; i < count && list; ++i) {
        const CFTypeRef entry = CFArrayGetValueAtIndex(names, i);
        if (entry && CFGetTypeID(entry) == CFStringGetTypeID())
            list->append(QString::fromCFString(static_cast<CFStringRef>(entry)));
        else
            list.reset();
    }
    CFRelease(names);
    return list;
}

AXSettable MacAccessibility::isAttributeSettable(const AXElementRef& element, const QString& name)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return {kAXErrorIllegalArgument, false};
    Boolean settable = false;
    const AXError error = AXUIElementIsAttributeSettable(ref, CFName(name), &settable);
    return {error, settable != 0};
}

qint32 MacAccessibility::performAction(const AXElementRef& element, const QString& name)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return kAXErrorIllegalArgument;
    return AXUIElementPerformAction(ref, CFName(name));
}

bool MacAccessibility::isProcessTrusted()
{
    return AXIsProcessTrusted();
}

bool MacAccessibility::promptForTrust()
{
    const void* keys[] = {kAXTrustedCheckOptionPrompt};
    const void* values[] = {kCFBooleanTrue};
    const CFDictionaryRef options =
        CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks);
    const bool trusted = AXIsProcessTrustedWithOptions(options);
    CFRelease(options);
    return trusted;
}

} // namespace tk
