// FFmpeg's own console output (encoder banners, statistics) is not for Vornik's users:
// only its errors are kept. Call once at start, on the main thread.
#pragma once

void limitFfmpegLoggingToErrors();
