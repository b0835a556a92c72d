// A labelled rectangular button: symbol (15 pt) and title (14 pt, medium) in white, 8 points
// apart, padded 16 x 12, at least 120 x 44, on its colour at 80 % with 8-point corners and a
// soft shadow below. Plain, without platform chrome; takes no keyboard focus.
#pragma once

#include <QAbstractButton>
#include <QColor>

class ControlButton : public QAbstractButton {
    Q_OBJECT

public:
    ControlButton(const QString& title, const QColor& color, const QString& icon, QWidget* parent = nullptr);

    const QString& iconName() const { return m_icon; }
    QColor color() const { return m_color; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QFont titleFont() const;

    QColor m_color;
    QString m_icon;
};
