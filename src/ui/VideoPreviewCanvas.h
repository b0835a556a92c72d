// The preview of the video at the playhead: the fill colour everywhere, and on top the
// rendered frame, else the first page as it is, else the placeholder symbol and text.
// Any change of the editor only marks the picture stale and asks for a repaint; Qt merges
// repaint requests, so a burst of changes (a playback tick announces several) renders once.
// Main thread only.
#pragma once

#include <QImage>
#include <QWidget>

class VideoEditorViewModel;

class VideoPreviewCanvas : public QWidget {
    Q_OBJECT

public:
    enum class Content { renderedFrame, firstImage, placeholder };

    explicit VideoPreviewCanvas(VideoEditorViewModel& viewModel, QWidget* parent = nullptr);

    // What the next paint shows (renders the frame when it is stale).
    Content content();
    // The picture being shown (null for the placeholder) and the rectangle it is drawn in.
    QImage picture();
    QRectF pictureRect();
    // How many frames were rendered so far; lets tests see that renders are merged.
    int renderCount() const { return m_renderCount; }

    static QString placeholderText() { return QStringLiteral("Nincs betöltött kép"); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void markStale();
    void refreshPicture();

    VideoEditorViewModel& m_viewModel;
    bool m_stale = true;
    Content m_content = Content::placeholder;
    QImage m_picture;
    int m_renderCount = 0;
};
