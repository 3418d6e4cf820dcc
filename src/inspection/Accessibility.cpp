#include "Accessibility.h"

namespace tk {

QList<AXAttribute> Accessibility::attributes(const AXElementRef& element, const QStringList& names)
{
    QList<AXAttribute> answers;
    answers.reserve(names.size());
    for (const QString& name : names)
        answers.append(attribute(element, name));
    return answers;
}

} // namespace tk
