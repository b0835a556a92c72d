// The text of an FFmpeg error code (an AVERROR value), as av_strerror words it. Any thread.
#pragma once

#include <QString>

QString ffmpegErrorText(int code);
