#include "ui/ControlButton.h"

#include "ui/SymbolIcons.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kIconSize = 15;
constexpr int kGap = 8;
constexpr int kPadX = 16;
constexpr int kPadY = 12;
constexpr int kShadowSpace = 6; // room under the button for its shadow

} // namespace

ControlButton::ControlButton(const QString& title, const QColor& color, const QString& icon, QWidget* parent)
    : QAbstractButton(parent)
    , m_color(color)
    , m_icon(icon)
{
    setText(title);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QFont ControlButton::titleFont() const
{
    QFont font = this->font();
    font.setPixelSize(14);
    font.setWeight(QFont::Medium);
    return font;
}

QSize ControlButton::sizeHint() const
{
    const QFontMetrics metrics(titleFont());
    const int contentWidth = kIconSize + kGap + metrics.horizontalAdvance(text());
    const int contentHeight = qMax(kIconSize, metrics.height());
    return {qMax(120, contentWidth + 2 * kPadX), qMax(44, contentHeight + 2 * kPadY) + kShadowSpace};
}

void ControlButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF body(2, 0, width() - 4, height() - kShadowSpace);

    // The shadow: black at 40 %, 2 points down, blurred over about 4 points.
    for (int step = 4; step >= 1; --step) {
        QPainterPath shadow;
        shadow.addRoundedRect(
                body.translated(0, 2).adjusted(-step / 2.0, -step / 2.0, step / 2.0, step / 2.0),
                8 + step / 2.0, 8 + step / 2.0);
        painter.fillPath(shadow, QColor(0, 0, 0, 26));
    }

    QColor background = m_color;
    background.setAlphaF(isEnabled() ? 0.8f : 0.35f);
    if (isDown())
        background = background.darker(120);
    QPainterPath path;
    path.addRoundedRect(body, 8, 8);
    painter.fillPath(path, background);

    const QFontMetrics metrics(titleFont());
    const int textWidth = metrics.horizontalAdvance(text());
    const qreal contentWidth = kIconSize + kGap + textWidth;
    const qreal left = body.center().x() - contentWidth / 2;
    const QColor foreground = isEnabled() ? QColor(Qt::white) : QColor(255, 255, 255, 140);
    painter.drawPixmap(QPointF(left, body.center().y() - kIconSize / 2.0),
                       tintedSymbol(m_icon, kIconSize, foreground, devicePixelRatioF()));
    painter.setFont(titleFont());
    painter.setPen(foreground);
    painter.drawText(QRectF(left + kIconSize + kGap, body.top(), textWidth + 1, body.height()),
                     Qt::AlignVCenter | Qt::AlignLeft, text());
}
