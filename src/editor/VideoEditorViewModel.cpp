#include "editor/VideoEditorViewModel.h"

#include "audio/AudioPlayer.h"
#include "audio/RenderedAudioFile.h"
#include "model/Frames.h"

#include <QThreadPool>
#include <QTimer>

namespace {

// The page colours of the waveform, indexed by page index modulo 16: light, well-separated
// tints that keep the bars readable.
std::array<QColor, VideoEditorViewModel::kPageColorCount> makePageColors()
{
    constexpr double kComponents[VideoEditorViewModel::kPageColorCount][3] = {
            {0.91, 0.67, 0.67}, {0.67, 0.78, 0.91}, {0.70, 0.90, 0.78}, {0.99, 0.83, 0.67},
            {0.82, 0.72, 0.92}, {0.99, 0.74, 0.77}, {0.68, 0.86, 0.90}, {0.95, 0.89, 0.71},
            {0.78, 0.88, 0.79}, {0.86, 0.77, 0.86}, {0.87, 0.93, 0.82}, {0.84, 0.84, 0.97},
            {0.96, 0.85, 0.88}, {0.85, 0.91, 0.96}, {0.93, 0.95, 0.80}, {0.90, 0.82, 0.72},
    };
    std::array<QColor, VideoEditorViewModel::kPageColorCount> colors;
    for (int i = 0; i < VideoEditorViewModel::kPageColorCount; ++i)
        colors[i] = QColor::fromRgbF(kComponents[i][0], kComponents[i][1], kComponents[i][2], 1.0);
    return colors;
}

} // namespace

VideoEditorViewModel::VideoEditorViewModel(EditorEnvironment environment, QObject* parent)
    : QObject(parent)
    , m_environment(std::move(environment))
    , m_pageColors(makePageColors())
    , m_audio(m_startSilenceDuration, m_endSilenceDuration)
    , m_frameManager(std::make_unique<Frames>())
{
    // First among the receivers: a project's frames are back before anyone else hears of the load.
    connect(this, &VideoEditorViewModel::audioLoadFinished, this,
            &VideoEditorViewModel::handleRecordingLoadFinished);
}

VideoEditorViewModel::~VideoEditorViewModel()
{
    // Jobs still running would only do work nobody sees; they stop at their next step.
    cancelBackgroundJobs(kJobShutdownWaitMs);
}

void VideoEditorViewModel::cancelAudioJobs()
{
    m_audio.cancelJobs();
    if (m_isLoadingAudio)
        setIsLoadingAudio(false);
    if (m_audio.isMeasuringLoudness())
        publishLoudness(m_audio.stopMeasuring());
}

void VideoEditorViewModel::cancelBackgroundJobs(int waitMs)
{
    m_audio.cancelJobs();
    m_exportJobs.cancelAll();
    // Every job runs on the global pool (the threads a job starts are joined inside it).
    QThreadPool::globalInstance()->waitForDone(waitMs);
}

// Every published setter assigns, then tells the observers of that property and the
// observers of the whole object. Observers are told on every assignment, also when the
// value stays the same.
#define VORNIK_PUBLISH(member, signal)                                                                       \
    do {                                                                                                     \
        member = value;                                                                                      \
        emit signal();                                                                                       \
        emit changed();                                                                                      \
    } while (false)

void VideoEditorViewModel::setStartSilenceDuration(double value)
{
    VORNIK_PUBLISH(m_startSilenceDuration, startSilenceDurationChanged);
}

void VideoEditorViewModel::setEndSilenceDuration(double value)
{
    VORNIK_PUBLISH(m_endSilenceDuration, endSilenceDurationChanged);
}

void VideoEditorViewModel::setTransitionDuration(double value)
{
    VORNIK_PUBLISH(m_transitionDuration, transitionDurationChanged);
}

void VideoEditorViewModel::setShowAudioSettings(bool value)
{
    VORNIK_PUBLISH(m_showAudioSettings, showAudioSettingsChanged);
}

void VideoEditorViewModel::setVolumeBoost(double value)
{
    VORNIK_PUBLISH(m_volumeBoost, volumeBoostChanged);
}

void VideoEditorViewModel::setAudioLoudnessDB(std::optional<double> value)
{
    m_audio.setRmsLoudnessDB(value);
    publishLoudness({.rmsLoudness = true});
}

void VideoEditorViewModel::setImages(std::vector<ImageItem> value)
{
    publishPageListChanges(m_pages.setPages(std::move(value)));
}

void VideoEditorViewModel::publishPageListChanges(PageList::Changes changes)
{
    if (changes.pages) {
        emit imagesChanged();
        emit changed();
    }
    if (changes.selectedIndices) {
        emit selectedImageIndicesChanged();
        emit changed();
    }
    if (changes.selectedIndex) {
        emit selectedImageIndexChanged();
        emit changed();
    }
}

void VideoEditorViewModel::setAudioURL(std::optional<QString> value)
{
    VORNIK_PUBLISH(m_audioURL, audioURLChanged);
}

void VideoEditorViewModel::setIsPlaying(bool value)
{
    VORNIK_PUBLISH(m_isPlaying, isPlayingChanged);
}

void VideoEditorViewModel::setCurrentTime(double value)
{
    VORNIK_PUBLISH(m_currentTime, currentTimeChanged);
}

void VideoEditorViewModel::setDuration(double value)
{
    VORNIK_PUBLISH(m_duration, durationChanged);
}

void VideoEditorViewModel::setWaveformData(std::vector<float> value)
{
    m_waveformData = std::move(value);
    emit waveformDataChanged();
    emit changed();
}

void VideoEditorViewModel::setIsLoadingAudio(bool value)
{
    VORNIK_PUBLISH(m_isLoadingAudio, isLoadingAudioChanged);
}

void VideoEditorViewModel::setLoadingProgress(double value)
{
    VORNIK_PUBLISH(m_loadingProgress, loadingProgressChanged);
}

void VideoEditorViewModel::setIsRecording(bool value)
{
    VORNIK_PUBLISH(m_isRecording, isRecordingChanged);
}

void VideoEditorViewModel::setIsSavingProject(bool value)
{
    m_exportProgress.setShown(value);
    publishProgress({.shown = true});
}

void VideoEditorViewModel::setSavingProgress(double value)
{
    m_exportProgress.setProgress(value);
    publishProgress({.progress = true});
}

void VideoEditorViewModel::setSavingProgressText(QString value)
{
    m_exportProgress.setText(std::move(value));
    publishProgress({.text = true});
}

void VideoEditorViewModel::publishProgress(ExportProgress::Assigned fields)
{
    if (fields.shown) {
        emit isSavingProjectChanged();
        emit changed();
    }
    if (fields.progress) {
        emit savingProgressChanged();
        emit changed();
    }
    if (fields.text) {
        emit savingProgressTextChanged();
        emit changed();
    }
}

void VideoEditorViewModel::setSelectedImageIndex(std::optional<int> value)
{
    m_pages.select(value);
    emit selectedImageIndexChanged();
    emit changed();
}

void VideoEditorViewModel::setSelectedImageIndices(std::set<int> value)
{
    m_pages.setSelectedIndices(std::move(value));
    emit selectedImageIndicesChanged();
    emit changed();
}

void VideoEditorViewModel::setExportFPS(int value)
{
    VORNIK_PUBLISH(m_exportFPS, exportFPSChanged);
}

void VideoEditorViewModel::setExportResolution(ExportResolution value)
{
    VORNIK_PUBLISH(m_exportResolution, exportResolutionChanged);
}

void VideoEditorViewModel::setFillColor(const QColor& value)
{
    m_fillColorComponents = ::fillColorComponents(value).value_or(m_fillColorComponents);
    VORNIK_PUBLISH(m_fillColor, fillColorChanged);
}

void VideoEditorViewModel::setFillColorComponents(const FillColorComponents& components)
{
    const QColor value = colorFromComponents(components);
    m_fillColorComponents = components;
    VORNIK_PUBLISH(m_fillColor, fillColorChanged);
}

void VideoEditorViewModel::setVideoFormat(VideoFormat value)
{
    VORNIK_PUBLISH(m_videoFormat, videoFormatChanged);
}

#undef VORNIK_PUBLISH

void VideoEditorViewModel::updateFillColor(const QColor& color)
{
    // Colours are kept in sRGB throughout; a colour given in another spec is converted.
    const QColor srgb = color.toRgb();
    m_frameManager->setDefaultFillColor(srgb);
    m_frameManager->setFillColorForAllFrames(srgb);
    emit framesChanged();
}

void VideoEditorViewModel::announceChange()
{
    emit framesChanged();
    emit changed();
}

void VideoEditorViewModel::scheduleAutoSave()
{
    emit autoSaveScheduled();
    // A debounce: every request pushes the autosave two seconds further, so a burst of
    // edits is saved once, two seconds after the last of them.
    if (!m_autoSaveTimer) {
        m_autoSaveTimer = std::make_unique<QTimer>();
        m_autoSaveTimer->setSingleShot(true);
        m_autoSaveTimer->setTimerType(Qt::PreciseTimer);
        m_autoSaveTimer->setInterval(2000);
        connect(m_autoSaveTimer.get(), &QTimer::timeout, this, [this] { autoSaveProject(); });
    }
    m_autoSaveTimer->start();
}
