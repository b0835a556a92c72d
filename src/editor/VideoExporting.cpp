// The editor's export commands: the save chooser, the snapshot taken when an export starts,
// the background work item, and the progress, mux and final alert back on the main thread.
#include "audio/RenderedAudioFile.h"
#include "editor/VideoEditorViewModel.h"
#include "export/AudioMuxer.h"
#include "export/VideoExport.h"
#include "model/Frames.h"
#include "support/Dialogs.h"
#include "support/ExceptionText.h"
#include "support/Log.h"
#include "support/ThreadHandover.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

// The log line of an export that ended in an exception or could not put its video in place.
QString exceptionLine(const QString& what)
{
    return QStringLiteral("[Export] EXCEPTION: %1").arg(what);
}

// Runs `work` on the main thread, after what was posted before it. The application object
// is the context, so posting never touches the editor from the background thread; the
// work checks its weak pointer there.
void postToMain(std::function<void()> work)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), handedOver(std::move(work)),
                              Qt::QueuedConnection);
}

QString progressText(int64_t written, int64_t total)
{
    const double share = static_cast<double>(written) / static_cast<double>(total);
    return QStringLiteral("%1%\n%2/%3 frame")
            .arg(static_cast<int64_t>(share * 100.0))
            .arg(written)
            .arg(total);
}

} // namespace

void VideoEditorViewModel::exportVideo()
{
    SaveFileRequest request{QStringLiteral("Videó exportálása"),
                            QStringLiteral("video.mov"),
                            QStringLiteral("Videó fájl mentése (MOV/MP4)"),
                            {FileType{QStringLiteral("QuickTime"), {QStringLiteral("mov")}},
                             FileType{QStringLiteral("MPEG-4"), {QStringLiteral("mp4")}}},
                            true};
    QPointer<VideoEditorViewModel> self(this);
    m_environment.dialogs->chooseSaveFile(request, [self](std::optional<QString> path) {
        if (!path || !self)
            return;
        self->publishProgress(self->m_exportProgress.begin(0.0, QStringLiteral("0%\nIndítás...")));
        self->exportVideoFile(*path);
    });
}

void VideoEditorViewModel::exportVideoFile(const QString& to)
{
    auto job = std::make_shared<VideoExportJob>();
    job->frames = snapshotFrames(*m_frameManager);
    job->destination = to;
    // The canvas stays the same at every resolution; 4K draws it at twice the scale.
    const QSize size = exportPixelSize(videoSize(), m_exportResolution);
    job->width = size.width();
    job->height = size.height();
    job->scale = exportScale(m_exportResolution);
    if (job->scale > 1)
        job->pdfPages = pdfPageOrigins(m_pages.pages());
    job->exportFPS = m_exportFPS;
    job->transitionDuration = m_transitionDuration;
    // Each export has its own ticket: a newer one leaves it running; closing calls it off.
    const std::shared_ptr<JobToken> ticket = m_exportJobs.start(false);
    job->ticket = ticket;
    job->faultHook = m_environment.faultHook;
    // The recording is the one loaded now: a load, reload or New project while the export
    // runs changes the editor, not this export. Its temporary WAV stays on the disk until
    // the export has ended.
    const std::optional<QString> audioPath = m_audioURL;
    const std::shared_ptr<RenderedAudioFile> recording = m_audio.renderedAudio();
    const FaultHook faultHook = m_environment.faultHook;

    // The recording is encoded while the video is, cut to the length the video will have;
    // the mux then only copies. It is used only if the file is still the same by then.
    std::optional<PreparedAudio> prepared;
    if (audioPath && m_exportFPS > 0) {
        const double videoDuration = static_cast<double>(job->frames.size()) / m_exportFPS;
        prepared = computeInBackground([path = *audioPath, videoDuration, ticket, recording]() {
            return encodeAac(path, videoDuration, nullptr, &ticket->cancelledFlag());
        });
    }

    QPointer<VideoEditorViewModel> editor(this);
    runInBackground([job, editor, prepared, ticket, audioPath, recording, faultHook]() {
        // Nothing of a called-off export reaches the editor: no progress, no alert.
        const auto live = [editor, ticket] { return editor && !ticket->isCancelled(); };
        VideoExportResult result;
        try {
            result = runVideoExport(
                    *job,
                    [live, editor](int64_t written, int64_t total) {
                        const double share = static_cast<double>(written) / static_cast<double>(total);
                        // The frames fill the first 80 % of the bar; the text shows their true share.
                        postToMain([live, editor, share, text = progressText(written, total)] {
                            if (!live())
                                return;
                            editor->publishProgress(editor->m_exportProgress.advance(share * 0.8, text));
                        });
                    },
                    [live, editor] {
                        postToMain([live, editor] {
                            if (!live())
                                return;
                            editor->publishProgress(editor->m_exportProgress.advance(
                                    0.95, QStringLiteral("95%\nBefejezés...")));
                        });
                    });
        } catch (...) {
            // Any failure of the export's own work ends like a writer that could not start.
            result = VideoExportResult{};
            result.threw = true;
            result.exceptionLog = describeException(std::current_exception());
            result.exceptionText = result.exceptionLog;
        }
        if (result.cancelled || ticket->isCancelled())
            return;

        if (result.threw) {
            const QString thrownLine = exceptionLine(result.exceptionLog);
            logLine(thrownLine);
            const QString reason = result.failureLine.isEmpty() ? thrownLine : result.failureLine;
            postToMain([live, editor, text = result.exceptionText, reason] {
                if (!live())
                    return;
                editor->publishProgress(editor->m_exportProgress.finish());
                emit editor->exportFailed(reason);
                editor->environment().dialogs->alert(AlertStyle::critical, QStringLiteral("Export hiba"),
                                                     text);
            });
            return;
        }

        const QString destination = job->destination;
        const int64_t frameCount = static_cast<int64_t>(job->frames.size());
        // The finished video waits under its temporary name until the sound is in; it takes
        // the destination's place only then. Should the editor be gone, the last copy of
        // `result` removes it.
        postToMain([live, editor, result, destination, frameCount, prepared, ticket, audioPath, recording,
                    faultHook] {
            if (!live())
                return;
            editor->publishProgress(editor->m_exportProgress.advance(1.0, QStringLiteral("100%\nKész!")));
            Dialogs* dialogs = editor->environment().dialogs;
            if (result.status == VideoWriterStatus::completed && audioPath) {
                logLine(QStringLiteral("[Export] Video kész, audio hozzáadása..."));
                editor->publishProgress(
                        editor->m_exportProgress.describe(QStringLiteral("Video kész, audio hozzáadása...")));
                const std::shared_ptr<PartialVideoFile> video = result.video;
                muxAudioIntoVideo(
                        video->path(), *audioPath,
                        [live, editor, video, destination, frameCount, ticket,
                         recording](bool ok, const QString& muxFailure) {
                            // Called off during the mux: the video is not put in place, and the
                            // last copy of `video` removes it.
                            if (ticket->isCancelled())
                                return;
                            // With or without its sound, the video is finished now. Should the
                            // move fail, the destination keeps what it had.
                            QString placeError;
                            const bool placed = video->commit(&placeError);
                            const QString placeLine = exceptionLine(placeError);
                            if (!placed)
                                logLine(placeLine);
                            postToMain([live, editor, destination, frameCount, ok, placed, placeError,
                                        reason = placed ? muxFailure : placeLine] {
                                if (!live())
                                    return;
                                editor->publishProgress(editor->m_exportProgress.finish());
                                if (!placed || !ok)
                                    emit editor->exportFailed(reason);
                                Dialogs* alerts = editor->environment().dialogs;
                                if (!placed) {
                                    alerts->alert(AlertStyle::critical, QStringLiteral("Export hiba"),
                                                  placeError);
                                } else if (ok) {
                                    alerts->alert(AlertStyle::informational,
                                                  QStringLiteral("Export kész audio-val!"),
                                                  QStringLiteral("%1 frame + audio exportálva:\n%2")
                                                          .arg(frameCount)
                                                          .arg(destination));
                                } else {
                                    alerts->alert(AlertStyle::warning,
                                                  QStringLiteral("Video OK, audio hiba!"),
                                                  QStringLiteral("A video exportálva, de az audio hozzáadása "
                                                                 "sikertelen:\n%1")
                                                          .arg(destination));
                                }
                            });
                        },
                        prepared, ticket, faultHook);
            } else if (result.status == VideoWriterStatus::completed) {
                QString placeError;
                const bool placed = result.video->commit(&placeError);
                editor->publishProgress(editor->m_exportProgress.finish());
                if (placed) {
                    dialogs->alert(
                            AlertStyle::informational, QStringLiteral("Export kész!"),
                            QStringLiteral("%1 frame exportálva:\n%2").arg(frameCount).arg(destination));
                } else {
                    const QString placeLine = exceptionLine(placeError);
                    logLine(placeLine);
                    emit editor->exportFailed(placeLine);
                    dialogs->alert(AlertStyle::critical, QStringLiteral("Export hiba"), placeError);
                }
            } else {
                editor->publishProgress(editor->m_exportProgress.finish());
                if (!result.failureLine.isEmpty())
                    emit editor->exportFailed(result.failureLine);
                dialogs->alert(AlertStyle::critical, QStringLiteral("Export hiba"),
                               result.writerError.isEmpty() ? QStringLiteral("Ismeretlen hiba")
                                                            : result.writerError);
            }
        });
    });
}
