#pragma once

#include "inspection/Accessibility.h"

namespace tk {

// The system's Accessibility C API. Every value read is checked for its type and handed
// on as it came; the rules about what to read and what a value means are portable code.
class MacAccessibility final : public Accessibility {
public:
    AXElementRef applicationElement(qint32 pid) override;
    void setMessagingTimeout(const AXElementRef& element, double seconds) override;
    AXAttribute attribute(const AXElementRef& element, const QString& name) override;
    QList<AXAttribute> attributes(const AXElementRef& element, const QStringList& names) override;
    std::optional<QStringList> actionNames(const AXElementRef& element) override;
    AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) override;
    qint32 performAction(const AXElementRef& element, const QString& name) override;

    bool isProcessTrusted() override;
    bool promptForTrust() override;
};

} // namespace tk
