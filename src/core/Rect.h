#pragma once

#include <QString>

namespace tk {

// A rectangle in points. The same type serves every coordinate space; which one a
// value lives in is said where it is produced (accessibility space: origin at the
// top-left of the primary screen, y down; screen space: origin bottom-left, y up).
struct Rect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    static Rect null();     // the "no rectangle" value: origin at +infinity, zero size
    static Rect infinite(); // covers every point

    bool isNull() const;
    bool isInfinite() const;
    bool isFinite() const; // every component is a finite number
    bool isEmpty() const;  // null, or no width or no height

    // Same area with non-negative width and height.
    Rect standardized() const;

    double minX() const { return standardized().x; }
    double minY() const { return standardized().y; }
    double maxX() const;
    double maxY() const;
    double midX() const { return (minX() + maxX()) / 2.0; }
    double midY() const { return (minY() + maxY()) / 2.0; }

    // "{{x, y}, {width, height}}", each number in its shortest form ("10", "0.5").
    QString text() const;
    // The same text written from `out` on, which has room for `maxTextSize` characters;
    // returns the end of what was written.
    char16_t* writeText(char16_t* out) const;
    static constexpr qsizetype maxTextSize = 140; // four numbers of at most 32, and the marks

    friend bool operator==(const Rect&, const Rect&) = default;
};

// The shortest text that reads back as the same double; integral values carry no point.
QString shortestNumber(double value);

// The decimal digits of `number`, after "-" when it is negative, written from `out` on, which
// has room for `maxWholeNumberSize` characters; returns the end of what was written.
char16_t* writeWholeNumber(char16_t* out, qint64 number);
constexpr qsizetype maxWholeNumberSize = 20; // a sign and the 19 digits of 2^63

} // namespace tk
