#include "VisibilityPolicy.h"

#include <algorithm>

namespace tk {

namespace VisibilityPolicy {

const QSet<QString>& protectedBundles()
{
    static const QSet<QString> bundles{
        QStringLiteral("com.apple.controlcenter"),   QStringLiteral("com.apple.systemuiserver"),
        QStringLiteral("com.apple.menuextra.clock"), QStringLiteral("com.apple.Siri"),
        QStringLiteral("com.apple.Spotlight"),       QStringLiteral("com.apple.loginwindow"),
    };
    return bundles;
}

namespace {

// QString compares UTF-16 code units, which puts characters beyond the basic plane
// before U+E000..U+FFFF; comparing code points keeps scalar-value order for all.
bool scalarLess(const QString& a, const QString& b)
{
    const QList<uint> left = a.toUcs4();
    const QList<uint> right = b.toUcs4();
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
}

} // namespace

QStringList allowed(const QSet<QString>& running, const QSet<QString>& hidden, const QString& own)
{
    const QSet<QString> targets = QSet<QString>(hidden).subtract(protectedBundles());
    QSet<QString> result = QSet<QString>(running).subtract(targets);
    result.unite(protectedBundles());
    result.insert(own);
    QStringList list(result.begin(), result.end());
    std::sort(list.begin(), list.end(), scalarLess);
    return list;
}

} // namespace VisibilityPolicy

} // namespace tk
