// The editor's audio members: loading a recording, its loudness, the silence rendering and
// the waveform. Thin glue over the pure functions of this folder and the background
// pipeline; every published change happens on the main thread.
#include "audio/AudioDecoder.h"
#include "audio/Loudness.h"
#include "audio/LoudnessNormalisation.h"
#include "audio/SilenceRendering.h"
#include "audio/Waveform.h"
#include "editor/AudioPipeline.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/CheckedConversions.h"
#include "support/Log.h"
#include "support/ThreadHandover.h"
#include "support/ValueFormat.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

// Decodes `url` and hands its bars to the editor on the main thread. Runs on any thread.
// The weak pointer is made by the caller and travels back to the main thread with the
// result, so its reference count is only ever released there.
void computeAndPublishWaveform(std::shared_ptr<QPointer<VideoEditorViewModel>> editor, const QString& url)
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return;
    std::vector<float> bars;
    if (DecodeResult decoded = decodeAudioFile(url); decoded.audio && !decoded.audio->channels.empty())
        bars = waveformBars(decoded.audio->channels.front());
    QMetaObject::invokeMethod(application,
                              handedOver([editor = std::move(editor), bars = std::move(bars)]() mutable {
                                  VideoEditorViewModel* target = editor->data();
                                  if (target && bars.size() == kWaveformBarCount)
                                      target->setWaveformData(std::move(bars));
                              }),
                              Qt::QueuedConnection);
}

} // namespace

void VideoEditorViewModel::loadAudio(const QString& url)
{
    setIsLoadingAudio(true);
    setLoadingProgress(0.0);
    const AudioTrack::Tickets tickets = m_audio.beginLoad(url);

    AudioPipelineRequest request;
    request.sourcePath = url;
    request.startSilence = m_startSilenceDuration;
    request.endSilence = m_endSilenceDuration;
    request.volumeBoost = m_volumeBoost;
    request.temporaryDirectory = m_environment.temporaryDirectory;
    request.measureLoudness = true;
    request.job = tickets.recording;
    request.loudnessJob = tickets.loudness;
    request.faultHook = m_environment.faultHook;

    AudioPipelineHooks hooks;
    hooks.failureLogPrefix = QStringLiteral("[Audio] Hiba betöltéskor: ");
    hooks.finished = [](VideoEditorViewModel& editor, double duration) {
        editor.setLoadingProgress(1.0);
        editor.setIsLoadingAudio(false);
        editor.m_audio.silencesApplied(editor.startSilenceDuration(), editor.endSilenceDuration());
        logLine(QStringLiteral("[Audio] Betöltés kész: ") + formatDouble(duration) +
                QStringLiteral(" mp, frame-ek száma: ") +
                QString::number(editor.getFrameManager().getFrameCount()));
        editor.scheduleAutoSave();
    };
    startAudioPipeline(*this, std::move(request), std::move(hooks));
}

std::optional<double> VideoEditorViewModel::measureAudioLoudness(const QString& url) const
{
    const DecodeResult decoded = decodeAudioFile(url);
    if (!decoded.audio) {
        logLine(QStringLiteral("[Audio] Hangosság mérés hiba: ") + decoded.error);
        return std::nullopt;
    }
    return measureRmsLoudness(*decoded.audio);
}

std::optional<double> VideoEditorViewModel::boostedLoudnessDB() const
{
    return boostedLoudness(m_audio.rmsLoudnessDB(), m_volumeBoost);
}

VideoEditorViewModel::LoudnessInfo VideoEditorViewModel::youtubeLoudnessInfo() const
{
    LoudnessRating rating = youtubeLoudnessRating(boostedLoudnessDB());
    return {std::move(rating.text), rating.color};
}

std::optional<QString> VideoEditorViewModel::addSilenceToAudio(const QString& sourceURL, double startSilence,
                                                               double endSilence)
{
    DecodeResult decoded = decodeAudioFile(sourceURL);
    if (!decoded.audio) {
        logLine(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ") + decoded.error);
        return std::nullopt;
    }
    const std::optional<ProcessedAudio> processed = renderProcessedAudio(
            std::move(*decoded.audio), startSilence, endSilence, m_volumeBoost,
            m_environment.temporaryDirectory, [](const QString& line) { logLine(line); });
    if (!processed)
        return std::nullopt;
    return processed->path;
}

void VideoEditorViewModel::generateWaveformSync(const QString& url)
{
    computeAndPublishWaveform(std::make_shared<QPointer<VideoEditorViewModel>>(this), url);
}

void VideoEditorViewModel::generateWaveform(const QString& url)
{
    auto editor = std::make_shared<QPointer<VideoEditorViewModel>>(this);
    runInBackground([editor = std::move(editor), url]() mutable {
        computeAndPublishWaveform(std::move(editor), url);
    });
}

int64_t VideoEditorViewModel::frameIndexForWaveformBar(int bar, int totalBars) const
{
    return toInt64Checked((static_cast<double>(bar) / static_cast<double>(totalBars)) * m_duration *
                          static_cast<double>(FPS));
}

void VideoEditorViewModel::setIntegratedLoudnessLUFS(std::optional<double> lufs)
{
    m_audio.setIntegratedLoudnessLUFS(lufs);
    publishLoudness({.integratedLoudness = true});
}

void VideoEditorViewModel::setTruePeakDBTP(std::optional<double> dbtp)
{
    m_audio.setTruePeakDBTP(dbtp);
    publishLoudness({.truePeak = true});
}

void VideoEditorViewModel::setIsMeasuringLoudness(bool measuring)
{
    m_audio.setMeasuringLoudness(measuring);
    publishLoudness({.measuring = true});
}

void VideoEditorViewModel::publishLoudness(AudioTrack::LoudnessAssigned figures)
{
    if (figures.rmsLoudness) {
        emit audioLoudnessDBChanged();
        emit changed();
    }
    if (figures.integratedLoudness) {
        emit integratedLoudnessLUFSChanged();
        emit changed();
    }
    if (figures.truePeak) {
        emit truePeakDBTPChanged();
        emit changed();
    }
    if (figures.measuring) {
        emit isMeasuringLoudnessChanged();
        emit changed();
    }
}

std::optional<double> VideoEditorViewModel::boostedIntegratedLoudnessLUFS() const
{
    return boostedLevel(m_audio.integratedLoudnessLUFS(), m_volumeBoost);
}

std::optional<double> VideoEditorViewModel::boostedTruePeakDBTP() const
{
    return boostedLevel(m_audio.truePeakDBTP(), m_volumeBoost);
}

std::optional<double> VideoEditorViewModel::normalisationVolumeBoost() const
{
    return normalisationBoost(m_audio.integratedLoudnessLUFS(), m_audio.truePeakDBTP());
}
