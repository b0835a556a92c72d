#include "export/AudioMuxer.h"

#include "media/MovMuxer.h"
#include "support/ExceptionText.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <filesystem>
#include <system_error>

namespace {

// The encoded audio to use: the prepared one when it was made from this very file and cut
// to this video's length, else a fresh encoding.
std::shared_ptr<const EncodedAudio> audioFor(const QString& audioPath, double videoDuration,
                                             std::optional<PreparedAudio> prepared, QString* error,
                                             const JobToken* ticket)
{
    if (prepared) {
        std::shared_ptr<const EncodedAudio> audio = prepared->result();
        if (audio && isSameSource(*audio, audioPath) && audio->sampleRate > 0 &&
            std::llround(audio->maxDuration * audio->sampleRate) ==
                    std::llround(videoDuration * audio->sampleRate))
            return audio;
    }
    return encodeAac(audioPath, videoDuration, error, ticket ? &ticket->cancelledFlag() : nullptr);
}

} // namespace

namespace {

// Logs why the mux failed and hands the same line to the caller.
void failMux(const MuxCompletion& completion, const QString& line)
{
    logLine(line);
    completion(false, line);
}

} // namespace

void muxAudioIntoVideo(const QString& videoPath, const QString& audioPath, MuxCompletion completion,
                       std::optional<PreparedAudio> prepared, std::shared_ptr<const JobToken> ticket,
                       FaultHook faultHook)
{
    const std::optional<double> videoDuration = videoStreamDuration(videoPath);
    if (!videoDuration) {
        failMux(completion, QStringLiteral("[Audio] Video track hiba"));
        return;
    }
    if (!hasAudioStream(audioPath)) {
        failMux(completion, QStringLiteral("[Audio] Audio track hiba"));
        return;
    }
    // The video's length is the one that counts: a longer recording is cut to it, a shorter
    // one is not padded.
    const double duration = *videoDuration;
    if (!(duration > 0.0)) {
        failMux(completion, QStringLiteral("[Audio] Insert error: a videó hossza nulla"));
        return;
    }
    const QString temporaryPath = QFileInfo(videoPath).dir().filePath(kTemporaryMuxName);
    QFile::remove(temporaryPath);
    if (!canMuxAacIntoMov()) {
        failMux(completion, QStringLiteral("[Audio] Export session létrehozás hiba"));
        return;
    }

    logLine(QStringLiteral("[Audio] Export session start..."));
    // Detached work item: its completion is the only result.
    runInBackground([videoPath, audioPath, temporaryPath, duration, prepared = std::move(prepared),
                     completion = std::move(completion), ticket = std::move(ticket),
                     faultHook = std::move(faultHook)]() mutable {
        QString error;
        std::shared_ptr<const EncodedAudio> audio;
        bool written = false;
        // An exception or allocation failure ends like any failed mux, with its line.
        try {
            faultPoint(faultHook, "mux");
            audio = audioFor(audioPath, duration, std::move(prepared), &error, ticket.get());
            written = audio && writeMuxedFile(videoPath, *audio, temporaryPath, &error, ticket.get());
        } catch (...) {
            error = describeException(std::current_exception());
        }
        if (!written) {
            // Nothing half-written is left beside the silent video, which stays as it is.
            QFile::remove(temporaryPath);
            failMux(completion, QStringLiteral("[Audio] Export hiba: %1")
                                        .arg(error.isEmpty() ? QStringLiteral("unknown") : error));
            return;
        }
        logLine(QStringLiteral("[Audio] Export kész, fájl csere..."));
        // One rename replaces the silent video: there is no moment without a video at its
        // path, and a failed swap leaves the silent one in place.
        std::error_code swapError;
        std::filesystem::rename(std::filesystem::path(QFile::encodeName(temporaryPath).toStdString()),
                                std::filesystem::path(QFile::encodeName(videoPath).toStdString()), swapError);
        if (swapError) {
            failMux(completion, QStringLiteral("[Audio] Fájl csere hiba: %1")
                                        .arg(QString::fromLocal8Bit(swapError.message().c_str())));
            return;
        }
        logLine(QStringLiteral("[Audio] Audio hozzáadva!"));
        completion(true, QString());
    });
}
