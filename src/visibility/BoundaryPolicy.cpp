#include "BoundaryPolicy.h"

#include "visibility/VisibilityPolicy.h"

#include <QMap>
#include <QStringList>
#include <cmath>

namespace tk {

namespace BoundaryPolicy {

namespace {

// Where one icon stands against the boundary.
enum class Place { Left, Right, OtherRow, NoFrame };

bool isUsableBoundary(const Rect& boundary)
{
    const Rect r = boundary.standardized();
    // Written so that a NaN size counts as unusable.
    if (!(r.width > 0.0) || !(r.height > 0.0))
        return false;
    return !boundary.isInfinite() && !boundary.isNull();
}

Place placeOf(const std::optional<Rect>& frame, const Rect& boundary)
{
    if (!frame)
        return Place::NoFrame;
    const Rect r = frame->standardized();
    if (!(r.width > 0.0) || !(r.height > 0.0))
        return Place::NoFrame;
    if (!std::isfinite(r.minX()) || !std::isfinite(r.minY()))
        return Place::NoFrame;
    if (!(r.minY() < boundary.maxY() && r.maxY() > boundary.minY()))
        return Place::OtherRow;
    return r.maxX() <= boundary.minX() ? Place::Left : Place::Right;
}

std::optional<Reason> identityReason(const QString& bundle, const QString& own)
{
    // The protected identifiers are system items too: the narrower reason is told.
    if (VisibilityPolicy::protectedBundles().contains(bundle))
        return Reason::Protected;
    if (bundle.startsWith(QLatin1String("com.apple.")))
        return Reason::System;
    if (!own.isEmpty() && bundle == own)
        return Reason::Own;
    return std::nullopt;
}

Reason positionReason(const QList<Place>& places)
{
    if (places.contains(Place::NoFrame))
        return Reason::NoFrame;
    if (places.contains(Place::OtherRow))
        return Reason::OtherRow;
    if (!places.contains(Place::Right))
        return Reason::Hidden;
    return places.contains(Place::Left) ? Reason::BothSides : Reason::Right;
}

struct Naming {
    Reason reason;
    const char16_t* word;
    const char16_t* text;
};

constexpr Naming namings[] = {
    {Reason::Hidden, u"hidden", u"Oculta: todos sus iconos están a la izquierda del nuestro."},
    {Reason::System, u"system", u"Visible: es un elemento del sistema."},
    {Reason::Protected, u"protected", u"Visible: es un proceso del sistema protegido."},
    {Reason::Own, u"own", u"Visible: es Tuckaway."},
    {Reason::Right, u"right", u"Visible: sus iconos están a la derecha del nuestro."},
    {Reason::BothSides, u"both-sides", u"Visible: tiene iconos a ambos lados del nuestro."},
    {Reason::OtherRow, u"other-row", u"Visible: tiene un icono en otra fila."},
    {Reason::NoFrame, u"no-frame", u"Visible: tiene un icono sin posición legible."},
    {Reason::NoBoundary, u"no-boundary", u"Visible: no se puede leer la posición de nuestro icono."},
};

const Naming& naming(Reason reason)
{
    for (const Naming& entry : namings) {
        if (entry.reason == reason)
            return entry;
    }
    return namings[0];
}

} // namespace

QList<Decision> decisions(const QList<PositionedItem>& items, const Rect& boundary,
                          const QString& own)
{
    const bool usable = isUsableBoundary(boundary);
    QMap<QString, QList<Place>> places;
    for (const PositionedItem& item : items)
        places[item.bundle].append(usable ? placeOf(item.frame, boundary) : Place::NoFrame);
    QList<Decision> result;
    for (auto it = places.cbegin(); it != places.cend(); ++it) {
        const std::optional<Reason> identity = identityReason(it.key(), own);
        const Reason reason = identity ? *identity
                              : usable ? positionReason(it.value())
                                       : Reason::NoBoundary;
        result.append({it.key(), reason});
    }
    return result;
}

QSet<QString> hidden(const QList<PositionedItem>& items, const Rect& boundary)
{
    QSet<QString> result;
    for (const Decision& decision : decisions(items, boundary)) {
        if (decision.hidden())
            result.insert(decision.bundle);
    }
    return result;
}

QString reasonWord(Reason reason)
{
    return QString::fromUtf16(naming(reason).word);
}

std::optional<Reason> reasonNamed(const QString& word)
{
    for (const Naming& entry : namings) {
        if (word == QStringView(entry.word))
            return entry.reason;
    }
    return std::nullopt;
}

const QStringList& reasonWords()
{
    static const QStringList words = [] {
        QStringList all;
        for (const Naming& entry : namings)
            all << QString::fromUtf16(entry.word);
        return all;
    }();
    return words;
}

QString reasonText(Reason reason)
{
    return QString::fromUtf16(naming(reason).text);
}

} // namespace BoundaryPolicy

} // namespace tk
