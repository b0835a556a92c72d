// Left pane, 6-point divider, right pane in a row. The left pane is exactly leftWidth
// (initially 325, kept within 220 ... 420 by the divider), the right pane takes the rest;
// both are clipped to their areas. Main thread only.
#pragma once

#include <QWidget>

class DividerHandle;

class ResizableSplitView : public QWidget {
    Q_OBJECT

public:
    static constexpr double kInitialLeftWidth = 325;
    static constexpr double kMinimumLeftWidth = 220;
    static constexpr double kMaximumLeftWidth = 420;

    ResizableSplitView(QWidget* left, QWidget* right, QWidget* parent = nullptr);

    double leftWidth() const { return m_leftWidth; }
    // Clamps to 220 ... 420 and lays the panes out again.
    void setLeftWidth(double width);

    QWidget* leftPane() const { return m_left; }
    QWidget* rightPane() const { return m_right; }
    DividerHandle* divider() const { return m_divider; }
    // Puts `pane` where the left pane was; the old one is deleted.
    void replaceLeftPane(QWidget* pane);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layoutPanes();

    QWidget* m_left;
    QWidget* m_right;
    DividerHandle* m_divider;
    double m_leftWidth = kInitialLeftWidth;
};
