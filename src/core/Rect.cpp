#include "Rect.h"

#include <QLocale>

#include <array>
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

namespace {

// Whole numbers of at most four digits read the same in every form, and they are nearly
// every coordinate a screen has: written digit by digit, without the general conversion.
bool appendSmallWholeNumber(QString& out, double value)
{
    if (!(std::abs(value) < 10000.0) || value != std::trunc(value))
        return false;
    int whole = int(std::abs(value));
    std::array<QChar, 5> text{}; // a sign and four digits, filled from the end
    std::size_t first = text.size();
    do {
        text[--first] = QChar(char16_t(u'0' + whole % 10));
        whole /= 10;
    } while (whole != 0);
    if (value < 0)
        text[--first] = QLatin1Char('-');
    out.append(text.data() + first, qsizetype(text.size() - first));
    return true;
}

void appendShortestNumber(QString& out, double value)
{
    if (value == 0.0)
        out += QLatin1Char('0'); // -0 as well
    else if (!appendSmallWholeNumber(out, value))
        out += QString::number(value, 'g', QLocale::FloatingPointShortest);
}

} // namespace

QString Rect::text() const
{
    QString out;
    out.reserve(32);
    appendText(out);
    return out;
}

void Rect::appendText(QString& out) const
{
    out += u"{{";
    appendShortestNumber(out, x);
    out += u", ";
    appendShortestNumber(out, y);
    out += u"}, {";
    appendShortestNumber(out, width);
    out += u", ";
    appendShortestNumber(out, height);
    out += u"}}";
}

QString shortestNumber(double value)
{
    QString out;
    appendShortestNumber(out, value);
    return out;
}

} // namespace tk
