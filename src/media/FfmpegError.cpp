#include "media/FfmpegError.h"

extern "C" {
#include <libavutil/error.h>
}

QString ffmpegErrorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}
