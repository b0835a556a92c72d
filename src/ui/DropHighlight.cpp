#include "ui/DropHighlight.h"

#include <QPainter>
#include <QWidget>

void paintDropHighlight(QWidget& widget, qreal inset, qreal radius)
{
    QPainter painter(&widget);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor accent = widget.palette().color(QPalette::Highlight);
    painter.setPen(QPen(accent, 2, Qt::DashLine));
    accent.setAlphaF(0.12f);
    painter.setBrush(accent);
    painter.drawRoundedRect(QRectF(widget.rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
}
