#include "media/FfmpegLogging.h"

extern "C" {
#include <libavutil/log.h>
}

void limitFfmpegLoggingToErrors()
{
    av_log_set_level(AV_LOG_ERROR);
}
