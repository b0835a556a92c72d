// The highlight a drop target draws while files are dragged over it: a dashed outline in
// the accent colour over a faint wash of it.
#pragma once

#include <QtGlobal>

class QWidget;

// Paints into `widget` (call from its paintEvent); `inset` and `radius` in points.
void paintDropHighlight(QWidget& widget, qreal inset, qreal radius);
