#include "tests/support/VideoProbe.h"

#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace {

MediaInput openInput(const QString& path, AVMediaType type = AVMEDIA_TYPE_VIDEO,
                     StreamDecoder decoder = StreamDecoder::notNeeded)
{
    MediaInput input;
    const int result = openMediaInput(input, path, type, decoder);
    // A file without the stream still counts as opened for the probe.
    if (result < 0 && result != AVERROR_STREAM_NOT_FOUND && result != AVERROR_DECODER_NOT_FOUND)
        input.format.reset();
    return input;
}

double seconds(int64_t value, AVRational base)
{
    return value == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(value) * av_q2d(base);
}

QImage toRgb(const AVFrame& frame)
{
    const ScalerPtr owned(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                         frame.width, frame.height, AV_PIX_FMT_RGB24,
                                         SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    SwsContext* scaler = owned.get();
    const int space = frame.colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_DEFAULT;
    const int* coefficients = sws_getCoefficients(space);
    sws_setColorspaceDetails(scaler, coefficients, frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0,
                             coefficients, 1, 0, 1 << 16, 1 << 16);
    QImage image(frame.width, frame.height, QImage::Format_RGB888);
    uint8_t* planes[1] = {image.bits()};
    const int strides[1] = {static_cast<int>(image.bytesPerLine())};
    sws_scale(scaler, frame.data, frame.linesize, 0, frame.height, planes, strides);
    return image;
}

// Decodes every frame of the best video stream, handing each to `visit` in output order.
template <typename Visit>
void decodeAll(const QString& path, Visit&& visit)
{
    MediaInput opened = openInput(path, AVMEDIA_TYPE_VIDEO, StreamDecoder::needed);
    if (!opened.format || opened.streamIndex < 0)
        return;
    AVFormatContext* input = opened.format.get();
    const AVCodec* decoder = opened.decoder;
    const int index = opened.streamIndex;
    CodecContextPtr codec(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(codec.get(), opened.stream()->codecpar);
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return;
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    int64_t count = 0;
    auto receive = [&] {
        while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
            visit(count++, *frame);
            av_frame_unref(frame.get());
        }
    };
    while (av_read_frame(input, packet.get()) >= 0) {
        if (packet->stream_index == index)
            avcodec_send_packet(codec.get(), packet.get());
        av_packet_unref(packet.get());
        receive();
    }
    avcodec_send_packet(codec.get(), nullptr);
    receive();
}

} // namespace

VideoProbe probeVideo(const QString& path)
{
    VideoProbe probe;
    const MediaInput opened = openInput(path);
    if (!opened.format)
        return probe;
    AVFormatContext* input = opened.format.get();
    probe.opened = true;
    probe.formatName = QString::fromUtf8(input->iformat->name);
    if (const AVDictionaryEntry* brand = av_dict_get(input->metadata, "major_brand", nullptr, 0))
        probe.majorBrand = QString::fromUtf8(brand->value);
    probe.formatDuration = input->duration > 0 ? static_cast<double>(input->duration) / AV_TIME_BASE : 0.0;

    int videoIndex = -1;
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVStream* stream = input->streams[i];
        const AVCodecParameters* parameters = stream->codecpar;
        if (parameters->codec_type == AVMEDIA_TYPE_VIDEO) {
            if (++probe.videoStreams > 1)
                continue;
            videoIndex = static_cast<int>(i);
            probe.videoCodec = QString::fromUtf8(avcodec_get_name(parameters->codec_id));
            probe.videoProfile = parameters->profile;
            probe.videoLevel = parameters->level;
            probe.width = parameters->width;
            probe.height = parameters->height;
            if (const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters->format)))
                probe.pixelFormat = QString::fromUtf8(name);
            probe.colorPrimaries = parameters->color_primaries;
            probe.colorTransfer = parameters->color_trc;
            probe.colorSpace = parameters->color_space;
            probe.colorRange = parameters->color_range;
            probe.videoDuration = seconds(stream->duration, stream->time_base);
        } else if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) {
            if (++probe.audioStreams > 1)
                continue;
            probe.audioCodec = QString::fromUtf8(avcodec_get_name(parameters->codec_id));
            probe.audioProfile = parameters->profile;
            probe.sampleRate = parameters->sample_rate;
            probe.channels = parameters->ch_layout.nb_channels;
            probe.audioBitRate = parameters->bit_rate;
            probe.audioFrameSize = parameters->frame_size;
            probe.audioDuration = seconds(stream->duration, stream->time_base);
        }
    }
    PacketPtr packet(av_packet_alloc());
    int64_t sinceKey = 0;
    while (av_read_frame(input, packet.get()) >= 0) {
        if (packet->stream_index == videoIndex) {
            ++probe.videoPackets;
            if (packet->flags & AV_PKT_FLAG_KEY) {
                ++probe.keyPackets;
                sinceKey = 0;
            }
            ++sinceKey;
            probe.longestKeyframeGap = std::max(probe.longestKeyframeGap, sinceKey);
        }
        av_packet_unref(packet.get());
    }
    return probe;
}

std::map<int64_t, QImage> decodeVideoFrames(const QString& path, const std::set<int64_t>& indices)
{
    std::map<int64_t, QImage> images;
    decodeAll(path, [&](int64_t index, const AVFrame& frame) {
        if (indices.count(index))
            images[index] = toRgb(frame);
    });
    return images;
}

int64_t countDecodedFrames(const QString& path)
{
    int64_t count = 0;
    decodeAll(path, [&](int64_t, const AVFrame&) { ++count; });
    return count;
}
