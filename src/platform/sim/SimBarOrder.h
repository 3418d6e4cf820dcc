#pragma once

#include "platform/sim/SimScenario.h"

#include <QList>
#include <QSet>
#include <optional>

namespace tk {

// Where the menu bar remembers each item stood, right to left. An item keeps its place when
// its application quits, so that it stands there again when the application starts again and
// its neighbours keep their order meanwhile; an item never seen before joins at the left end.
class SimBarOrder {
public:
    explicit SimBarOrder(const QList<SimBarKey>& remembered = {});

    const QList<SimBarKey>& keys() const { return m_keys; }
    bool contains(const SimBarKey& key) const { return m_known.contains(key); }
    // At the left end, unless its place is remembered already.
    void remember(const SimBarKey& key);
    // Moves `key` just left of `neighbour`, or to the right end without one.
    void placeLeftOf(const SimBarKey& key, const std::optional<SimBarKey>& neighbour);

private:
    QList<SimBarKey> m_keys;
    QSet<SimBarKey> m_known;
};

} // namespace tk
