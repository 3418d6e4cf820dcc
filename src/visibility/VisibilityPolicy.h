#pragma once

#include <QSet>
#include <QStringList>

namespace tk {

// Turns "hide these" into the allow-list the visibility framework wants, and names
// the system processes whose items are never hidden.
namespace VisibilityPolicy {

// Exact identifiers, case included.
const QSet<QString>& protectedBundles();

// Every running application that is not to be hidden, the protected identifiers
// whether they run or not, and `own`, each once, sorted by Unicode scalar values.
QStringList allowed(const QSet<QString>& running, const QSet<QString>& hidden, const QString& own);

} // namespace VisibilityPolicy

} // namespace tk
