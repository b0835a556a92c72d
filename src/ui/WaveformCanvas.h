// The drawing surface of the waveform strip: the time ruler, the 500 bars in their page
// colours and the playhead. Pointer presses and drags on it are handed to a scrub callback
// as a fraction of the width. Main thread; owned by WaveformView.
#pragma once

#include <QWidget>

#include <functional>
#include <optional>

class VideoEditorViewModel;

class WaveformCanvas : public QWidget {
    Q_OBJECT

public:
    static constexpr int kRulerHeight = 18;

    WaveformCanvas(VideoEditorViewModel& viewModel, std::function<void(double fraction)> scrub,
                   QWidget* parent = nullptr);

    // The x position of the playhead, in this widget's coordinates; none without a duration.
    std::optional<double> playheadX() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void drawTimeRuler(QPainter& painter, QSizeF size, double duration) const;
    void drawBars(QPainter& painter, QRectF area) const;
    void scrubAt(double x);

    VideoEditorViewModel& m_viewModel;
    std::function<void(double)> m_scrub;
    bool m_scrubbing = false;
};
