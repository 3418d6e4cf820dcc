#include "Rect.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

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

constexpr qsizetype maxNumberSize = 32; // "-2.2250738585072014e-308" is the longest

char16_t* writeLiteral(char16_t* out, std::u16string_view text)
{
    return std::copy(text.begin(), text.end(), out);
}

char16_t* writeShortestNumber(char16_t* out, double value)
{
    if (value == 0.0) {
        *out = u'0'; // -0 as well
        return out + 1;
    }
    // Whole numbers of at most four digits read the same in every form, and they are nearly
    // every coordinate a screen has: written digit by digit, without the general conversion.
    if (std::abs(value) < 10000.0 && value == std::trunc(value))
        return writeWholeNumber(out, qint64(value));
    const QString text = QString::number(value, 'g', QLocale::FloatingPointShortest);
    return std::copy_n(text.utf16(), std::min(text.size(), maxNumberSize), out);
}

} // namespace

QString Rect::text() const
{
    std::array<char16_t, maxTextSize> text;
    return QStringView(text.data(), writeText(text.data())).toString();
}

char16_t* Rect::writeText(char16_t* out) const
{
    out = writeLiteral(out, u"{{");
    out = writeShortestNumber(out, x);
    out = writeLiteral(out, u", ");
    out = writeShortestNumber(out, y);
    out = writeLiteral(out, u"}, {");
    out = writeShortestNumber(out, width);
    out = writeLiteral(out, u", ");
    out = writeShortestNumber(out, height);
    return writeLiteral(out, u"}}");
}

char16_t* writeWholeNumber(char16_t* out, qint64 number)
{
    std::array<char16_t, maxWholeNumberSize> text{}; // filled from the end
    auto first = text.end();
    quint64 rest = number < 0 ? 0 - quint64(number) : quint64(number);
    do {
        *--first = char16_t(u'0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (number < 0)
        *--first = u'-';
    return std::copy(first, text.end(), out);
}

QString shortestNumber(double value)
{
    std::array<char16_t, maxNumberSize> text;
    return QStringView(text.data(), writeShortestNumber(text.data(), value)).toString();
}

} // namespace tk
