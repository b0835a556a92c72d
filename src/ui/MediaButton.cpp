#include "ui/MediaButton.h"

#include "ui/SymbolIcons.h"

#include <QPainter>

MediaButton::MediaButton(const QString& icon, double size, const QColor& color, QWidget* parent)
    : QAbstractButton(parent)
    , m_icon(icon)
    , m_size(size)
    , m_color(color)
{
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setFixedSize(sizeHint());
}

void MediaButton::setIconName(const QString& icon)
{
    if (icon == m_icon)
        return;
    m_icon = icon;
    update();
}

QColor MediaButton::fillColor() const
{
    if (isEnabled())
        return m_color;
    QColor grey(Qt::gray);
    grey.setAlphaF(0.3f);
    return grey;
}

QColor MediaButton::symbolColor() const
{
    return isEnabled() ? QColor(Qt::black) : QColor(Qt::gray);
}

QSize MediaButton::sizeHint() const
{
    const int side = qCeil(m_size);
    return {side, side};
}

bool MediaButton::hitButton(const QPoint& pos) const
{
    const QPointF centre = QRectF(rect()).center();
    const QPointF offset = QPointF(pos) - centre;
    return offset.x() * offset.x() + offset.y() * offset.y() <= (m_size / 2) * (m_size / 2);
}

void MediaButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle((width() - m_size) / 2, (height() - m_size) / 2, m_size, m_size);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fillColor());
    painter.drawEllipse(circle);

    const int symbolSize = qRound(m_size * 0.45);
    const QPixmap symbol = tintedSymbol(m_icon, symbolSize, symbolColor(), devicePixelRatioF());
    const QPointF topLeft = circle.center() - QPointF(symbolSize / 2.0, symbolSize / 2.0);
    painter.drawPixmap(topLeft, symbol);
}
