// The strip under the preview: the loaded recording as coloured bars with a time ruler and
// the playhead, or, before any audio, a drop-and-click target for choosing a recording. It
// scrubs by snapping to page starts, accepts WAV/MP3/M4A drops, shows the loading progress
// and presents the audio settings sheet while the editor's showAudioSettings is set.
// Main thread; observes the editor and keeps only view state.
#pragma once

#include <QList>
#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <cstdint>
#include <optional>
#include <vector>

class AudioSettingsSheet;
class Dialogs;
class QProgressBar;
class QStackedWidget;
class QToolButton;
class VideoEditorViewModel;
class WaveformCanvas;

class WaveformView : public QWidget {
    Q_OBJECT

public:
    WaveformView(VideoEditorViewModel& viewModel, Dialogs& dialogs, QWidget* parent = nullptr);

    // Opens the chooser for one recording and loads the chosen file.
    void selectAudioFile();
    // Loads the first dropped file whose extension is wav, mp3 or m4a in any case; true when
    // one was taken.
    bool handleAudioDrop(const QList<QUrl>& urls);
    // The time of the page start within one second (30 frames) of `time`, or `time`.
    double snapToPageBoundary(double time);

    bool isDraggingOver() const { return m_isDraggingOver; }
    // How many times the page starts were collected from the frames (for tests).
    int boundaryComputations() const { return m_boundaryComputations; }
    // The sheet while it is presented (or closing), else null.
    AudioSettingsSheet* settingsSheet() const;

signals:
    // "Alkalmaz" was pressed in the audio settings sheet: the audio is to be rendered again
    // with the new settings.
    void applyAudioSettingsRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void scrubTo(double fraction);
    void refreshState();
    void presentSettingsSheet(bool show);
    void setDraggingOver(bool over);

    VideoEditorViewModel& m_viewModel;
    Dialogs& m_dialogs;
    bool m_isDraggingOver = false;

    QStackedWidget* m_stack;
    QToolButton* m_placeholder;
    WaveformCanvas* m_canvas;
    QToolButton* m_settingsButton;
    QProgressBar* m_loadingBar;
    QPointer<AudioSettingsSheet> m_sheet;

    // Page starts, collected lazily after the editor announced written frames: not on every
    // pointer move of a scrub, which only moves the playhead and the selection.
    std::optional<std::vector<int64_t>> m_boundaries;
    int m_boundaryComputations = 0;
};
