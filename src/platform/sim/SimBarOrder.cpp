#include "SimBarOrder.h"

namespace tk {

SimBarOrder::SimBarOrder(const QList<SimBarKey>& remembered)
{
    for (const SimBarKey& key : remembered)
        remember(key);
}

void SimBarOrder::remember(const SimBarKey& key)
{
    if (m_known.contains(key))
        return;
    m_known.insert(key);
    m_keys.append(key);
}

void SimBarOrder::placeLeftOf(const SimBarKey& key, const std::optional<SimBarKey>& neighbour)
{
    m_keys.removeOne(key);
    m_known.insert(key);
    const qsizetype right = neighbour ? m_keys.indexOf(*neighbour) : -1;
    m_keys.insert(right + 1, key);
}

} // namespace tk
