#include "SightPolicy.h"

namespace tk {

namespace SightPolicy {

namespace {

using namespace Qt::StringLiterals;

bool usable(const Rect& frame)
{
    return frame.isFinite() && frame.width > 0.0 && frame.height > 0.0;
}

bool overlapsInY(const Rect& a, const Rect& b)
{
    return a.minY() < b.maxY() && a.maxY() > b.minY();
}

bool overlaps(const Rect& a, const Rect& b)
{
    return a.minX() < b.maxX() && a.maxX() > b.minX() && overlapsInY(a, b);
}

} // namespace

std::optional<Reason> reason(const std::optional<Rect>& frame, const QList<Screen>& screens,
                             const std::optional<Rect>& menus)
{
    if (!frame || !usable(frame->standardized()))
        return std::nullopt;
    const Rect item = frame->standardized();
    const Screen* on = nullptr;
    for (const Screen& screen : screens) {
        if (overlaps(item, screen.frame)) {
            on = &screen;
            break;
        }
    }
    if (!on)
        return Reason::OffScreen;
    if (on->notch && overlapsInY(item, *on->notch) && item.minX() < on->notch->maxX())
        return Reason::UnderNotch;
    if (menus && overlaps(item, *menus))
        return Reason::CoveredByMenus;
    return std::nullopt;
}

QString reasonWord(Reason reason)
{
    switch (reason) {
    case Reason::UnderNotch:
        return u"under-notch"_s;
    case Reason::CoveredByMenus:
        return u"covered"_s;
    case Reason::OffScreen:
        break;
    }
    return u"off-screen"_s;
}

QString reasonText(Reason reason)
{
    switch (reason) {
    case Reason::UnderNotch:
        return u"bajo la muesca"_s;
    case Reason::CoveredByMenus:
        return u"tapado por los menús"_s;
    case Reason::OffScreen:
        break;
    }
    return u"fuera de la pantalla"_s;
}

} // namespace SightPolicy

} // namespace tk
