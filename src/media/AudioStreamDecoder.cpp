#include "media/AudioStreamDecoder.h"

#include "media/CodecExchange.h"
#include "media/FfmpegError.h"
#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "media/MediaInterrupt.h"
#include "support/Log.h"

#include <QFile>
#include <QFileInfo>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

namespace {

QString ffmpegError(int code)
{
    return ffmpegErrorText(code);
}

// The device FFmpeg reads a recording from, and the interrupt asked before each read: a decode
// called off while FFmpeg probes or opens the input takes no more of the device.
struct DeviceSource {
    QIODevice* device;
    const MediaInterrupt* interrupt;
};

int readPacket(void* opaque, uint8_t* buffer, int size)
{
    const auto* source = static_cast<DeviceSource*>(opaque);
    if (source->interrupt->shouldStop())
        return AVERROR_EXIT;
    const qint64 got = source->device->read(reinterpret_cast<char*>(buffer), size);
    if (got < 0)
        return AVERROR(EIO);
    if (got == 0)
        return AVERROR_EOF;
    return static_cast<int>(got);
}

int64_t seekDevice(void* opaque, int64_t offset, int whence)
{
    QIODevice* device = static_cast<DeviceSource*>(opaque)->device;
    if (whence & AVSEEK_SIZE)
        return device->size();
    qint64 target = offset;
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        target = device->pos() + offset;
        break;
    case SEEK_END:
        target = device->size() + offset;
        break;
    default:
        return -1;
    }
    if (target < 0)
        return -1;
    // A file can be positioned past its end, where the next read finds the end of the data;
    // a QBuffer refuses such a seek, and FFmpeg's demuxers then go on reading where they
    // stood (the WAV reader took the bytes behind a chunk that reaches past the end for more
    // chunks, and a data chunk among them for more of the recording). Every device behaves
    // like a file here, so that bytes in memory decode exactly as the same file does. FFmpeg
    // keeps its own position and only ever seeks to an absolute one.
    if (target > device->size())
        return device->seek(device->size()) ? target : -1;
    return device->seek(target) ? target : -1;
}

// One decoding session over an opened input: the decoder of its first audio stream and a
// resampler that keeps rate and channels and only changes the layout to planar float.
class Session {
public:
    bool open(QIODevice& device, QString* error);
    // Decodes to the end. Returns false on a hard error before the end (`error` set).
    bool decodeAll(QString* error);
    explicit Session(DecodeReceiver& receiver)
        : m_receiver(receiver)
        , m_interrupt([&receiver] { return receiver.stopRequested(); })
    {}
    int sampleRate() const { return m_sampleRate; }
    int64_t framesDecoded() const { return m_frames; }
    // The length the container announces, in sample frames, when it states one exactly
    // (a WAV header, an MP3 info frame, an MP4 sample table); -1 when it only estimates.
    int64_t announcedFrames() const;
    // How far the decoded length may fall short of the announced one: nothing for PCM,
    // the codec's start and end padding for compressed formats.
    int64_t lengthTolerance() const { return av_get_exact_bits_per_sample(m_codec->codec_id) > 0 ? 0 : 8192; }

private:
    FrameSink frameTaker(QString* error);
    bool receiveFrames(QString* error);
    bool appendFrame(const AVFrame& frame, QString* error);
    // The text of FFmpeg's `code`; "megszakítva" when the receiver called the decode off.
    QString failureText(int code) const;

    DecodeReceiver& m_receiver;
    // Asks the receiver whether to stop, before each read of the device and between
    // FFmpeg's steps; declared before the input, which uses it until it is closed.
    const MediaInterrupt m_interrupt;
    DeviceSource m_source{nullptr, &m_interrupt};
    IoContextPtr m_io;
    MediaInput m_input;
    AVFormatContext* m_format = nullptr; // m_input's
    CodecContextPtr m_codec;
    FramePtr m_frame;
    ResamplerPtr m_resampler;
    int m_streamIndex = -1;
    std::vector<uint8_t*> m_outputs;
    int m_sampleRate = 0;
    int m_channelCount = 0;
    int64_t m_frames = 0;
};

bool Session::open(QIODevice& device, QString* error)
{
    constexpr int kIoBufferSize = 1 << 16;
    auto* ioBuffer = static_cast<unsigned char*>(av_malloc(kIoBufferSize));
    if (!ioBuffer) {
        *error = ffmpegError(AVERROR(ENOMEM));
        return false;
    }
    m_source.device = &device;
    m_io.reset(avio_alloc_context(ioBuffer, kIoBufferSize, 0, &m_source, readPacket, nullptr,
                                  device.isSequential() ? nullptr : seekDevice));
    if (!m_io) {
        av_free(ioBuffer);
        *error = ffmpegError(AVERROR(ENOMEM));
        return false;
    }

    if (const int result =
                openMediaInput(m_input, m_io.get(), AVMEDIA_TYPE_AUDIO, StreamDecoder::needed, &m_interrupt);
        result < 0) {
        *error = failureText(result);
        return false;
    }
    m_format = m_input.format.get();
    m_streamIndex = m_input.streamIndex;
    const AVCodec* decoder = m_input.decoder;
    m_codec.reset(avcodec_alloc_context3(decoder));
    if (!m_codec) {
        *error = ffmpegError(AVERROR(ENOMEM));
        return false;
    }
    const AVStream* stream = m_input.stream();
    if (const int result = avcodec_parameters_to_context(m_codec.get(), stream->codecpar); result < 0) {
        *error = ffmpegError(result);
        return false;
    }
    if (const int result = avcodec_open2(m_codec.get(), decoder, nullptr); result < 0) {
        *error = ffmpegError(result);
        return false;
    }
    if (m_codec->sample_rate <= 0 || m_codec->ch_layout.nb_channels <= 0) {
        *error = QStringLiteral("ismeretlen mintavételezés vagy csatornaszám");
        return false;
    }
    // A rate outside what recording equipment uses is a broken or hostile header. Too low,
    // and a few hundred bytes of samples last for hours, each 1/30 s of which costs the frame
    // store a slice; too high, and the silences the load adds, counted in sample frames, take
    // gigabytes before a single sample of the file is read.
    if (m_codec->sample_rate < kMinDecodedSampleRate) {
        *error = QStringLiteral("nem támogatott mintavételezés: %1 Hz (legalább %2 Hz kell)")
                         .arg(m_codec->sample_rate)
                         .arg(kMinDecodedSampleRate);
        return false;
    }
    if (m_codec->sample_rate > kMaxDecodedSampleRate) {
        *error = QStringLiteral("nem támogatott mintavételezés: %1 Hz (legfeljebb %2 Hz lehet)")
                         .arg(m_codec->sample_rate)
                         .arg(kMaxDecodedSampleRate);
        return false;
    }
    m_sampleRate = m_codec->sample_rate;
    m_channelCount = m_codec->ch_layout.nb_channels;
    // A header can claim anything: a length is only passed on as a size hint when the
    // file's size could hold it (even a very low bit rate stays far below 64 sample frames
    // per byte), with a little room for codec padding.
    const int64_t announced = announcedFrames();
    const int64_t plausible = device.isSequential() ? 0 : device.size() * 64;
    const bool usable = announced > 0 && announced <= plausible && announced < (int64_t(1) << 32);
    m_receiver.begin(m_sampleRate, m_channelCount, usable ? announced + 8192 : -1);
    return true;
}

int64_t Session::announcedFrames() const
{
    const AVStream* stream = m_format->streams[m_streamIndex];
    if (m_format->duration_estimation_method != AVFMT_DURATION_FROM_STREAM || stream->duration <= 0)
        return -1;
    return av_rescale_q(stream->duration, stream->time_base, AVRational{1, m_sampleRate});
}

bool Session::appendFrame(const AVFrame& frame, QString* error)
{
    const int channels = m_channelCount;
    if (frame.ch_layout.nb_channels != channels || frame.sample_rate != m_sampleRate) {
        // A stream that changes its format part-way: keep what has the first format.
        *error = QStringLiteral("a hangformátum menet közben megváltozott");
        return false;
    }
    if (!m_resampler) {
        // This FFmpeg takes the layouts through non-const pointers: hand it a copy.
        AVChannelLayout layout{};
        if (const int copied = av_channel_layout_copy(&layout, &frame.ch_layout); copied < 0) {
            *error = ffmpegError(copied);
            return false;
        }
        SwrContext* resampler = nullptr;
        const int result =
                swr_alloc_set_opts2(&resampler, &layout, AV_SAMPLE_FMT_FLTP, frame.sample_rate, &layout,
                                    static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
        av_channel_layout_uninit(&layout);
        if (result < 0 || swr_init(resampler) < 0) {
            swr_free(&resampler);
            *error = ffmpegError(result < 0 ? result : AVERROR(EINVAL));
            return false;
        }
        m_resampler.reset(resampler);
    }
    if (m_frames + frame.nb_samples > kMaxDecodedFrames) {
        *error = QStringLiteral("a felvétel túl hosszú: legfeljebb %1 mintakeret olvasható be")
                         .arg(kMaxDecodedFrames);
        return false;
    }
    const std::span<float* const> room = m_receiver.blockFor(frame.nb_samples);
    m_outputs.resize(room.size());
    for (size_t c = 0; c < room.size(); ++c)
        m_outputs[c] = reinterpret_cast<uint8_t*>(room[c]);
    const int converted = swr_convert(m_resampler.get(), m_outputs.data(), frame.nb_samples,
                                      const_cast<const uint8_t**>(frame.extended_data), frame.nb_samples);
    if (converted < 0) {
        m_receiver.commit(0);
        *error = ffmpegError(converted);
        return false;
    }
    m_receiver.commit(converted);
    m_frames += converted;
    return true;
}

// Hands each decoded frame on; a frame that cannot be taken stops the exchange.
FrameSink Session::frameTaker(QString* error)
{
    return [this, error](AVFrame* frame) { return appendFrame(*frame, error) ? 0 : kStoppedBySink; };
}

bool Session::receiveFrames(QString* error)
{
    if (const int result = ::receiveFrames(m_codec.get(), m_frame.get(), frameTaker(error)); result < 0) {
        if (result != kStoppedBySink)
            *error = ffmpegError(result);
        return false;
    }
    return true;
}

QString Session::failureText(int code) const
{
    if (code == AVERROR_EXIT && m_receiver.stopRequested())
        return QStringLiteral("megszakítva");
    return ffmpegError(code);
}

bool Session::decodeAll(QString* error)
{
    PacketPtr packet(av_packet_alloc());
    m_frame.reset(av_frame_alloc());
    if (!packet || !m_frame) {
        *error = ffmpegError(AVERROR(ENOMEM));
        return false;
    }
    bool ok = true;
    while (ok) {
        if (m_receiver.stopRequested()) {
            *error = QStringLiteral("megszakítva");
            return false;
        }
        const int decoded = decodeNextPacket(m_format, m_streamIndex, m_codec.get(), packet.get(),
                                             m_frame.get(), frameTaker(error));
        if (decoded == AVERROR_EOF)
            break;
        if (decoded < 0) {
            if (decoded != kStoppedBySink)
                *error = failureText(decoded);
            ok = false;
        }
    }
    // Flush the decoder with an empty packet so its last frames come out.
    QString flushError;
    if (sendPacket(m_codec.get(), nullptr, m_frame.get(), frameTaker(&flushError)) >= 0) {
        if (!receiveFrames(&flushError) && ok) {
            *error = flushError;
            ok = false;
        }
    }
    return ok;
}

} // namespace

namespace {

DecodeStatus decodeWith(QIODevice& device, const QString& nameForMessages, DecodeReceiver& receiver)
{
    DecodeStatus status;
    Session session(receiver);
    if (!session.open(device, &status.error))
        return status;
    status.opened = true;
    status.sampleRate = session.sampleRate();
    QString decodeError;
    bool complete = session.decodeAll(&decodeError);
    status.frames = session.framesDecoded();
    // Work that was called off is no truncated file: it ends without a result or a log line.
    if (receiver.stopRequested()) {
        status.error = decodeError.isEmpty() ? QStringLiteral("megszakítva") : decodeError;
        return status;
    }
    // Codec padding makes a compressed stream's announced length differ by a few thousand
    // samples; a bigger shortfall means the data stops before its header says it ends.
    const int64_t announced = session.announcedFrames();
    if (complete && announced > 0 && status.frames > 0 &&
        status.frames + session.lengthTolerance() < announced) {
        decodeError = QStringLiteral("a fájl rövidebb, mint amit a fejléce jelez (%1 minta helyett %2)")
                              .arg(announced)
                              .arg(status.frames);
        complete = false;
    }
    if (!complete) {
        status.error = decodeError;
        if (status.frames == 0)
            return status;
        status.truncated = true;
        logLine(QStringLiteral(
                        "[Audio] A fájl dekódolása megszakadt (%1): %2; a dekódolt %3 mp-et használjuk")
                        .arg(nameForMessages, decodeError)
                        .arg(double(status.frames) / status.sampleRate, 0, 'f', 2));
    }
    status.ok = true;
    return status;
}

} // namespace

DecodeStatus decodeAudioDeviceInto(QIODevice& device, const QString& nameForMessages,
                                   DecodeReceiver& receiver)
{
    return decodeWith(device, nameForMessages, receiver);
}

DecodeStatus decodeAudioFileInto(const QString& path, DecodeReceiver& receiver)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        DecodeStatus status;
        status.error = file.errorString();
        return status;
    }
    return decodeWith(file, QFileInfo(path).fileName(), receiver);
}
