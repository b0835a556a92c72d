// The 6-point divider between the sidebar and the editing area: a faint grey fill (stronger
// while the pointer is over it), the left-right resize cursor, and dragging that moves the
// split by the pointer's movement, clamped to 220 ... 420. Main thread only.
#pragma once

#include <QWidget>

#include <optional>

class ResizableSplitView;

class DividerHandle : public QWidget {
    Q_OBJECT

public:
    static constexpr int kWidth = 6;

    explicit DividerHandle(ResizableSplitView& splitView);

    bool isHovering() const { return m_isHovering; }
    // The fill's opacity: 0.08, or 0.14 while hovering.
    double fillOpacity() const { return m_isHovering ? 0.14 : 0.08; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    ResizableSplitView& m_splitView;
    bool m_isHovering = false;
    std::optional<double> m_lastDragX;
};
