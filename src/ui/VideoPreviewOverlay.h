// Drawn over the preview: a white outline, small information labels (time, frame, output
// format and export rate) and, while recording, a red dot with "REC". Transparent to the
// mouse. Main thread only.
#pragma once

#include <QWidget>

class QLabel;
class VideoEditorViewModel;

class VideoPreviewOverlay : public QWidget {
    Q_OBJECT

public:
    explicit VideoPreviewOverlay(VideoEditorViewModel& viewModel, QWidget* parent = nullptr);

    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VideoEditorViewModel& m_viewModel;
    QLabel* m_timeLabel;
    QLabel* m_formatLabel;
    QWidget* m_recordingIndicator;
};
