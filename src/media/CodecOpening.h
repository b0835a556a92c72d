// Opening an encoder or decoder with named options. Options go in a dictionary; one the
// codec does not know is a mistake in Vornik's settings, not something to ignore, so it
// fails the opening instead of leaving the codec with its default. Any thread.
#pragma once

#include "media/FfmpegHandles.h"

#include <QString>

struct AVCodec;

// Adds (or replaces) `key` = `value` in `options`, allocating the dictionary when empty.
// Returns 0 or a negative FFmpeg code.
int setOption(DictionaryPtr& options, const char* key, const char* value);

// Opens `context` with `codec` and `options`. Returns 0, the negative code of
// avcodec_open2, or AVERROR_OPTION_NOT_FOUND when an option was left unused; `leftovers`
// (may be null) then lists the unused keys, comma-separated.
int openCodec(AVCodecContext* context, const AVCodec* codec, DictionaryPtr options,
              QString* leftovers = nullptr);
