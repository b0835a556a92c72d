#include "media/AacEncoder.h"

#include "media/CodecExchange.h"
#include "media/CodecOpening.h"
#include "media/FfmpegError.h"
#include "media/MediaInput.h"
#include "media/MediaInterrupt.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <array>
#include <cmath>
#include <utility>

namespace {

// The sampling frequencies an AAC stream can signal by index. A recording at any other rate
// (176.4 or 192 kHz studio files, 37.8 kHz CD-ROM audio) is resampled to 48 kHz.
constexpr std::array<int, 12> kAacSampleRates = {96000, 88200, 64000, 48000, 44100, 32000,
                                                 24000, 22050, 16000, 12000, 11025, 8000};
constexpr int kFallbackSampleRate = 48000;

int aacSampleRate(int sourceRate)
{
    for (const int rate : kAacSampleRates)
        if (rate == sourceRate)
            return rate;
    return kFallbackSampleRate;
}

// One pass over the source: demux, decode, convert to planar float, collect AAC frames.
class Session {
public:
    explicit Session(const std::atomic<bool>* cancelled)
        : m_interrupt(cancelled)
    {}
    ~Session() { av_channel_layout_uninit(&m_sourceLayout); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool open(const QString& path, double maxDuration, QString* error);
    bool run(QString* error, const std::atomic<bool>* cancelled);
    std::shared_ptr<EncodedAudio> take() { return std::move(m_result); }

private:
    bool openEncoder(QString* error);
    FrameSink frameTaker(QString* error);
    bool decodeAvailable(QString* error);
    bool openResampler(QString* error);
    bool pushSamples(const AVFrame* decoded, QString* error);
    bool encodeFromFifo(bool flushAll, QString* error);
    bool sendToEncoder(AVFrame* frame, QString* error);

    // Lets a called-off encoding stop inside a blocking read.
    const MediaInterrupt m_interrupt;
    MediaInput m_input;
    CodecContextPtr m_decoder;
    CodecContextPtr m_encoder;
    ResamplerPtr m_resampler;
    AudioFifoPtr m_fifo;
    PacketPtr m_packet;
    FramePtr m_decoded;
    int m_streamIndex = -1;
    AVChannelLayout m_sourceLayout{};
    int64_t m_maxSamples = 0; // at the encoder's rate
    int64_t m_samplesIn = 0;  // samples put into the encoder's queue so far
    int64_t m_samplesOut = 0; // samples handed to the encoder so far
    std::shared_ptr<EncodedAudio> m_result = std::make_shared<EncodedAudio>();
};

bool Session::open(const QString& path, double maxDuration, QString* error)
{
    const QFileInfo info(path);
    m_result->sourcePath = path;
    m_result->sourceSize = info.size();
    m_result->sourceModified = info.lastModified();
    m_result->maxDuration = maxDuration;

    int result = openMediaInput(m_input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed, &m_interrupt);
    if (result == AVERROR_STREAM_NOT_FOUND || result == AVERROR_DECODER_NOT_FOUND) {
        *error = QStringLiteral("nincs hangsáv");
        return false;
    }
    if (result < 0) {
        *error = ffmpegErrorText(result);
        return false;
    }
    m_streamIndex = m_input.streamIndex;
    const AVCodec* decoder = m_input.decoder;
    m_decoder.reset(avcodec_alloc_context3(decoder));
    m_packet.reset(av_packet_alloc());
    m_decoded.reset(av_frame_alloc());
    if (!m_decoder || !m_packet || !m_decoded) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    if ((result = avcodec_parameters_to_context(m_decoder.get(), m_input.stream()->codecpar)) < 0 ||
        (result = avcodec_open2(m_decoder.get(), decoder, nullptr)) < 0) {
        *error = ffmpegErrorText(result);
        return false;
    }
    if (m_decoder->sample_rate <= 0 || m_decoder->ch_layout.nb_channels <= 0) {
        *error = QStringLiteral("ismeretlen mintavételezés vagy csatornaszám");
        return false;
    }
    if (m_decoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&m_sourceLayout, m_decoder->ch_layout.nb_channels);
    else if ((result = av_channel_layout_copy(&m_sourceLayout, &m_decoder->ch_layout)) < 0) {
        *error = ffmpegErrorText(result);
        return false;
    }
    if (!openEncoder(error) || !openResampler(error))
        return false;
    m_maxSamples = std::max<int64_t>(0, std::llround(maxDuration * m_encoder->sample_rate));
    return true;
}

bool Session::openEncoder(QString* error)
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec) {
        *error = QStringLiteral("az AAC kódoló nem érhető el");
        return false;
    }
    m_encoder.reset(avcodec_alloc_context3(codec));
    if (!m_encoder) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    AVCodecContext* encoder = m_encoder.get();
    // Mono stays mono, stereo stays as it is; more channels than a video player's two are
    // mixed down to stereo.
    const int sourceChannels = m_sourceLayout.nb_channels;
    encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder->sample_rate = aacSampleRate(m_decoder->sample_rate);
    if (sourceChannels == 2)
        av_channel_layout_copy(&encoder->ch_layout, &m_sourceLayout);
    else
        av_channel_layout_default(&encoder->ch_layout, sourceChannels == 1 ? 1 : 2);
    const int channels = encoder->ch_layout.nb_channels;
    encoder->bit_rate = channels == 1 ? 128000 : 256000;
    encoder->profile = FF_PROFILE_AAC_LOW;
    encoder->time_base = AVRational{1, encoder->sample_rate};
    // QuickTime keeps the decoder configuration in the sample description.
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    QString leftovers;
    int result = openCodec(encoder, codec, DictionaryPtr(), &leftovers);
    if (result < 0) {
        *error = QStringLiteral("az AAC kódoló nem indítható: %1")
                         .arg(leftovers.isEmpty() ? ffmpegErrorText(result) : leftovers);
        return false;
    }
    // The queue below hands the encoder frames of exactly this size; without one there is
    // nothing to cut the samples into.
    if (encoder->frame_size <= 0) {
        *error = QStringLiteral("az AAC kódoló nem indítható: ismeretlen keretméret");
        return false;
    }
    m_fifo.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, encoder->frame_size * 4));
    if (!m_fifo) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    m_result->sampleRate = encoder->sample_rate;
    m_result->channelCount = channels;
    m_result->bitRate = encoder->bit_rate;
    m_result->parameters.reset(avcodec_parameters_alloc());
    if (!m_result->parameters || avcodec_parameters_from_context(m_result->parameters.get(), encoder) < 0) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    return true;
}

// Converts the decoded samples to the encoder's planar float. With the same rate and layout
// that only changes how the samples are laid out; a rate off the AAC table goes through the
// windowed-sinc resampler with a long filter, and a downmix uses swresample's own matrix
// (centre and surrounds at -3 dB, LFE left out).
bool Session::openResampler(QString* error)
{
    SwrContext* resampler = nullptr;
    int result =
            swr_alloc_set_opts2(&resampler, &m_encoder->ch_layout, AV_SAMPLE_FMT_FLTP, m_encoder->sample_rate,
                                &m_sourceLayout, m_decoder->sample_fmt, m_decoder->sample_rate, 0, nullptr);
    if (result >= 0 && m_encoder->sample_rate != m_decoder->sample_rate) {
        const std::pair<const char*, int64_t> quality[] = {
                {"filter_size", 64}, {"phase_shift", 12}, {"linear_interp", 1}, {"exact_rational", 1}};
        for (const auto& [name, value] : quality)
            if (result >= 0)
                result = av_opt_set_int(resampler, name, value, 0);
        if (result >= 0)
            result = av_opt_set_double(resampler, "cutoff", 0.97, 0);
    }
    if (result >= 0)
        result = swr_init(resampler);
    if (result < 0) {
        swr_free(&resampler);
        *error = QStringLiteral("a hang nem alakítható át: %1").arg(ffmpegErrorText(result));
        return false;
    }
    m_resampler.reset(resampler);
    return true;
}

// Converts one decoded frame (or, with null, what the resampler still holds) and queues the
// samples up to the length the audio is cut to.
bool Session::pushSamples(const AVFrame* decoded, QString* error)
{
    const int inputSamples = decoded ? decoded->nb_samples : 0;
    const int capacity = swr_get_out_samples(m_resampler.get(), inputSamples);
    if (capacity < 0) {
        *error = ffmpegErrorText(capacity);
        return false;
    }
    if (capacity == 0)
        return true;
    const int channels = m_result->channelCount;
    uint8_t** converted = nullptr;
    int result = av_samples_alloc_array_and_samples(&converted, nullptr, channels, capacity,
                                                    AV_SAMPLE_FMT_FLTP, 0);
    if (result < 0) {
        *error = ffmpegErrorText(result);
        return false;
    }
    const int count = swr_convert(m_resampler.get(), converted, capacity,
                                  decoded ? const_cast<const uint8_t**>(decoded->extended_data) : nullptr,
                                  inputSamples);
    bool ok = count >= 0;
    if (!ok)
        *error = ffmpegErrorText(count);
    const int64_t wanted = m_maxSamples - m_samplesIn;
    if (ok && wanted > 0) {
        const int take = static_cast<int>(std::min<int64_t>(count, wanted));
        if (av_audio_fifo_write(m_fifo.get(), reinterpret_cast<void**>(converted), take) < take) {
            *error = ffmpegErrorText(AVERROR(ENOMEM));
            ok = false;
        } else {
            m_samplesIn += take;
        }
    }
    av_freep(&converted[0]);
    av_freep(&converted);
    return ok;
}

bool Session::sendToEncoder(AVFrame* frame, QString* error)
{
    PacketPtr packet(av_packet_alloc());
    if (!packet) {
        *error = ffmpegErrorText(AVERROR(ENOMEM));
        return false;
    }
    const PacketSink spool = [this, error](AVPacket* encoded) {
        return m_result->appendPacket(*encoded, error) ? 0 : kStoppedBySink;
    };
    int result = ::sendFrame(m_encoder.get(), frame, packet.get(), spool);
    if (result >= 0 || result == AVERROR_EOF)
        result = receivePackets(m_encoder.get(), packet.get(), spool);
    if (result == kStoppedBySink)
        return false;
    if (result < 0) {
        *error = QStringLiteral("AAC kódolási hiba: %1").arg(ffmpegErrorText(result));
        return false;
    }
    return true;
}

bool Session::encodeFromFifo(bool flushAll, QString* error)
{
    const int frameSize = m_encoder->frame_size;
    while (av_audio_fifo_size(m_fifo.get()) >= frameSize ||
           (flushAll && av_audio_fifo_size(m_fifo.get()) > 0)) {
        const int count = std::min(av_audio_fifo_size(m_fifo.get()), frameSize);
        FramePtr frame(av_frame_alloc());
        if (!frame) {
            *error = ffmpegErrorText(AVERROR(ENOMEM));
            return false;
        }
        frame->nb_samples = count;
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->sample_rate = m_encoder->sample_rate;
        av_channel_layout_copy(&frame->ch_layout, &m_encoder->ch_layout);
        if (int result = av_frame_get_buffer(frame.get(), 0); result < 0) {
            *error = ffmpegErrorText(result);
            return false;
        }
        if (av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void**>(frame->data), count) < count) {
            *error = ffmpegErrorText(AVERROR(EIO));
            return false;
        }
        frame->pts = m_samplesOut;
        m_samplesOut += count;
        if (!sendToEncoder(frame.get(), error))
            return false;
    }
    return true;
}

// Each decoded frame is queued for the encoder and encoded as far as whole frames go.
FrameSink Session::frameTaker(QString* error)
{
    return [this, error](AVFrame* decoded) {
        return pushSamples(decoded, error) && encodeFromFifo(false, error) ? 0 : kStoppedBySink;
    };
}

bool Session::decodeAvailable(QString* error)
{
    const int result = receiveFrames(m_decoder.get(), m_decoded.get(), frameTaker(error));
    if (result < 0 && result != kStoppedBySink)
        *error = ffmpegErrorText(result);
    return result >= 0;
}

bool Session::run(QString* error, const std::atomic<bool>* cancelled)
{
    while (m_samplesIn < m_maxSamples) {
        if (cancelled && cancelled->load(std::memory_order_relaxed)) {
            *error = QStringLiteral("megszakítva");
            return false;
        }
        const int decoded = decodeNextPacket(m_input.format.get(), m_streamIndex, m_decoder.get(),
                                             m_packet.get(), m_decoded.get(), frameTaker(error));
        if (decoded == AVERROR_EOF)
            break;
        if (decoded < 0) {
            if (decoded != kStoppedBySink)
                *error = ffmpegErrorText(decoded);
            return false;
        }
    }
    const int flushed = sendPacket(m_decoder.get(), nullptr, m_decoded.get(), frameTaker(error));
    if (flushed == kStoppedBySink || (flushed >= 0 && !decodeAvailable(error)))
        return false;
    // The resampler's filter holds back the last few samples until it is drained.
    if (m_samplesIn < m_maxSamples && !pushSamples(nullptr, error))
        return false;
    if (!encodeFromFifo(true, error) || !sendToEncoder(nullptr, error))
        return false;
    m_result->sampleCount = m_samplesOut;
    return m_result->finishPackets(error);
}

} // namespace

// One spooled packet: this header, then `size` bytes of data.
struct SpoolRecord {
    int64_t pts;
    int64_t dts;
    int64_t duration;
    int32_t flags;
    int32_t size;
};

EncodedAudio::EncodedAudio()
    : m_spool(QDir::tempPath() + QStringLiteral("/vornik_aac_XXXXXX.spool"))
{}

EncodedAudio::~EncodedAudio() = default;

bool EncodedAudio::appendPacket(const AVPacket& packet, QString* error)
{
    if (!m_spool.isOpen() && !m_spool.open()) {
        *error = QStringLiteral("az ideiglenes hangfájl nem hozható létre: %1").arg(m_spool.errorString());
        return false;
    }
    const SpoolRecord record{packet.pts, packet.dts, packet.duration, packet.flags, packet.size};
    if (m_spool.write(reinterpret_cast<const char*>(&record), sizeof record) != sizeof record ||
        m_spool.write(reinterpret_cast<const char*>(packet.data), packet.size) != packet.size) {
        *error = QStringLiteral("az ideiglenes hangfájl nem írható: %1").arg(m_spool.errorString());
        return false;
    }
    ++m_packetCount;
    return true;
}

bool EncodedAudio::finishPackets(QString* error)
{
    if (!m_spool.isOpen() && !m_spool.open()) {
        *error = QStringLiteral("az ideiglenes hangfájl nem hozható létre: %1").arg(m_spool.errorString());
        return false;
    }
    if (!m_spool.flush()) {
        *error = QStringLiteral("az ideiglenes hangfájl nem írható: %1").arg(m_spool.errorString());
        return false;
    }
    return true;
}

bool EncodedAudio::Reader::open(const EncodedAudio& audio, QString* error)
{
    m_file.setFileName(audio.m_spool.fileName());
    if (!m_file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("az ideiglenes hangfájl nem olvasható: %1").arg(m_file.errorString());
        return false;
    }
    return true;
}

bool EncodedAudio::Reader::next(AVPacket* packet, QString* error)
{
    SpoolRecord record{};
    const qint64 got = m_file.read(reinterpret_cast<char*>(&record), sizeof record);
    if (got == 0)
        return false;
    if (got != sizeof record || record.size < 0) {
        *error = QStringLiteral("az ideiglenes hangfájl sérült");
        return false;
    }
    av_packet_unref(packet);
    if (const int result = av_new_packet(packet, record.size); result < 0) {
        *error = ffmpegErrorText(result);
        return false;
    }
    if (m_file.read(reinterpret_cast<char*>(packet->data), record.size) != record.size) {
        *error = QStringLiteral("az ideiglenes hangfájl sérült");
        return false;
    }
    packet->pts = record.pts;
    packet->dts = record.dts;
    packet->duration = record.duration;
    packet->flags = record.flags;
    return true;
}

bool isSameSource(const EncodedAudio& audio, const QString& path)
{
    const QFileInfo info(path);
    return path == audio.sourcePath && info.exists() && info.size() == audio.sourceSize &&
           info.lastModified() == audio.sourceModified;
}

std::shared_ptr<const EncodedAudio> encodeAac(const QString& path, double maxDuration, QString* error,
                                              const std::atomic<bool>* cancelled)
{
    Session session(cancelled);
    QString reason;
    if (!session.open(path, maxDuration, &reason) || !session.run(&reason, cancelled)) {
        if (error)
            *error = reason;
        return nullptr;
    }
    return session.take();
}
