// The editor object: all project state (pages, recording, frame store, playback position,
// settings) and every command that menus, keys and buttons invoke. Lives on the main
// thread; background work hands its results back through queued calls. Owns the page list,
// the frame store, the audio player and the timers.
//
// Each published property has a getter, a setter that always emits `<name>Changed()` and
// then `changed()`, and the signal. Member functions are defined in the folder of the
// subsystem they belong to, one file per concern.
#pragma once

#include "audio/AudioPlayer.h"
#include "editor/EditorEnvironment.h"
#include "editor/Frames.h"
#include "editor/ImageItem.h"
#include "editor/Placement.h"
#include "editor/VideoFormat.h"
#include "render/TransitionInfo.h"

#include <QColor>
#include <QObject>
#include <QSizeF>
#include <QString>
#include <QTimer>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class Dialogs;

class VideoEditorViewModel : public QObject {
    Q_OBJECT

public:
    // The frame rate of the frame store and of every time-to-frame mapping; never changes.
    // The export's own rate is exportFPS.
    static constexpr int FPS = 30;
    static constexpr int kPageColorCount = 16;

    explicit VideoEditorViewModel(EditorEnvironment environment, QObject* parent = nullptr);
    ~VideoEditorViewModel() override;

    const EditorEnvironment& environment() const { return m_environment; }

    // ---- Published state ----
    double startSilenceDuration() const { return m_startSilenceDuration; }
    void setStartSilenceDuration(double seconds);
    double endSilenceDuration() const { return m_endSilenceDuration; }
    void setEndSilenceDuration(double seconds);
    double transitionDuration() const { return m_transitionDuration; }
    void setTransitionDuration(double seconds);
    bool showAudioSettings() const { return m_showAudioSettings; }
    void setShowAudioSettings(bool show);
    double volumeBoost() const { return m_volumeBoost; }
    void setVolumeBoost(double percent);
    std::optional<double> audioLoudnessDB() const { return m_audioLoudnessDB; }
    void setAudioLoudnessDB(std::optional<double> db);
    const std::vector<ImageItem>& images() const { return m_images; }
    void setImages(std::vector<ImageItem> images);
    const std::optional<QString>& audioURL() const { return m_audioURL; }
    void setAudioURL(std::optional<QString> path);
    bool isPlaying() const { return m_isPlaying; }
    void setIsPlaying(bool playing);
    double currentTime() const { return m_currentTime; }
    void setCurrentTime(double seconds);
    double duration() const { return m_duration; }
    void setDuration(double seconds);
    const std::vector<float>& waveformData() const { return m_waveformData; }
    void setWaveformData(std::vector<float> bars);
    bool isLoadingAudio() const { return m_isLoadingAudio; }
    void setIsLoadingAudio(bool loading);
    double loadingProgress() const { return m_loadingProgress; }
    void setLoadingProgress(double progress);
    bool isRecording() const { return m_isRecording; }
    void setIsRecording(bool recording);
    bool isSavingProject() const { return m_isSavingProject; }
    void setIsSavingProject(bool saving);
    double savingProgress() const { return m_savingProgress; }
    void setSavingProgress(double progress);
    const QString& savingProgressText() const { return m_savingProgressText; }
    void setSavingProgressText(QString text);
    std::optional<int> selectedImageIndex() const { return m_selectedImageIndex; }
    void setSelectedImageIndex(std::optional<int> index);
    const std::set<int>& selectedImageIndices() const { return m_selectedImageIndices; }
    void setSelectedImageIndices(std::set<int> indices);
    int exportFPS() const { return m_exportFPS; }
    void setExportFPS(int fps);
    QColor fillColor() const { return m_fillColor; }
    void setFillColor(const QColor& color);
    VideoFormat videoFormat() const { return m_videoFormat; }
    void setVideoFormat(VideoFormat format);

    // ---- Plain state (no change signal) ----
    double previousStartSilence() const { return m_previousStartSilence; }
    void setPreviousStartSilence(double seconds) { m_previousStartSilence = seconds; }
    double previousEndSilence() const { return m_previousEndSilence; }
    void setPreviousEndSilence(double seconds) { m_previousEndSilence = seconds; }
    AudioPlayer* audioPlayer() const { return m_audioPlayer.get(); }
    void setAudioPlayer(std::unique_ptr<AudioPlayer> player);
    const std::optional<QString>& originalAudioURL() const { return m_originalAudioURL; }
    void setOriginalAudioURL(std::optional<QString> path) { m_originalAudioURL = std::move(path); }
    int64_t lastAssignedFrameIndex() const { return m_lastAssignedFrameIndex; }
    void setLastAssignedFrameIndex(int64_t index) { m_lastAssignedFrameIndex = index; }
    int currentAssignmentIndex() const { return m_currentAssignmentIndex; }
    void setCurrentAssignmentIndex(int index) { m_currentAssignmentIndex = index; }
    double lastStartPlayPosition() const { return m_lastStartPlayPosition; }
    void setLastStartPlayPosition(double seconds) { m_lastStartPlayPosition = seconds; }
    bool wasPaused() const { return m_wasPaused; }
    void setWasPaused(bool paused) { m_wasPaused = paused; }
    const std::optional<Placement>& currentAssignmentPlacement() const
    {
        return m_currentAssignmentPlacement;
    }
    void setCurrentAssignmentPlacement(std::optional<Placement> placement)
    {
        m_currentAssignmentPlacement = placement;
    }
    const std::array<QColor, kPageColorCount>& pageColors() const { return m_pageColors; }
    QTimer* playbackTimer() const { return m_playbackTimer.get(); }
    QTimer* autoSaveTimer() const { return m_autoSaveTimer.get(); }

    // ---- Derived values ----
    QSizeF videoSize() const { return videoFormatSize(m_videoFormat); }
    // The size in which placements are computed and frames rendered; equals videoSize().
    QSizeF canvasSize() const { return videoSize(); }
    // The frame store itself, shared with the views and the export.
    Frames& getFrameManager() { return m_frameManager; }
    const Frames& getFrameManager() const { return m_frameManager; }

    // ---- Settings ----
    // Gives the colour to frames created later and recolours every existing frame.
    void updateFillColor(const QColor& color);
    // Tells the observers that state changed without a property assignment, e.g. after
    // frames were written.
    void announceChange();

    // ---- Persistence hooks ----
    // Called at the end of every operation that changes project content. Emits
    // autoSaveScheduled() so that observers (and tests) can see each request.
    void scheduleAutoSave();

    // ---- Audio ----

    // ---- Playback and recording ----

    // ---- Page import and page-list editing ----

    // ---- Rendering and export ----
    // The fade of a frame in the export: none outside a fade (export frame rate and
    // transitionDuration decide its length).
    std::optional<TransitionInfo> calculateTransitionInfo(int64_t frameIndex) const;
    // The export picture of a frame, fade included, as a premultiplied ARGB image of `size`
    // (bytes B, G, R, A). None, with a log line, when the frame is missing or the picture
    // cannot be made.
    std::optional<QImage> createSimplePixelBuffer(int64_t frameIndex, QSizeF size) const;
    // The preview of the frame under the playhead (no fade); none without audio.
    std::optional<QImage> renderCurrentFrame() const;
    // Asks for a destination, then exports to it.
    void exportVideo();
    // Starts exporting every frame to `to` on a background thread, from a snapshot of the
    // frames taken now; progress and one final alert arrive on the main thread.
    void exportVideoFile(const QString& to);
    // Puts the audio at `audioURL` into the video at `videoURL` (cut to the video's length).
    // Returns at once; `completion` is called exactly once, on any thread.
    void addAudioToVideo(const QString& videoURL, const QString& audioURL,
                         std::function<void(bool)> completion);

    // ---- Project files ----

signals:
    void changed();
    void autoSaveScheduled();
    void startSilenceDurationChanged();
    void endSilenceDurationChanged();
    void transitionDurationChanged();
    void showAudioSettingsChanged();
    void volumeBoostChanged();
    void audioLoudnessDBChanged();
    void imagesChanged();
    void audioURLChanged();
    void isPlayingChanged();
    void currentTimeChanged();
    void durationChanged();
    void waveformDataChanged();
    void isLoadingAudioChanged();
    void loadingProgressChanged();
    void isRecordingChanged();
    void isSavingProjectChanged();
    void savingProgressChanged();
    void savingProgressTextChanged();
    void selectedImageIndexChanged();
    void selectedImageIndicesChanged();
    void exportFPSChanged();
    void fillColorChanged();
    void videoFormatChanged();

private:
    // ---- Audio (private) ----

    // ---- Playback and recording (private) ----

    // ---- Page import and page-list editing (private) ----

    // ---- Rendering and export (private) ----

    // ---- Project files (private) ----

    EditorEnvironment m_environment;

    double m_startSilenceDuration = 3.0;
    double m_endSilenceDuration = 5.0;
    double m_transitionDuration = 0.5;
    bool m_showAudioSettings = false;
    double m_volumeBoost = 100.0;
    std::optional<double> m_audioLoudnessDB;
    double m_previousStartSilence = 3.0;
    double m_previousEndSilence = 5.0;
    std::vector<ImageItem> m_images;
    std::optional<QString> m_audioURL;
    bool m_isPlaying = false;
    double m_currentTime = 0.0;
    double m_duration = 0.0;
    std::vector<float> m_waveformData;
    bool m_isLoadingAudio = false;
    double m_loadingProgress = 0.0;
    bool m_isRecording = false;
    bool m_isSavingProject = false;
    double m_savingProgress = 0.0;
    QString m_savingProgressText;
    std::optional<int> m_selectedImageIndex;
    std::set<int> m_selectedImageIndices;
    int m_exportFPS = 30;
    QColor m_fillColor = Qt::white;
    VideoFormat m_videoFormat = VideoFormat::landscape;
    std::unique_ptr<AudioPlayer> m_audioPlayer;
    std::unique_ptr<QTimer> m_playbackTimer;
    std::unique_ptr<QTimer> m_autoSaveTimer;
    std::optional<QString> m_originalAudioURL;
    int64_t m_lastAssignedFrameIndex = -1;
    int m_currentAssignmentIndex = 0;
    double m_lastStartPlayPosition = 0.0;
    bool m_wasPaused = false;
    std::optional<Placement> m_currentAssignmentPlacement;
    std::array<QColor, kPageColorCount> m_pageColors;
    Frames m_frameManager;
};
