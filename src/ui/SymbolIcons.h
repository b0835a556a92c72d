// The icons of the window by their symbol names ("play.fill", "record.circle", ...): a QStyle
// standard icon where one fits, else one of our own SVGs from resources/icons. Icons are
// drawn as one-colour silhouettes, so that a button can paint them black, white or grey.
// Main thread only (they paint pixmaps).
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

// The icon for a symbol name; a null icon for a name without one.
QIcon symbolIcon(const QString& symbolName);

// The icon's silhouette in `color`, `size` device-independent pixels square, at the given
// device pixel ratio.
QPixmap tintedSymbol(const QString& symbolName, int size, const QColor& color, qreal devicePixelRatio = 1.0);
