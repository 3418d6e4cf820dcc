#pragma once

#include "platform/sim/SimScenario.h"

#include <QColor>
#include <QFont>
#include <QString>

// What drawing the simulated menu bar and drawing its open menus share: the colours of the
// light and the dark appearance, the bar's font, and the texts elements are named by.
namespace tk::SimMenuBarDrawing {

// The bar's and the menus' colours in the light or the dark appearance.
struct Colours {
    QColor bar;
    QColor barText;
    QColor highlight;
    QColor menu;
    QColor menuText;
    QColor menuLine; // its border and separators
};

Colours coloursFor(bool dark);
QFont barFont(double scale, bool bold = false);
// A text's string; empty for a text that is absent or of another type.
QString textOf(const SimText& text);

} // namespace tk::SimMenuBarDrawing
