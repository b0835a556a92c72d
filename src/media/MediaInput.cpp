#include "media/MediaInput.h"

#include "media/MediaInterrupt.h"

#include <QFile>

namespace {

int openWith(MediaInput& input, const char* url, AVIOContext* io, AVMediaType type, StreamDecoder decoder,
             const MediaInterrupt* interrupt)
{
    input = MediaInput{};
    AVFormatContext* format = avformat_alloc_context();
    if (!format)
        return AVERROR(ENOMEM);
    // Installed before opening: probing a file already reads from it.
    if (interrupt)
        interrupt->installOn(format);
    if (io) {
        format->pb = io;
        format->flags |= AVFMT_FLAG_CUSTOM_IO;
    }
    // avformat_open_input frees the context itself when it fails.
    if (const int result = avformat_open_input(&format, url, nullptr, nullptr); result < 0)
        return result;
    input.format.reset(format);
    if (const int result = avformat_find_stream_info(format, nullptr); result < 0)
        return result;
    const AVCodec** decoderOut = decoder == StreamDecoder::needed ? &input.decoder : nullptr;
    const int index = av_find_best_stream(format, type, -1, -1, decoderOut, 0);
    if (index < 0)
        return index;
    input.streamIndex = index;
    return 0;
}

} // namespace

int openMediaInput(MediaInput& input, const QString& path, AVMediaType type, StreamDecoder decoder,
                   const MediaInterrupt* interrupt)
{
    const QByteArray pathBytes = QFile::encodeName(path);
    return openWith(input, pathBytes.constData(), nullptr, type, decoder, interrupt);
}

int openMediaInput(MediaInput& input, AVIOContext* io, AVMediaType type, StreamDecoder decoder,
                   const MediaInterrupt* interrupt)
{
    return openWith(input, nullptr, io, type, decoder, interrupt);
}
