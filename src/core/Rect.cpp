#include "Rect.h"

#include <QLocale>

#include <cmath>
#include <limits>

namespace tk {

Rect Rect::null()
{
    const double inf = std::numeric_limits<double>::infinity();
    return {inf, inf, 0.0, 0.0};
}

Rect Rect::infinite()
{
    const double big = std::numeric_limits<double>::max();
    return {-big / 2.0, -big / 2.0, big, big};
}

// As the platform tests it: either coordinate at positive infinity.
bool Rect::isNull() const
{
    const double inf = std::numeric_limits<double>::infinity();
    return x == inf || y == inf;
}

bool Rect::isInfinite() const
{
    return *this == infinite();
}

bool Rect::isFinite() const
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(width) && std::isfinite(height);
}

bool Rect::isEmpty() const
{
    return isNull() || width == 0.0 || height == 0.0;
}

Rect Rect::standardized() const
{
    if (isNull())
        return *this;
    Rect r = *this;
    if (r.width < 0) {
        r.x += r.width;
        r.width = -r.width;
    }
    if (r.height < 0) {
        r.y += r.height;
        r.height = -r.height;
    }
    return r;
}

double Rect::maxX() const
{
    const Rect r = standardized();
    return r.x + r.width;
}

double Rect::maxY() const
{
    const Rect r = standardized();
    return r.y + r.height;
}

QString Rect::text() const
{
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(shortestNumber(x), shortestNumber(y), shortestNumber(width), shortestNumber(height));
}

QString shortestNumber(double value)
{
    if (value == 0.0)
        return QStringLiteral("0"); // -0 as well
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

} // namespace tk
