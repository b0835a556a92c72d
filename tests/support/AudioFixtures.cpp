#include "tests/support/AudioFixtures.h"

#include "audio/FloatWavWriter.h"
#include "media/FfmpegError.h"
#include "media/FfmpegHandles.h"
#include "tests/support/ManualAudioPlayer.h"

#include <QFile>
#include <QtEndian>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace fixtures {

namespace {

QString ffmpegError(int code)
{
    return ffmpegErrorText(code);
}

AudioBuffer filled(int sampleRate, int channels, int64_t frames,
                   const std::function<float(int, int64_t)>& value)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    buffer.channels.assign(size_t(channels), std::vector<float>(size_t(frames)));
    for (int c = 0; c < channels; ++c) {
        for (int64_t i = 0; i < frames; ++i)
            buffer.channels[size_t(c)][size_t(i)] = value(c, i);
    }
    return buffer;
}

// Sends one frame (or null to flush) and writes every packet that comes out.
int encodeAndWrite(AVCodecContext* codec, AVFormatContext* output, AVStream* stream, AVFrame* frame,
                   AVPacket* packet)
{
    int result = avcodec_send_frame(codec, frame);
    if (result < 0)
        return result;
    while (true) {
        result = avcodec_receive_packet(codec, packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        result = av_interleaved_write_frame(output, packet);
        if (result < 0)
            return result;
    }
}

} // namespace

AudioBuffer sineTone(int sampleRate, int channels, int64_t frames, float amplitude, double frequency)
{
    return filled(sampleRate, channels, frames, [&](int c, int64_t i) {
        const double phase = 2.0 * std::numbers::pi * frequency * double(c + 1) * double(i) / sampleRate;
        return amplitude * float(std::sin(phase));
    });
}

AudioBuffer squareWave(int sampleRate, int channels, int64_t frames, float amplitude, int halfPeriod)
{
    return filled(sampleRate, channels, frames,
                  [&](int, int64_t i) { return (i / halfPeriod) % 2 == 0 ? amplitude : -amplitude; });
}

AudioBuffer silence(int sampleRate, int channels, int64_t frames)
{
    return constant(sampleRate, channels, frames, 0.0f);
}

AudioBuffer constant(int sampleRate, int channels, int64_t frames, float value)
{
    return filled(sampleRate, channels, frames, [&](int, int64_t) { return value; });
}

QString writeWav(const QString& path, const AudioBuffer& buffer)
{
    return writeFloatWav(path, buffer, nullptr) ? path : QString();
}

QString writePcm16Wav(const QString& path, const AudioBuffer& buffer)
{
    const int channels = buffer.channelCount();
    const int64_t frames = buffer.frameCount();
    QByteArray bytes;
    auto put32 = [&](uint32_t v) {
        char b[4];
        qToLittleEndian(v, b);
        bytes.append(b, 4);
    };
    auto put16 = [&](uint16_t v) {
        char b[2];
        qToLittleEndian(v, b);
        bytes.append(b, 2);
    };
    const uint32_t dataBytes = uint32_t(frames * channels * 2);
    bytes.append("RIFF");
    put32(36 + dataBytes);
    bytes.append("WAVEfmt ");
    put32(16);
    put16(1);
    put16(uint16_t(channels));
    put32(uint32_t(buffer.sampleRate));
    put32(uint32_t(buffer.sampleRate * channels * 2));
    put16(uint16_t(channels * 2));
    put16(16);
    bytes.append("data");
    put32(dataBytes);
    for (int64_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            const float s = std::clamp(buffer.channels[size_t(c)][size_t(i)], -1.0f, 1.0f);
            put16(uint16_t(int16_t(std::lround(s * 32767.0f))));
        }
    }
    return writeBytes(path, bytes);
}

QString writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        return QString();
    return path;
}

QString mp3EncoderName()
{
    for (const char* name : {"libmp3lame", "libshine", "mp3"}) {
        const AVCodec* codec = avcodec_find_encoder_by_name(name);
        if (codec && codec->id == AV_CODEC_ID_MP3)
            return QString::fromLatin1(name);
    }
    return QString();
}

bool hasAacEncoder()
{
    return avcodec_find_encoder_by_name("aac") != nullptr;
}

bool encodeGenerated(const QString& path, const QString& encoderName, int sampleRate, int channels,
                     int64_t frames, const SampleGenerator& generate, int bitRate, QString* error)
{
    auto fail = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    const AVCodec* encoder = avcodec_find_encoder_by_name(encoderName.toLatin1().constData());
    if (!encoder)
        return fail(QStringLiteral("no encoder ") + encoderName);

    AVFormatContext* rawOutput = nullptr;
    const QByteArray pathBytes = path.toUtf8();
    int result = avformat_alloc_output_context2(&rawOutput, nullptr, nullptr, pathBytes.constData());
    if (result < 0 || !rawOutput)
        return fail(ffmpegError(result));
    OutputContextPtr output(rawOutput);

    CodecContextPtr codec(avcodec_alloc_context3(encoder));
    if (!codec)
        return fail(QStringLiteral("no codec context"));
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    codec->sample_rate = sampleRate;
    codec->bit_rate = bitRate;
    av_channel_layout_default(&codec->ch_layout, channels);
    codec->time_base = AVRational{1, sampleRate};
    if (output->oformat->flags & AVFMT_GLOBALHEADER)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if ((result = avcodec_open2(codec.get(), encoder, nullptr)) < 0)
        return fail(ffmpegError(result));

    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    if (!stream)
        return fail(QStringLiteral("no stream"));
    stream->time_base = codec->time_base;
    if ((result = avcodec_parameters_from_context(stream->codecpar, codec.get())) < 0)
        return fail(ffmpegError(result));
    if (!(output->oformat->flags & AVFMT_NOFILE)) {
        if ((result = avio_open(&output->pb, pathBytes.constData(), AVIO_FLAG_WRITE)) < 0)
            return fail(ffmpegError(result));
    }
    if ((result = avformat_write_header(output.get(), nullptr)) < 0)
        return fail(ffmpegError(result));

    FramePtr frame(av_frame_alloc());
    PacketPtr packet(av_packet_alloc());
    const int frameSize = codec->frame_size > 0 ? codec->frame_size : 1024;
    std::vector<std::vector<float>> planar(static_cast<size_t>(channels));
    for (int64_t start = 0; start < frames; start += frameSize) {
        const int count = int(std::min<int64_t>(frameSize, frames - start));
        for (auto& channel : planar)
            channel.assign(size_t(count), 0.0f);
        generate(start, count, planar);
        frame->nb_samples = count;
        frame->format = codec->sample_fmt;
        frame->sample_rate = sampleRate;
        av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
        if ((result = av_frame_get_buffer(frame.get(), 0)) < 0)
            return fail(ffmpegError(result));
        for (int c = 0; c < channels; ++c)
            std::copy(planar[size_t(c)].begin(), planar[size_t(c)].end(),
                      reinterpret_cast<float*>(frame->extended_data[c]));
        frame->pts = start;
        result = encodeAndWrite(codec.get(), output.get(), stream, frame.get(), packet.get());
        av_frame_unref(frame.get());
        if (result < 0)
            return fail(ffmpegError(result));
    }
    if ((result = encodeAndWrite(codec.get(), output.get(), stream, nullptr, packet.get())) < 0)
        return fail(ffmpegError(result));
    if ((result = av_write_trailer(output.get())) < 0)
        return fail(ffmpegError(result));
    return true;
}

bool encodeBuffer(const QString& path, const QString& encoderName, const AudioBuffer& buffer, QString* error)
{
    return encodeGenerated(
            path, encoderName, buffer.sampleRate, buffer.channelCount(), buffer.frameCount(),
            [&buffer](int64_t start, int64_t count, std::vector<std::vector<float>>& planar) {
                for (size_t c = 0; c < planar.size(); ++c)
                    std::copy_n(buffer.channels[c].begin() + start, count, planar[c].begin());
            },
            192000, error);
}

EditorEnvironment manualPlayerEnvironment(const QString& temporaryDirectory,
                                          std::shared_ptr<const AudioBuffer>* madeFrom)
{
    EditorEnvironment environment;
    environment.temporaryDirectory = temporaryDirectory;
    environment.audioPlayerFactory = [madeFrom](std::shared_ptr<const AudioBuffer> audio) {
        if (madeFrom)
            *madeFrom = audio;
        return std::make_unique<ManualAudioPlayer>(audio->durationSeconds());
    };
    return environment;
}

} // namespace fixtures
