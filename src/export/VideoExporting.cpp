// The editor's export commands: the save chooser, the snapshot taken when an export starts,
// the background work item, and the progress, mux and final alert back on the main thread.
#include "editor/VideoEditorViewModel.h"
#include "export/AudioMuxer.h"
#include "export/VideoExport.h"
#include "support/Dialogs.h"
#include "support/Log.h"
#include "support/ThreadHandover.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

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
        self->setIsSavingProject(true);
        self->setSavingProgress(0.0);
        self->setSavingProgressText(QStringLiteral("0%\nIndítás..."));
        self->exportVideoFile(*path);
    });
}

void VideoEditorViewModel::exportVideoFile(const QString& to)
{
    auto job = std::make_shared<VideoExportJob>();
    job->frames = snapshotFrames(m_frameManager);
    job->destination = to;
    const QSizeF size = videoSize();
    job->width = static_cast<int>(size.width());
    job->height = static_cast<int>(size.height());
    job->exportFPS = m_exportFPS;
    job->transitionDuration = m_transitionDuration;

    // The recording is encoded while the video is, cut to the length the video will have;
    // the mux then only copies. It is used only if the file is still the same by then.
    std::optional<PreparedAudio> prepared;
    if (m_audioURL && m_exportFPS > 0) {
        const double videoDuration = static_cast<double>(job->frames.size()) / m_exportFPS;
        prepared = computeInBackground(
                [path = *m_audioURL, videoDuration]() { return encodeAac(path, videoDuration, nullptr); });
    }

    QPointer<VideoEditorViewModel> editor(this);
    runInBackground([job, editor, prepared]() {
        const VideoExportResult result = runVideoExport(
                *job,
                [editor](int64_t written, int64_t total) {
                    const double share = static_cast<double>(written) / static_cast<double>(total);
                    // The frames fill the first 80 % of the bar; the text shows their true share.
                    postToMain([editor, share, text = progressText(written, total)] {
                        if (!editor)
                            return;
                        editor->setSavingProgress(share * 0.8);
                        editor->setSavingProgressText(text);
                    });
                },
                [editor] {
                    postToMain([editor] {
                        if (!editor)
                            return;
                        editor->setSavingProgress(0.95);
                        editor->setSavingProgressText(QStringLiteral("95%\nBefejezés..."));
                    });
                });

        if (result.threw) {
            logLine(QStringLiteral("[Export] EXCEPTION: %1").arg(result.exceptionLog));
            postToMain([editor, text = result.exceptionText] {
                if (!editor)
                    return;
                editor->setIsSavingProject(false);
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
        postToMain([editor, result, destination, frameCount, prepared] {
            if (!editor)
                return;
            editor->setSavingProgress(1.0);
            editor->setSavingProgressText(QStringLiteral("100%\nKész!"));
            Dialogs* dialogs = editor->environment().dialogs;
            if (result.status == VideoWriterStatus::completed && editor->audioURL()) {
                logLine(QStringLiteral("[Export] Video kész, audio hozzáadása..."));
                editor->setSavingProgressText(QStringLiteral("Video kész, audio hozzáadása..."));
                const std::shared_ptr<PartialVideoFile> video = result.video;
                muxAudioIntoVideo(
                        video->path(), *editor->audioURL(),
                        [editor, video, destination, frameCount](bool ok) {
                            // With or without its sound, the video is finished now. Should the
                            // move fail, the destination keeps what it had.
                            QString placeError;
                            const bool placed = video->commit(&placeError);
                            if (!placed)
                                logLine(QStringLiteral("[Export] EXCEPTION: %1").arg(placeError));
                            postToMain([editor, destination, frameCount, ok, placed, placeError] {
                                if (!editor)
                                    return;
                                editor->setIsSavingProject(false);
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
                        prepared);
            } else if (result.status == VideoWriterStatus::completed) {
                QString placeError;
                const bool placed = result.video->commit(&placeError);
                editor->setIsSavingProject(false);
                if (placed) {
                    dialogs->alert(
                            AlertStyle::informational, QStringLiteral("Export kész!"),
                            QStringLiteral("%1 frame exportálva:\n%2").arg(frameCount).arg(destination));
                } else {
                    logLine(QStringLiteral("[Export] EXCEPTION: %1").arg(placeError));
                    dialogs->alert(AlertStyle::critical, QStringLiteral("Export hiba"), placeError);
                }
            } else {
                editor->setIsSavingProject(false);
                dialogs->alert(AlertStyle::critical, QStringLiteral("Export hiba"),
                               result.writerError.isEmpty() ? QStringLiteral("Ismeretlen hiba")
                                                            : result.writerError);
            }
        });
    });
}
