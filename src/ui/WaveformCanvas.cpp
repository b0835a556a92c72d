#include "ui/WaveformCanvas.h"

#include "editor/VideoEditorViewModel.h"
#include "render/TimeRuler.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kBarGap = 1.0;
// Quiet recordings still show their shape: bars are scaled to the loudest one, and a bar
// never disappears completely.
constexpr double kMinBarHeight = 1.0;

} // namespace

WaveformCanvas::WaveformCanvas(VideoEditorViewModel& viewModel, std::function<void(double)> scrub,
                               QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
    , m_scrub(std::move(scrub))
{
    setObjectName(QStringLiteral("waveformCanvas"));
    setMinimumHeight(80);
    setCursor(Qt::PointingHandCursor);
}

std::optional<double> WaveformCanvas::playheadX() const
{
    const double duration = m_viewModel.duration();
    if (!(duration > 0.0))
        return std::nullopt;
    return m_viewModel.currentTime() / duration * width();
}

void WaveformCanvas::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().color(QPalette::Base));

    const double duration = m_viewModel.duration();
    // Ruler first, bars over it, the playhead on top of everything.
    drawTimeRuler(painter, QSizeF(size()), duration);
    drawBars(painter, QRectF(0, kRulerHeight, width(), height() - kRulerHeight));
    if (const std::optional<double> x = playheadX()) {
        painter.setPen(QPen(QColor(220, 40, 40), 2));
        painter.drawLine(QPointF(*x, 0), QPointF(*x, height()));
    }
}

void WaveformCanvas::drawTimeRuler(QPainter& painter, QSizeF size, double duration) const
{
    const double pointsPerSecond = duration > 0.0 ? size.width() / duration : 0.0;
    QFont labelFont = painter.font();
    labelFont.setPixelSize(11);
    painter.setFont(labelFont);
    const QColor tickColor = palette().color(QPalette::Mid);
    // The labels must stay readable on the strip: the text colour, softened a little, keeps a
    // contrast well above 4.5:1 against the base colour in a dark or a light palette.
    QColor labelColor = palette().color(QPalette::Text);
    labelColor.setAlphaF(0.75f);
    for (double tick : timeRulerTicks(size.width(), duration)) {
        const double x = tick * pointsPerSecond;
        painter.setPen(QPen(tickColor, 1));
        painter.drawLine(QPointF(x, kRulerHeight - 6), QPointF(x, kRulerHeight));
        painter.setPen(labelColor);
        painter.drawText(QPointF(x + 3, kRulerHeight - 7), timeRulerLabel(tick));
    }
    painter.setPen(QPen(tickColor, 1));
    painter.drawLine(QPointF(0, kRulerHeight), QPointF(size.width(), kRulerHeight));
}

void WaveformCanvas::drawBars(QPainter& painter, QRectF area) const
{
    const std::vector<float>& bars = m_viewModel.waveformData();
    if (bars.empty() || area.height() <= 0)
        return;
    const int totalBars = static_cast<int>(bars.size());
    const float loudest = *std::max_element(bars.begin(), bars.end());
    const double scale = loudest > 0.0f ? (area.height() - 4.0) / loudest : 0.0;
    const double slot = area.width() / totalBars;
    // Wide bars are rounded and separated by a gap; in a narrow view they are whole pixel
    // columns side by side, since a gap or a rounded edge would only blur them.
    const bool roomy = slot >= 3.0;
    painter.setRenderHint(QPainter::Antialiasing, roomy);
    const QColor accent = palette().color(QPalette::Highlight);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < totalBars; ++i) {
        const std::optional<QColor> pageColor =
                m_viewModel.colorForFrame(m_viewModel.frameIndexForWaveformBar(i, totalBars));
        painter.setBrush(pageColor.value_or(accent));
        const double height =
                std::max(kMinBarHeight, static_cast<double>(bars[static_cast<size_t>(i)]) * scale);
        const double y = area.center().y() - height / 2.0;
        if (roomy) {
            const double barWidth = slot - kBarGap;
            const double radius = std::min(barWidth / 2.0, 2.0);
            painter.drawRoundedRect(QRectF(area.left() + i * slot, y, barWidth, height), radius, radius);
        } else {
            const int left = static_cast<int>(std::floor(area.left() + i * slot));
            const int right = std::max(left + 1, static_cast<int>(std::floor(area.left() + (i + 1) * slot)));
            painter.drawRect(QRectF(left, y, right - left, height));
        }
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
}

void WaveformCanvas::scrubAt(double x)
{
    if (width() <= 0 || !m_scrub)
        return;
    m_scrub(std::clamp(x / width(), 0.0, 1.0));
}

void WaveformCanvas::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_scrubbing = true;
    scrubAt(event->position().x());
}

void WaveformCanvas::mouseMoveEvent(QMouseEvent* event)
{
    if (m_scrubbing && (event->buttons() & Qt::LeftButton))
        scrubAt(event->position().x());
}

void WaveformCanvas::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_scrubbing)
        return;
    m_scrubbing = false;
    scrubAt(event->position().x());
}
