#include "export/AudioMuxer.h"

#include "media/FfmpegError.h"
#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "media/MediaInterrupt.h"
#include "support/ExceptionText.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cmath>
#include <filesystem>
#include <system_error>

namespace {

using OpenedVideo = MediaInput;

// `interrupt` (may be null) lets a called-off mux give up a blocking read; it must outlive
// the opened video.
std::optional<OpenedVideo> openVideo(const QString& path, const MediaInterrupt* interrupt = nullptr)
{
    OpenedVideo video;
    if (openMediaInput(video, path, AVMEDIA_TYPE_VIDEO, StreamDecoder::notNeeded, interrupt) < 0)
        return std::nullopt;
    return video;
}

double streamDuration(const OpenedVideo& video)
{
    const AVStream* stream = video.stream();
    if (stream->duration > 0)
        return static_cast<double>(stream->duration) * av_q2d(stream->time_base);
    if (video.format->duration > 0)
        return static_cast<double>(video.format->duration) / AV_TIME_BASE;
    return 0.0;
}

bool hasAudioStream(const QString& path)
{
    MediaInput input;
    return openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::notNeeded) >= 0;
}

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

bool writePacket(AVFormatContext* output, AVPacket* packet, AVRational from, const AVStream* to,
                 QString* error)
{
    av_packet_rescale_ts(packet, from, to->time_base);
    packet->stream_index = to->index;
    packet->pos = -1;
    const int result = av_interleaved_write_frame(output, packet);
    if (result < 0) {
        *error = QStringLiteral("A fájl írása sikertelen: %1").arg(ffmpegErrorText(result));
        return false;
    }
    return true;
}

} // namespace

std::optional<double> videoStreamDuration(const QString& videoPath)
{
    const std::optional<OpenedVideo> video = openVideo(videoPath);
    if (!video)
        return std::nullopt;
    return streamDuration(*video);
}

bool writeMuxedFile(const QString& videoPath, const EncodedAudio& audio, const QString& outputPath,
                    QString* error, const JobToken* ticket)
{
    error->clear();
    // A called-off mux must not sit in a blocking read or write.
    const MediaInterrupt interrupt(ticket ? &ticket->cancelledFlag() : nullptr);
    std::optional<OpenedVideo> video = openVideo(videoPath, &interrupt);
    if (!video) {
        *error = QStringLiteral("A videó nem olvasható");
        return false;
    }
    const AVStream* videoIn = video->stream();

    AVFormatContext* rawOutput = nullptr;
    const QByteArray outputBytes = QFile::encodeName(outputPath);
    int result = avformat_alloc_output_context2(&rawOutput, nullptr, "mov", outputBytes.constData());
    if (result < 0 || !rawOutput) {
        *error = ffmpegErrorText(result);
        return false;
    }
    OutputContextPtr output(rawOutput);
    AVStream* videoOut = avformat_new_stream(rawOutput, nullptr);
    AVStream* audioOut = avformat_new_stream(rawOutput, nullptr);
    if (!videoOut || !audioOut || avcodec_parameters_copy(videoOut->codecpar, videoIn->codecpar) < 0 ||
        avcodec_parameters_copy(audioOut->codecpar, audio.parameters.get()) < 0) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    videoOut->codecpar->codec_tag = 0;
    videoOut->time_base = videoIn->time_base;
    videoOut->avg_frame_rate = videoIn->avg_frame_rate;
    audioOut->codecpar->codec_tag = 0;
    const AVRational audioTimeBase{1, audio.sampleRate};
    audioOut->time_base = audioTimeBase;

    interrupt.installOn(rawOutput);
    if ((result = avio_open2(&rawOutput->pb, outputBytes.constData(), AVIO_FLAG_WRITE,
                             &rawOutput->interrupt_callback, nullptr)) < 0) {
        *error = QStringLiteral("A fájl nem hozható létre: %1").arg(ffmpegErrorText(result));
        return false;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    result = avformat_write_header(rawOutput, &options);
    // What the muxer hands back holds the options it did not take.
    const DictionaryPtr unused(options);
    if (result >= 0 && av_dict_count(unused.get()) > 0)
        result = AVERROR_OPTION_NOT_FOUND;
    if (result < 0) {
        *error = QStringLiteral("A fájl fejléce nem írható: %1").arg(ffmpegErrorText(result));
        return false;
    }

    // Both streams are written in decoding-time order, so the muxer never has to hold more
    // than a packet or two of either.
    PacketPtr videoPacket(av_packet_alloc());
    PacketPtr audioPacket(av_packet_alloc());
    if (!videoPacket || !audioPacket) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    auto readVideo = [&]() -> int {
        while (true) {
            const int read = av_read_frame(video->format.get(), videoPacket.get());
            if (read < 0)
                return read;
            if (videoPacket->stream_index == video->streamIndex)
                return 0;
            av_packet_unref(videoPacket.get());
        }
    };
    EncodedAudio::Reader audioReader;
    if (!audioReader.open(audio, error))
        return false;
    int videoState = readVideo();
    bool audioPending = audioReader.next(audioPacket.get(), error);
    if (!error->isEmpty())
        return false;
    while (videoState >= 0 || audioPending) {
        if (ticket && ticket->isCancelled()) {
            *error = QStringLiteral("megszakítva");
            return false;
        }
        bool takeVideo = videoState >= 0;
        if (takeVideo && audioPending) {
            const int64_t videoTime =
                    videoPacket->dts != AV_NOPTS_VALUE ? videoPacket->dts : videoPacket->pts;
            takeVideo = av_compare_ts(videoTime, videoIn->time_base, audioPacket->dts, audioTimeBase) <= 0;
        }
        if (takeVideo) {
            if (!writePacket(rawOutput, videoPacket.get(), videoIn->time_base, videoOut, error))
                return false;
            videoState = readVideo();
        } else {
            if (!writePacket(rawOutput, audioPacket.get(), audioTimeBase, audioOut, error))
                return false;
            audioPending = audioReader.next(audioPacket.get(), error);
            if (!error->isEmpty())
                return false;
        }
    }
    if (videoState != AVERROR_EOF) {
        *error = QStringLiteral("A videó olvasása sikertelen: %1").arg(ffmpegErrorText(videoState));
        return false;
    }
    if ((result = av_write_trailer(rawOutput)) < 0) {
        *error = QStringLiteral("A fájl lezárása sikertelen: %1").arg(ffmpegErrorText(result));
        return false;
    }
    if ((result = avio_closep(&rawOutput->pb)) < 0) {
        *error = QStringLiteral("A fájl lezárása sikertelen: %1").arg(ffmpegErrorText(result));
        return false;
    }
    return true;
}

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
    const std::optional<OpenedVideo> video = openVideo(videoPath);
    if (!video) {
        failMux(completion, QStringLiteral("[Audio] Video track hiba"));
        return;
    }
    if (!hasAudioStream(audioPath)) {
        failMux(completion, QStringLiteral("[Audio] Audio track hiba"));
        return;
    }
    // The video's length is the one that counts: a longer recording is cut to it, a shorter
    // one is not padded.
    const double duration = streamDuration(*video);
    if (!(duration > 0.0)) {
        failMux(completion, QStringLiteral("[Audio] Insert error: a videó hossza nulla"));
        return;
    }
    const QString temporaryPath = QFileInfo(videoPath).dir().filePath(kTemporaryMuxName);
    QFile::remove(temporaryPath);
    if (!avcodec_find_encoder(AV_CODEC_ID_AAC) || !av_guess_format("mov", nullptr, nullptr)) {
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
