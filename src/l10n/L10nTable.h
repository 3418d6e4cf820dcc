#pragma once

#include <QList>
#include <QPair>
#include <QString>

namespace tk {

namespace L10n::detail {

// Every (Spanish, English) pair of the interface, in a fixed order; `english()` and
// `fragments()` are built from it.
QList<QPair<QString, QString>> tableRows();

} // namespace L10n::detail

} // namespace tk
