#include "ui/ResizableSplitView.h"

#include "ui/DividerHandle.h"

#include <QtMath>

ResizableSplitView::ResizableSplitView(QWidget* left, QWidget* right, QWidget* parent)
    : QWidget(parent)
    , m_left(left)
    , m_right(right)
    , m_divider(new DividerHandle(*this))
{
    setObjectName(QStringLiteral("resizableSplitView"));
    // Child widgets are always clipped to their own rectangles, so each pane stays in its area.
    m_left->setParent(this);
    m_right->setParent(this);
    layoutPanes();
}

void ResizableSplitView::setLeftWidth(double width)
{
    m_leftWidth = qBound(kMinimumLeftWidth, width, kMaximumLeftWidth);
    layoutPanes();
}

void ResizableSplitView::replaceLeftPane(QWidget* pane)
{
    delete m_left;
    m_left = pane;
    m_left->setParent(this);
    m_left->show();
    layoutPanes();
}

void ResizableSplitView::resizeEvent(QResizeEvent*)
{
    layoutPanes();
}

void ResizableSplitView::layoutPanes()
{
    const int left = qRound(m_leftWidth);
    m_left->setGeometry(0, 0, left, height());
    m_divider->setGeometry(left, 0, DividerHandle::kWidth, height());
    const int rightX = left + DividerHandle::kWidth;
    m_right->setGeometry(rightX, 0, qMax(0, width() - rightX), height());
}
