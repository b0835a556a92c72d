#include "ui/DividerHandle.h"

#include "ui/ResizableSplitView.h"

#include <QMouseEvent>
#include <QPainter>

DividerHandle::DividerHandle(ResizableSplitView& splitView)
    : QWidget(&splitView)
    , m_splitView(splitView)
{
    setObjectName(QStringLiteral("dividerHandle"));
    setAccessibleName(QStringLiteral("Resizable divider"));
    setCursor(Qt::SizeHorCursor);
    setMouseTracking(true);
    setAttribute(Qt::WA_Hover);
}

void DividerHandle::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QColor fill(Qt::gray);
    fill.setAlphaF(static_cast<float>(fillOpacity()));
    painter.fillRect(rect(), fill);
}

void DividerHandle::enterEvent(QEnterEvent*)
{
    m_isHovering = true;
    update();
}

void DividerHandle::leaveEvent(QEvent*)
{
    m_isHovering = false;
    update();
}

void DividerHandle::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_lastDragX = event->globalPosition().x();
}

void DividerHandle::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_lastDragX || !(event->buttons() & Qt::LeftButton))
        return;
    const double x = event->globalPosition().x();
    m_splitView.setLeftWidth(m_splitView.leftWidth() + (x - *m_lastDragX));
    m_lastDragX = x;
}

void DividerHandle::mouseReleaseEvent(QMouseEvent*)
{
    m_lastDragX.reset();
}
