#include "SightPolicy.h"

#include <array>
#include <string_view>
#include <utility>

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

// By reason, in the order of the enumeration: the session's word and the interface's key.
constexpr std::array<std::pair<std::u16string_view, std::u16string_view>, 3> reasonNames{{
    {u"under-notch", u"bajo la muesca"},
    {u"covered", u"tapado por los menús"},
    {u"off-screen", u"fuera de la pantalla"},
}};

QString reasonWord(Reason reason)
{
    const std::u16string_view word = reasonNames.at(std::size_t(reason)).first;
    return QString::fromUtf16(word.data(), qsizetype(word.size()));
}

QString reasonText(Reason reason)
{
    const std::u16string_view text = reasonNames.at(std::size_t(reason)).second;
    return QString::fromUtf16(text.data(), qsizetype(text.size()));
}

} // namespace SightPolicy

} // namespace tk
