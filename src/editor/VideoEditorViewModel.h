// The editor object: all project state (pages, recording, frame store, playback position,
// settings) and every command that menus, keys and buttons invoke. Lives on the main
// thread; background work hands its results back through queued calls. Owns the page list,
// the frame store, the audio player and the timers.
//
// A facade: state with its own rules lives in parts the editor owns by value (PlaybackClock
// for the player, the tick timer and where a fresh play began; PageTurnRecorder for the page
// being recorded and how far its sweep has written; PageList for the pages and both
// selections; AudioTrack for the recording's files, silences last applied, loudness figures
// and jobs; ExportProgress for the overlay of an export or a save), none of them a QObject or
// aware of the editor. The editor's members, defined in the files of src/editor/ one per
// concern, delegate to those parts and to the subsystems' free functions, then emit the
// signals. Each published property has a getter, a setter that always emits
// `<name>Changed()` and then `changed()`, and the signal.
#pragma once

#include "editor/AudioTrack.h"
#include "editor/EditorEnvironment.h"
#include "editor/ExportProgress.h"
#include "editor/PageList.h"
#include "editor/PageTurnRecorder.h"
#include "editor/PlaybackClock.h"
#include "model/ExportResolution.h"
#include "model/FillColor.h"
#include "model/ImageItem.h"
#include "model/Placement.h"
#include "model/VideoFormat.h"
#include "support/JobToken.h"

#include <QColor>
#include <QObject>
#include <QSizeF>
#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class AudioPlayer;
class Dialogs;
struct EditorTestAccess;
class Frames;
class QImage;
class QPdfDocument;
class QTimer;
struct ProjectJSON;
class RenderedAudioFile;
struct TransitionInfo;

class VideoEditorViewModel : public QObject {
    Q_OBJECT

public:
    // The frame rate of the frame store and of every time-to-frame mapping; never changes.
    // The export's own rate is exportFPS.
    static constexpr int FPS = 30;
    static constexpr int kPageColorCount = 16;
    // How long closing waits for called-off background jobs to end.
    static constexpr int kJobShutdownWaitMs = 2000;

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
    std::optional<double> audioLoudnessDB() const { return m_audio.rmsLoudnessDB(); }
    void setAudioLoudnessDB(std::optional<double> db);
    const std::vector<ImageItem>& images() const { return m_pages.pages(); }
    // The multi-selection follows its pages into the new list (members whose page is gone
    // are dropped), so that it never names a page it did not select or no page at all.
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
    bool isSavingProject() const { return m_exportProgress.isShown(); }
    void setIsSavingProject(bool saving);
    double savingProgress() const { return m_exportProgress.progress(); }
    void setSavingProgress(double progress);
    const QString& savingProgressText() const { return m_exportProgress.text(); }
    void setSavingProgressText(QString text);
    std::optional<int> selectedImageIndex() const { return m_pages.selectedIndex(); }
    void setSelectedImageIndex(std::optional<int> index);
    const std::set<int>& selectedImageIndices() const { return m_pages.selectedIndices(); }
    void setSelectedImageIndices(std::set<int> indices);
    int exportFPS() const { return m_exportFPS; }
    void setExportFPS(int fps);
    // The export's pixels only: 4K draws the same canvas at twice its scale.
    ExportResolution exportResolution() const { return m_exportResolution; }
    void setExportResolution(ExportResolution resolution);
    QColor fillColor() const { return m_fillColor; }
    void setFillColor(const QColor& color);
    // The fill colour's components as a project file holds them: those it was loaded with,
    // or those of the colour last set.
    const FillColorComponents& fillColorComponents() const { return m_fillColorComponents; }
    void setFillColorComponents(const FillColorComponents& components);
    VideoFormat videoFormat() const { return m_videoFormat; }
    void setVideoFormat(VideoFormat format);

    // ---- Plain state (no change signal) ----
    // Read-only from outside: only the editor's own operations move these.
    double previousStartSilence() const { return m_audio.previousStartSilence(); }
    double previousEndSilence() const { return m_audio.previousEndSilence(); }
    AudioPlayer* audioPlayer() const { return m_playback.player(); }
    const std::optional<QString>& originalAudioURL() const { return m_audio.originalURL(); }
    int64_t lastAssignedFrameIndex() const { return m_pageTurns.lastAssignedFrame(); }
    int currentAssignmentIndex() const { return m_pageTurns.page(); }
    double lastStartPlayPosition() const { return m_playback.lastStartPlayPosition(); }
    bool wasPaused() const { return m_playback.wasPaused(); }
    const std::optional<Placement>& currentAssignmentPlacement() const { return m_pageTurns.placement(); }
    const std::array<QColor, kPageColorCount>& pageColors() const { return m_pageColors; }
    QTimer* playbackTimer() const { return m_playback.timer(); }
    QTimer* autoSaveTimer() const { return m_autoSaveTimer.get(); }

    // ---- Derived values ----
    QSizeF videoSize() const { return videoFormatSize(m_videoFormat); }
    // The size in which placements are computed and frames rendered; equals videoSize().
    QSizeF canvasSize() const { return videoSize(); }
    // The frame store itself, shared with the views and the export.
    Frames& getFrameManager() { return *m_frameManager; }
    const Frames& getFrameManager() const { return *m_frameManager; }

    // ---- Settings ----
    // Gives the colour to frames created later and recolours every existing frame.
    void updateFillColor(const QColor& color);
    // Tells the observers that frames were written without a property assignment:
    // framesChanged(), then changed().
    void announceChange();

    // ---- Persistence hooks ----
    // Called at the end of every operation that changes project content. Emits
    // autoSaveScheduled() so that observers (and tests) can see each request.
    void scheduleAutoSave();

    // ---- Audio ----
    // Renders the recording again from the user's file with the current silences and boost,
    // and copies the page assignments by the change of the start silence, in frames.
    void reloadAudioWithNewSilence();
    // Loads a recording: measures its loudness, renders the silences and the boost into a
    // temporary WAV (audioURL), makes the player, the waveform and the frames' slices. Returns
    // at once; the work runs on the thread pool and every change arrives on the main thread.
    void loadAudio(const QString& url);
    // The measured level with the gain of volumeBoost; none without a measurement.
    std::optional<double> boostedLoudnessDB() const;
    struct LoudnessInfo {
        QString text;
        QColor color;
    };
    // The verdict on boostedLoudnessDB() against the -16 dB target, with its colour.
    LoudnessInfo youtubeLoudnessInfo() const;
    // Integrated loudness (LUFS) and true peak (dBTP) of the loaded recording before the
    // boost, measured from the load's decode once the recording is ready (so a long file
    // plays before its meter has finished); absent without audio and while measuring.
    std::optional<double> integratedLoudnessLUFS() const { return m_audio.integratedLoudnessLUFS(); }
    void setIntegratedLoudnessLUFS(std::optional<double> lufs);
    std::optional<double> truePeakDBTP() const { return m_audio.truePeakDBTP(); }
    void setTruePeakDBTP(std::optional<double> dbtp);
    // True from the end of a successful decode until both figures above are in.
    bool isMeasuringLoudness() const { return m_audio.isMeasuringLoudness(); }
    void setIsMeasuringLoudness(bool measuring);
    // Both with the gain of volumeBoost.
    std::optional<double> boostedIntegratedLoudnessLUFS() const;
    std::optional<double> boostedTruePeakDBTP() const;
    // The boost bringing the recording to -14 LUFS with its true peak at or below -1 dBTP,
    // 25…1000 %; absent without a measurement.
    std::optional<double> normalisationVolumeBoost() const;
    // Decodes a file and publishes its 500 waveform bars on the main thread; a file that
    // cannot be read changes nothing. Any thread (the editor is held weakly).
    void generateWaveformSync(const QString& url);
    // The same on the thread pool; returns at once.
    void generateWaveform(const QString& url);
    // The frame under a waveform bar: (bar / totalBars) x duration x FPS, truncated.
    int64_t frameIndexForWaveformBar(int bar, int totalBars) const;

    // ---- Background jobs ----
    // Calls off the running load or reload and the loudness measurement (New project, a
    // project load): their results are dropped, the loading state ends now.
    void cancelAudioJobs();
    // The current rendered recording, shared with whoever must keep it on the disk.
    std::shared_ptr<RenderedAudioFile> renderedAudio() const { return m_audio.renderedAudio(); }
    // Calls off every job (audio and export) and waits at most `waitMs` for them to end.
    // The window calls it when it closes; the editor's destructor does too.
    void cancelBackgroundJobs(int waitMs);

    // ---- Playback and recording ----
    // Time to frame: floor(seconds x FPS), forgiving a millionth of a frame so that a frame's
    // own start time maps back to it; negative times give negative frames. The frame
    // count of the audio rounds up, so the last partial frame exists. Non-finite values stop
    // the program.
    int64_t frameIndexForTime(double seconds) const;
    int64_t totalFrameCount() const;

    // Playback clock. play() does nothing without a player; it starts a 50 ms repeating
    // timer on the main thread that calls playbackTick(). stop() ends a recording and returns
    // to where the last fresh play began. seekTo() clamps to 0 ... duration.
    void play();
    void pause();
    void stop();
    void togglePlayback();
    void seekTo(double time);
    // One timer tick: reads the player's position, continues the recording sweep, and lets
    // the sidebar follow the page on screen. Tests call it directly.
    void playbackTick();

    // Page-turn recording.
    void startRecording();
    void stopRecording();
    void nextPageDuringRecording();
    void previousPageDuringRecording();
    // Thumbnail click while recording: the clicked page is recorded from the frame under the
    // playhead on. Does nothing when not recording or for an index outside the page list.
    void switchRecordingToPage(int index);
    // Makes the page the one being recorded, then assigns it to the frame and announces it.
    void assignImagePublic(const QImage& image, int64_t frame, int imageIndex);

    // Page navigation: each ends in one seekTo() to a page boundary or in nothing.
    void jumpToNextPage();
    void jumpToPreviousPage();
    void jumpToLastPage();
    void jumpToStart();
    void jumpBack3Seconds();
    // The page colour of the frame at 90 % opacity; none for an unassigned or missing frame.
    std::optional<QColor> colorForFrame(int64_t frameIndex) const;

    // Placement of a page in the canvas (canvasSize() when none is given), from the image's
    // size in points.
    Placement computePlacement(const QImage& image, std::optional<QSizeF> canvas = std::nullopt) const;
    // Re-fits every assigned frame to the current canvas after a format change.
    void recalculatePlacementsForFormat();

    // ---- Page import and page-list editing ----
    // Paths are absolute file paths. Every import appends at the end of the page list; every
    // edit hands the list to the frame store and requests an autosave. No edit touches the
    // frames: recorded frames keep their pictures and their stored page indices. An edit that
    // removes the page being recorded moves the recording on to the page now at its position,
    // or stops it when there is none.

    // Adds one image file as a page; an unreadable file is ignored silently.
    void addImage(const QString& path);
    // Opens a PDF, asks whether to import it page by page or two pages side by side, and
    // imports it; an unreadable PDF is ignored silently, "Mégse" changes nothing.
    void addPDF(const QString& path);
    // One entry per page the document can supply, numbered with its own page numbers.
    void addPDFSingle(QPdfDocument& document, const QString& url);
    // One entry per pair of pages (1-2, 3-4, ...); a page without a partner stands alone.
    void addPDFPaired(QPdfDocument& document, const QString& url);

    // Removes one entry; an index outside the list is logged and changes nothing.
    void removeImage(int index);
    void deleteAllImages();
    // Remove every page narrower (respectively wider) than tall, measured in points.
    void deletePortraitImages();
    void deleteLandscapeImages();
    // Joins the selected entries, in list order, into one wide page where the first one was.
    void mergeSelectedImages();
    // Moves the entries at `offsets` before the entry at `destination` (counted before the
    // removal), as a drag in the list does. The single selection is left as it is; the
    // multi-selection follows its pages.
    void moveImage(const std::set<int>& offsets, int destination);
    // Moves the entry `dragged` to where the entry `target` stands, as a reorder drag does live
    // while the pointer enters each cell. Only the list changes (the multi-selection follows
    // its pages); the frame store and the autosave wait for a finished edit. Nothing happens
    // when either entry is missing or both are the same.
    void moveImageDuringDrag(const QUuid& dragged, const QUuid& target);

    // ---- Rendering and export ----
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
    // Asks for a destination ("project.vnk" proposed) and writes the project there, with the
    // saving overlay shown meanwhile. Every save asks: no current project file is remembered.
    void saveProject();
    void saveProjectAs();
    // Writes the project file atomically (beside, then renamed over the destination), so a
    // failed write leaves the previous file as it was. Logs the outcome; true on success.
    bool saveProjectToFileSync(const QString& destURL);
    // Asks for a project file and loads it.
    void loadProjectDialog();
    // Loads the file when it reads as a project; otherwise logs and changes nothing.
    void loadProject(const QString& url);
    // When the page assignments of the file are put back into the frames: a second after the
    // audio load starts or when it has finished, whichever is later (the window), or as soon
    // as it has finished (the command line).
    enum class FrameRestore { afterFixedDelay, whenAudioLoaded };
    // Replaces the project with the file's: settings, pages rebuilt from their files, the
    // recording loaded again from the user's own file, then the frames restored. A file that
    // cannot be read or decoded changes nothing. No autosave is written until the frames are
    // restored. A recording that is missing or cannot be loaded leaves the file's frames and
    // audio paths kept (see keepsMissingRecording()) with a warning. Ends with
    // projectLoadFinished().
    void loadProjectJSON(const QString& url, FrameRestore restore = FrameRestore::afterFixedDelay);
    // True while a loaded project's recording could not be loaded: saves write the frames and
    // audio paths the project was loaded with, until a recording is loaded (and gets those
    // frames) or a new project starts.
    bool keepsMissingRecording() const { return m_keptRecording != nullptr; }
    // True from the start of a project load with a recording until its frames are restored
    // (or its recording failed); no autosave is written meanwhile.
    bool isRestoringProject() const { return m_pendingRestore.has_value(); }
    // Empties the page list and the recording; the settings stay.
    void newProject();
    // "autosave.vnk" in the program's per-user data folder, which is created when asked for.
    QString getAutoSavePath() const;
    // Saves to the autosave location, unless the project has neither audio nor pages.
    void autoSaveProject();
    // Loads the autosave file when there is one.
    void autoLoadProject();

    // ---- Application shell ----
    // The settings menu item: only writes its log line (the audio settings have their own button).
    void openSettings();
    // The about alert: the program's name, version and purpose.
    void showAbout();

    // ---- Sidebar, waveform and audio settings ----

signals:
    void changed();
    // The frame store was written: pages, placements, colours, audio slices or page pictures
    // of its frames, or the store grown or emptied. Emitted where the write happens and by
    // nothing else, so a view may keep what it derives from the frames until it arrives.
    void framesChanged();
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
    void exportResolutionChanged();
    void fillColorChanged();
    void videoFormatChanged();
    // A load or reload of the recording has ended (on the main thread), successfully or not.
    void audioLoadFinished(bool succeeded);
    // Comes right before audioLoadFinished(false) with the log line that says why.
    void audioLoadFailed(const QString& reason);
    // An export ended without a finished video with its sound: the log line that says why,
    // right before the alert.
    void exportFailed(const QString& reason);
    // A project load has ended: false when the file could not be read, true once the pages,
    // settings and, with a recording, the frames are in place.
    void projectLoadFinished(bool succeeded);
    void integratedLoudnessLUFSChanged();
    void truePeakDBTPChanged();
    void isMeasuringLoudnessChanged();

private:
    // Tests reach the internal state and steps below through this one door.
    friend struct EditorTestAccess;
    // The background half of audio loading hands its results over through it.
    friend struct AudioPipelineAccess;

    // ---- Audio (private) ----
    // The RMS level of a file in dB (-100.0 for silence); none when it cannot be read.
    // Touches no editor state; any thread.
    std::optional<double> measureAudioLoudness(const QString& url) const;
    // Renders start silence, the boosted source and end silence into a new temporary WAV and
    // returns its path; none on failure (logged). Reads volumeBoost and the temporary folder.
    std::optional<QString> addSilenceToAudio(const QString& sourceURL, double startSilence,
                                             double endSilence);
    // Tells the observers of each loudness figure the operation assigned.
    void publishLoudness(AudioTrack::LoudnessAssigned figures);
    // Running exports, each with its own token (a new export leaves the others running).
    JobGenerations m_exportJobs;

    // ---- Playback and recording (private) ----
    // The two tick steps and the assignment primitives, internal steps of recording and of
    // audio reloading.
    void updateAssignmentForCurrentTime();
    void updateSelectedImageForCurrentTime();
    // Writes the page image, its placement (currentAssignmentPlacement when set) and
    // currentAssignmentIndex into the frame; a frame outside the store is skipped. Writes
    // silently: the caller announces the change once for all the frames it wrote.
    void assignImage(const QImage& image, int64_t frame);
    // Writes the page with the given index and a freshly computed placement, leaving the
    // recording state alone. Writes silently, like assignImage().
    void assignImageWithIndex(const QImage& image, int64_t frame, int imageIndex);

    // ---- Page import and page-list editing (private) ----
    // Tells the observers what a page-list edit changed: the pages, then the multi-selection,
    // then the single selection, each followed by changed().
    void publishPageListChanges(PageList::Changes changes);
    // Hands the page pictures, in list order, to the frame store (which only stores them).
    void updateFrameManagerImages();
    // The page rendered at two pixels per point on white (see images/PdfRendering.h).
    QImage renderPDFPage(QPdfDocument& document, int pageIndex);
    // The two scaled to the taller height and placed side by side on white.
    QImage mergeImagesHorizontally(const QImage& left, const QImage& right);
    // Removes the portrait (or else the landscape) pages and logs how many went.
    void deleteImagesWithOrientation(bool portrait);
    // The page being recorded, while recording.
    std::optional<QUuid> recordedPageId() const;
    // After an edit of the page list: when the page that was being recorded is gone, the
    // recording goes on with the page now at its position, or stops when there is none.
    void followRecordedPage(const std::optional<QUuid>& recordedPage);

    // ---- Rendering and export (private) ----
    // Tells the observers of each overlay field the operation assigned.
    void publishProgress(ExportProgress::Assigned fields);
    // The fade of a frame in the export: none outside a fade (export frame rate and
    // transitionDuration decide its length).
    std::optional<TransitionInfo> calculateTransitionInfo(int64_t frameIndex) const;
    // The export picture of a frame, fade included, as a premultiplied ARGB image of `size`
    // (bytes B, G, R, A). None, with a log line, when the frame is missing or the picture
    // cannot be made.
    std::optional<QImage> createSimplePixelBuffer(int64_t frameIndex, QSizeF size) const;

    // ---- Project files (private) ----
    // Puts the file's page assignments and rectangles into the frames the store has now,
    // seeks to the saved position and logs the completion line.
    void restoreProjectFrames(const ProjectJSON& project);
    // Counts project loads and new projects, so that a frame restore still pending from an
    // earlier load never writes into the project that replaced it.
    uint64_t m_projectGeneration = 0;
    // A project load waiting for its recording and its delay before the frames go back.
    struct PendingProjectRestore {
        std::shared_ptr<const ProjectJSON> project;
        uint64_t generation = 0;
        bool delayPassed = false;
        bool recordingLoaded = false;
    };
    std::optional<PendingProjectRestore> m_pendingRestore;
    // The loaded project whose recording is missing: its frames and audio paths are saved
    // back as loaded, and restored onto the next recording that loads.
    std::shared_ptr<const ProjectJSON> m_keptRecording;
    // An autosave came due while a project load waited for its frames; it follows the restore.
    bool m_autoSaveDeferred = false;
    // Called with every end of a recording load.
    void handleRecordingLoadFinished(bool succeeded);
    // Restores the pending project's frames once both its delay and its recording are done.
    void finishProjectRestoreWhenReady();
    // Keeps the project's frames and audio paths and tells the user the recording is missing.
    void keepMissingRecording(std::shared_ptr<const ProjectJSON> project);
    // Ends the wait for a restore; an autosave deferred by it is scheduled now.
    void endProjectRestore();

    // ---- Application shell (private) ----

    // ---- Sidebar, waveform and audio settings (private) ----

    EditorEnvironment m_environment;

    double m_startSilenceDuration = 3.0;
    double m_endSilenceDuration = 5.0;
    double m_transitionDuration = 0.5;
    bool m_showAudioSettings = false;
    double m_volumeBoost = 100.0;
    std::optional<QString> m_audioURL;
    bool m_isPlaying = false;
    double m_currentTime = 0.0;
    double m_duration = 0.0;
    std::vector<float> m_waveformData;
    bool m_isLoadingAudio = false;
    double m_loadingProgress = 0.0;
    bool m_isRecording = false;
    int m_exportFPS = 30;
    ExportResolution m_exportResolution = ExportResolution::hd1080;
    QColor m_fillColor = Qt::white;
    FillColorComponents m_fillColorComponents;
    VideoFormat m_videoFormat = VideoFormat::landscape;
    std::unique_ptr<QTimer> m_autoSaveTimer;
    std::array<QColor, kPageColorCount> m_pageColors;
    // The player, the playback timer and where the last fresh play began.
    PlaybackClock m_playback;
    // The page being recorded, its placement and how far the recording sweep has written.
    PageTurnRecorder m_pageTurns;
    // The user's recording and its rendering, loudness and jobs; it starts at the silences above.
    AudioTrack m_audio;
    // The overlay shown while an export or a save runs.
    ExportProgress m_exportProgress;
    // The pages in list order, the single selection and the multi-selection.
    PageList m_pages;
    // Held through a pointer so that this header needs only the name of the frame store.
    std::unique_ptr<Frames> m_frameManager;
};
