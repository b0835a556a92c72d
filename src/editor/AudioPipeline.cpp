#include "editor/AudioPipeline.h"

#include "audio/AudioDecoder.h"
#include "audio/AudioPlayer.h"
#include "audio/FrameSlicing.h"
#include "audio/Loudness.h"
#include "audio/LoudnessNormalisation.h"
#include "audio/ProcessedAudioBuilder.h"
#include "audio/RenderedAudioFile.h"
#include "audio/SilenceRendering.h"
#include "audio/Waveform.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/CheckedConversions.h"
#include "support/ExceptionText.h"
#include "support/Log.h"
#include "support/ThreadHandover.h"
#include "support/ValueFormat.h"

#include <QCoreApplication>

#include <memory>

// The pipeline's way to the editor's internal steps: whether a job is still the current
// request, taking over the player and the rendered file of a finished decode, and the
// loudness figures.
struct AudioPipelineAccess {
    static bool isCurrentAudioJob(const VideoEditorViewModel& editor, const JobToken& job)
    {
        return editor.m_audio.isCurrentJob(job);
    }
    static void setAudioPlayer(VideoEditorViewModel& editor, std::unique_ptr<AudioPlayer> player)
    {
        editor.m_playback.setPlayer(std::move(player));
    }
    static void adoptRenderedAudio(VideoEditorViewModel& editor, std::shared_ptr<RenderedAudioFile> file)
    {
        editor.m_audio.adoptRenderedAudio(std::move(file));
    }
    static void recordingDecoded(VideoEditorViewModel& editor, std::optional<double> rmsDB, bool meterRuns)
    {
        editor.publishLoudness(editor.m_audio.recordingDecoded(rmsDB, meterRuns));
    }
    static void meterFinished(VideoEditorViewModel& editor, const RecordingLoudness& measured)
    {
        editor.publishLoudness(editor.m_audio.meterFinished(measured.integratedLUFS, measured.truePeakDBTP));
    }
    static void stopMeasuring(VideoEditorViewModel& editor)
    {
        editor.publishLoudness(editor.m_audio.stopMeasuring());
    }
};

namespace {

// What the steps of one run share. It is created on the main thread, and `editor`,
// `failed` and `duration` are only touched there, where every step runs, in order. The weak
// pointer's own reference count must not be touched by the background either (Qt releases
// it uninstrumented, which the thread sanitizer cannot follow), so the background never
// holds the last reference: it hands its own to the main thread when it is done.
struct RunState {
    QPointer<VideoEditorViewModel> editor;
    std::shared_ptr<const JobToken> job;
    bool failed = false;
    double duration = 0.0;
};

// Queues `step` to the main thread. The application object is the context, not the editor:
// the editor may be destroyed while this thread runs, and the weak pointer is only read on
// the main thread. Steps after a failed one do nothing, and so do the steps of a run that a
// newer request called off.
// The loudness meter's figures are the exception: they are about the user's file, which
// decoded fine even when a later step failed, and they answer to the meter's own ticket (a
// reload does not call off the measurement of the recording it re-renders).
enum class Guard { recording, loudnessMeter };

void post(const std::shared_ptr<RunState>& state, std::function<void(VideoEditorViewModel&)> step,
          Guard guard = Guard::recording)
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return; // the program is shutting down: nobody is left to show the results
    QMetaObject::invokeMethod(
            application, handedOver([state, step = std::move(step), guard] {
                VideoEditorViewModel* editor = state->editor.data();
                if (!editor)
                    return;
                if (guard == Guard::recording &&
                    (state->failed || !AudioPipelineAccess::isCurrentAudioJob(*editor, *state->job)))
                    return;
                step(*editor);
            }),
            Qt::QueuedConnection);
}

void postLog(const std::shared_ptr<RunState>& state, const QString& line)
{
    post(state, [line](VideoEditorViewModel&) { logLine(line); });
}

void postFailure(const std::shared_ptr<RunState>& state, const QString& logPrefix, const QString& error)
{
    post(state, [state, logPrefix, error](VideoEditorViewModel& editor) {
        state->failed = true;
        editor.setIsLoadingAudio(false);
        const QString reason = logPrefix + error;
        logLine(reason);
        emit editor.audioLoadFailed(reason);
        emit editor.audioLoadFinished(false);
    });
}

void postProgress(const std::shared_ptr<RunState>& state, double progress)
{
    post(state, [progress](VideoEditorViewModel& editor) { editor.setLoadingProgress(progress); });
}

// Gives the background's reference to the run to the main thread when it goes out of scope.
class HandBack {
public:
    explicit HandBack(std::shared_ptr<RunState>& state)
        : m_state(state)
    {}
    ~HandBack()
    {
        if (QCoreApplication* application = QCoreApplication::instance()) {
            QMetaObject::invokeMethod(application, handedOver([state = std::move(m_state)] { (void)state; }),
                                      Qt::QueuedConnection);
        }
    }
    HandBack(const HandBack&) = delete;
    HandBack& operator=(const HandBack&) = delete;

private:
    std::shared_ptr<RunState>& m_state;
};

// Measures the integrated loudness and true peak of the source's samples in the processed
// buffer and hands them to the editor, unless a newer load has taken over by then. A
// failure of the measurement ends it with the meter's failure line and no figures.
void measureLoudnessAndPost(const std::shared_ptr<RunState>& state, const AudioBuffer& audio, size_t first,
                            size_t count, float gain, std::shared_ptr<const JobToken> meter,
                            const FaultHook& faultHook)
{
    std::optional<RecordingLoudness> measured;
    try {
        faultPoint(faultHook, "loudness");
        measured = measureRecordingLoudness(audio, first, count, gain, meter->cancelledFlag());
    } catch (...) {
        post(
                state,
                [meter, reason = describeException(std::current_exception())](VideoEditorViewModel& target) {
                    if (meter->isCancelled())
                        return;
                    AudioPipelineAccess::stopMeasuring(target);
                    logLine(QStringLiteral("[Audio] Hangosság mérés hiba: ") + reason);
                },
                Guard::loudnessMeter);
        return;
    }
    if (!measured)
        return;
    post(
            state,
            [measured = *measured, meter = std::move(meter)](VideoEditorViewModel& target) {
                if (meter->isCancelled())
                    return;
                AudioPipelineAccess::meterFinished(target, measured);
                if (measured.integratedLUFS && measured.truePeakDBTP) {
                    logLine(QStringLiteral("[Audio] Integrált hangosság: ") +
                            formatFixed(*measured.integratedLUFS, 1) +
                            QStringLiteral(" LUFS, valódi csúcs: ") + formatFixed(*measured.truePeakDBTP, 1) +
                            QStringLiteral(" dBTP"));
                }
            },
            Guard::loudnessMeter);
}

void publishRecording(const std::shared_ptr<RunState>& state, const AudioPipelineRequest& request,
                      const AudioPipelineHooks& hooks, ProcessedAudioRequest render,
                      ProcessedAudioResult built, const std::shared_ptr<RenderedAudioFile>& wav);

// The steps on the background thread.
void runSteps(const std::shared_ptr<RunState>& state, const AudioPipelineRequest& request,
              const AudioPipelineHooks& hooks)
{
    // One decode feeds everything: loudness, processed buffer, WAV file and frame slices.
    ProcessedAudioRequest render;
    render.startSilence = request.startSilence;
    render.endSilence = request.endSilence;
    render.gain = gainForVolumeBoost(request.volumeBoost);
    render.wavPath = newProcessedAudioPath(request.temporaryDirectory);
    // The slice length is fixed by the frame store's 44.1 kHz convention, whatever the
    // recording's own rate.
    render.samplesPerFrame = samplesPerFrame(44100.0, VideoEditorViewModel::FPS);
    render.cancelled = &request.job->cancelledFlag();
    render.faultHook = request.faultHook;
    // The WAV goes from the disk when the last of its users lets go: this run, unless it
    // hands it to the editor.
    const auto wav = std::make_shared<RenderedAudioFile>(render.wavPath);
    ProcessedAudioResult built = ProcessedAudioBuilder(render).build(request.sourcePath);
    if (request.job->isCancelled())
        return;
    faultPoint(request.faultHook, "audioPipeline");

    const bool measureMeter = request.measureLoudness && built.decode.ok && request.loudnessJob;
    if (request.measureLoudness) {
        std::optional<double> loudness;
        if (built.decode.ok)
            loudness = rmsLoudnessFromSums(built.squareSums, built.sourceFrames);
        else
            postLog(state, QStringLiteral("[Audio] Hangosság mérés hiba: ") + built.decode.error);
        post(state, [loudness, measureMeter](VideoEditorViewModel& target) {
            // The figures of an earlier recording go; this one's follow the loading.
            AudioPipelineAccess::recordingDecoded(target, loudness, measureMeter);
            if (loudness) {
                logLine(QStringLiteral("[Audio] Eredeti hangosság: ") + formatFixed(*loudness, 1) +
                        QStringLiteral(" dB RMS"));
            }
        });
    }

    // The meter reads the processed buffer after the rest is published: the recording is
    // ready to play while it works.
    const std::shared_ptr<const AudioBuffer> processed = built.audio;
    const size_t sourceOffset = built.sourceOffset;
    const auto sourceFrames = size_t(std::max<int64_t>(built.sourceFrames, 0));
    const float gain = render.gain;
    publishRecording(state, request, hooks, std::move(render), std::move(built), wav);
    if (measureMeter && processed && !request.job->isCancelled())
        measureLoudnessAndPost(state, *processed, sourceOffset, sourceFrames, gain, request.loudnessJob,
                               request.faultHook);
}

void runAudioPipeline(std::shared_ptr<RunState> state, const AudioPipelineRequest& request,
                      const AudioPipelineHooks& hooks)
{
    const HandBack handBack(state);
    // An exception or allocation failure anywhere in the work ends like any other failed
    // load: the failure line, the loading state over, audioLoadFinished(false).
    try {
        runSteps(state, request, hooks);
    } catch (...) {
        postFailure(state, hooks.failureLogPrefix, describeException(std::current_exception()));
    }
}

// Everything after the loudness: the silence log, the player, the waveform, the frames.
void publishRecording(const std::shared_ptr<RunState>& state, const AudioPipelineRequest& request,
                      const AudioPipelineHooks& hooks, ProcessedAudioRequest render,
                      ProcessedAudioResult built, const std::shared_ptr<RenderedAudioFile>& wav)
{
    const AudioLogSink log = [state](const QString& line) { postLog(state, line); };
    log(QStringLiteral("[Audio] Csend hozzáadása: ") + formatDouble(request.startSilence) +
        QStringLiteral("s elején, ") + formatDouble(request.endSilence) + QStringLiteral("s végén..."));
    bool rendered = false;
    if (!built.decode.ok) {
        log(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ") + built.decode.error);
    } else {
        // The whole source must fit one buffer of an unsigned 32-bit frame capacity.
        toFrameCountChecked(static_cast<double>(built.sourceFrames));
        if (render.gain != 1.0f)
            log(gainLogLine(request.volumeBoost, render.gain));
        if (!built.writeError.isEmpty()) {
            log(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ") + built.writeError);
        } else {
            for (const QString& line :
                 renderedLogLines(request.startSilence, request.endSilence, render.wavPath))
                log(line);
            rendered = true;
        }
    }
    if (!rendered) {
        postFailure(state, hooks.failureLogPrefix, QStringLiteral("Nem sikerült csendet hozzáadni"));
        return;
    }
    postProgress(state, 0.1);

    // The player is made on the main thread, where it lives.
    const std::shared_ptr<const AudioBuffer> audio = std::move(built.audio);
    post(state, [state, audio, wav, request, hooks](VideoEditorViewModel& target) {
        const AudioPlayerFactory& factory = target.environment().audioPlayerFactory;
        std::unique_ptr<AudioPlayer> player = factory ? factory(audio) : nullptr;
        if (!player) {
            state->failed = true;
            target.setIsLoadingAudio(false);
            const QString reason =
                    hooks.failureLogPrefix + QStringLiteral("Nem sikerült lejátszót létrehozni");
            logLine(reason);
            emit target.audioLoadFailed(reason);
            emit target.audioLoadFinished(false);
            return;
        }
        state->duration = player->duration();
        AudioPipelineAccess::setAudioPlayer(target, std::move(player));
        target.setDuration(state->duration);
        target.setAudioURL(wav->path());
        AudioPipelineAccess::adoptRenderedAudio(target, wav);
        target.setLoadingProgress(0.2);
        logLine(QStringLiteral("[Audio] Teljes időtartam csendekkel: ") + formatDouble(state->duration) +
                QStringLiteral("s (eredeti + ") + formatDouble(request.startSilence) +
                QStringLiteral("s + ") + formatDouble(request.endSilence) + QStringLiteral("s)"));
    });

    if (request.job->isCancelled())
        return;
    const std::span<const float> channel0 = audio->channels.front();
    std::vector<float> bars = waveformBars(channel0);
    post(state, [bars = std::move(bars)](VideoEditorViewModel& target) mutable {
        target.setWaveformData(std::move(bars));
    });
    postProgress(state, 0.5);

    post(state, [state](VideoEditorViewModel& target) {
        target.getFrameManager().ensureFrameCount(state->duration, VideoEditorViewModel::FPS);
        emit target.framesChanged();
        target.setLoadingProgress(0.7);
    });

    auto slices = std::make_shared<FrameAudioSlices>(std::move(built.slices));
    post(state, [slices](VideoEditorViewModel& target) {
        target.getFrameManager().applyAudioSlices(std::move(*slices));
        target.announceChange();
    });

    post(state, [state, hooks](VideoEditorViewModel& target) {
        if (hooks.finished)
            hooks.finished(target, state->duration);
        // Last, so that whoever waits for the end sees the state the hook left.
        emit target.audioLoadFinished(true);
    });
}

} // namespace

void startAudioPipeline(VideoEditorViewModel& editor, AudioPipelineRequest request, AudioPipelineHooks hooks)
{
    auto state = std::make_shared<RunState>();
    state->editor = &editor;
    state->job = request.job;
    // Fire and forget: the results arrive as queued calls.
    runInBackground(
            [state = std::move(state), request = std::move(request), hooks = std::move(hooks)]() mutable {
                runAudioPipeline(std::move(state), request, hooks);
            });
}
