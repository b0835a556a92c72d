// Rebuilding the recording after the silences or the boost changed: the same background
// pipeline as loading, without measuring the loudness again, followed by copying the page
// assignments by the change of the start silence so that they stay with the music.
#include "editor/AudioPipeline.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/CheckedConversions.h"
#include "support/Log.h"
#include "support/ValueFormat.h"

#include <functional>
#include <vector>

namespace {

struct SavedAssignment {
    int64_t frameIndex = 0;
    int imageIndex = 0;
};

// How many copied assignments are logged one by one; the rest only count in the total.
constexpr int kLoggedAssignments = 5;

std::vector<SavedAssignment> saveAssignments(const Frames& frames)
{
    std::vector<SavedAssignment> saved;
    const int64_t count = frames.getFrameCount();
    for (int64_t frame = 0; frame < count; ++frame) {
        const auto record = frames.getFrame(frame);
        if (record && record->assignedImageIndex)
            saved.push_back({frame, *record->assignedImageIndex});
    }
    return saved;
}

// Writes each saved assignment `frameShift` frames further on. A copy, not a move: the frames
// the assignments came from keep theirs unless another copy lands on them.
// `assign` writes one page into one frame without announcing it.
void shiftAssignments(VideoEditorViewModel& editor, const std::vector<SavedAssignment>& saved,
                      int64_t frameShift,
                      const std::function<void(const QImage&, int64_t frame, int imageIndex)>& assign)
{
    logLine(QStringLiteral("[Audio] Frame hozzárendelések eltolása ") + QString::number(frameShift) +
            QStringLiteral(" frame-mel..."));
    const int64_t frameCount = editor.getFrameManager().getFrameCount();
    const std::vector<ImageItem>& images = editor.images();
    int restored = 0;
    for (const SavedAssignment& pair : saved) {
        const int64_t target = pair.frameIndex + frameShift;
        // A page removed from the list since it was recorded has no picture to copy; such an
        // assignment is dropped like one that would land outside the timeline.
        const bool pageExists = pair.imageIndex >= 0 && static_cast<size_t>(pair.imageIndex) < images.size();
        if (target < 0 || target >= frameCount || !pageExists) {
            logLine(QStringLiteral("[Audio] SKIP: Frame ") + QString::number(pair.frameIndex) +
                    QStringLiteral(" → ") + QString::number(target) + QStringLiteral(" (érvénytelen)"));
            continue;
        }
        assign(images[static_cast<size_t>(pair.imageIndex)].image(), target, pair.imageIndex);
        if (++restored <= kLoggedAssignments) {
            logLine(QStringLiteral("[Audio] Frame ") + QString::number(pair.frameIndex) +
                    QStringLiteral(" → ") + QString::number(target) + QStringLiteral(", kép #") +
                    QString::number(pair.imageIndex));
        }
    }
    logLine(QStringLiteral("[Audio] ") + QString::number(restored) +
            QStringLiteral(" hozzárendelés visszaállítva"));
    editor.announceChange();
}

} // namespace

void VideoEditorViewModel::reloadAudioWithNewSilence()
{
    if (!m_audio.originalURL()) {
        logLine(QStringLiteral("[Audio] Nincs eredeti audio URL az újratöltéshez"));
        return;
    }
    logLine(QStringLiteral("[Audio] Újratöltés új csend értékekkel..."));

    const double startChange = m_startSilenceDuration - m_audio.previousStartSilence();
    const int64_t frameShift = roundToInt64Checked(startChange * static_cast<double>(FPS));
    logLine(QStringLiteral("[Audio] Kezdő csend változás: ") + formatDouble(startChange) +
            QStringLiteral("s (") + QString::number(frameShift) + QStringLiteral(" frame)"));
    logLine(QStringLiteral("[Audio] Vég csend változás: ") +
            formatDouble(m_endSilenceDuration - m_audio.previousEndSilence()) + QStringLiteral("s"));

    // The end silence never moves the music, so only a start change saves anything.
    std::vector<SavedAssignment> saved;
    if (frameShift != 0) {
        saved = saveAssignments(*m_frameManager);
        logLine(QStringLiteral("[Audio] ") + QString::number(saved.size()) +
                QStringLiteral(" hozzárendelés mentve"));
    }

    // A load still running is called off by this reload; its loudness meter would never
    // start, so this reload measures in its place.
    const bool measureLoudness = m_isLoadingAudio;
    pause();
    setCurrentTime(0.0);
    setIsLoadingAudio(true);
    setLoadingProgress(0.0);

    AudioPipelineRequest request;
    request.sourcePath = *m_audio.originalURL();
    request.startSilence = m_startSilenceDuration;
    request.endSilence = m_endSilenceDuration;
    request.volumeBoost = m_volumeBoost;
    request.temporaryDirectory = m_environment.temporaryDirectory;
    request.measureLoudness = measureLoudness;
    const AudioTrack::Tickets tickets = m_audio.beginReload(measureLoudness);
    request.job = tickets.recording;
    request.loudnessJob = tickets.loudness;
    request.faultHook = m_environment.faultHook;

    AudioPipelineHooks hooks;
    hooks.failureLogPrefix = QStringLiteral("[Audio] Hiba újratöltéskor: ");
    hooks.finished = [saved = std::move(saved), frameShift](VideoEditorViewModel& editor, double duration) {
        if (frameShift != 0 && !saved.empty())
            shiftAssignments(editor, saved, frameShift,
                             [&editor](const QImage& image, int64_t frame, int index) {
                                 editor.assignImageWithIndex(image, frame, index);
                             });
        editor.setLoadingProgress(1.0);
        editor.setIsLoadingAudio(false);
        // Only a successful reload moves the reference point: after a failure the next apply
        // compares against the silences the current recording really has.
        editor.m_audio.silencesApplied(editor.startSilenceDuration(), editor.endSilenceDuration());
        logLine(QStringLiteral("[Audio] Újratöltés kész: ") + formatDouble(duration) +
                QStringLiteral(" mp, frame-ek száma: ") +
                QString::number(editor.getFrameManager().getFrameCount()));
    };
    startAudioPipeline(*this, std::move(request), std::move(hooks));
}
