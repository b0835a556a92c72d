#include "media/CodecOpening.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/dict.h>
}

#include <QStringList>

int setOption(DictionaryPtr& options, const char* key, const char* value)
{
    AVDictionary* raw = options.release();
    const int result = av_dict_set(&raw, key, value, 0);
    options.reset(raw);
    return result;
}

int openCodec(AVCodecContext* context, const AVCodec* codec, DictionaryPtr options, QString* leftovers)
{
    AVDictionary* raw = options.release();
    const int result = avcodec_open2(context, codec, &raw);
    // What avcodec_open2 hands back holds the options no part of the codec took.
    const DictionaryPtr unused(raw);
    if (result < 0)
        return result;
    if (av_dict_count(unused.get()) == 0)
        return 0;
    QStringList keys;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(unused.get(), "", entry, AV_DICT_IGNORE_SUFFIX)))
        keys.append(QString::fromUtf8(entry->key));
    if (leftovers)
        *leftovers = keys.join(QStringLiteral(", "));
    return AVERROR_OPTION_NOT_FOUND;
}
