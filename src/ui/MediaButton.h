// A round transport button: a circle of `size` filled with its colour (grey at 30 % when
// disabled) and its symbol at 0.45 x size, black (grey when disabled). Plain, without
// platform chrome; takes no keyboard focus so that Space stays with the window.
#pragma once

#include <QAbstractButton>
#include <QColor>

class MediaButton : public QAbstractButton {
    Q_OBJECT

public:
    MediaButton(const QString& icon, double size, const QColor& color, QWidget* parent = nullptr);

    const QString& iconName() const { return m_icon; }
    void setIconName(const QString& icon);
    double diameter() const { return m_size; }
    QColor color() const { return m_color; }
    // The colour the circle is filled with in the current state.
    QColor fillColor() const;
    // The colour the symbol is drawn in in the current state.
    QColor symbolColor() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;

private:
    QString m_icon;
    double m_size;
    QColor m_color;
};
