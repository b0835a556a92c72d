// Puts the recording into a finished silent video: the video stream copied unchanged and
// the audio as AAC-LC, cut to the video's length, written to "temp_with_audio.mov" beside
// the video and then moved over it. The checks run on the calling (main) thread; encoding
// and copying run on a pool thread, which also calls the completion.
#pragma once

#include "media/AacEncoder.h"
#include "media/MovMuxer.h"
#include "support/FaultHook.h"
#include "support/JobToken.h"
#include "support/ThreadHandover.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

using PreparedAudio = BackgroundResult<std::shared_ptr<const EncodedAudio>>;

// The file name of the muxed result while it is being written.
inline const QString kTemporaryMuxName = QStringLiteral("temp_with_audio.mov");

// Called once when a mux ends: true on success, else false with the log line that says why.
using MuxCompletion = std::function<void(bool ok, const QString& failureLine)>;

// Muxes `audioPath` into `videoPath`; `completion` is called exactly once, with true on
// success. `prepared`, when given, is an encoding of the same audio started earlier (during
// the video export); it is used when it still matches the file and the video's length,
// else the audio is encoded again. Once `ticket` is called off, the work stops at its next
// packet (FFmpeg's reads and writes are interrupted too), nothing half-written stays and
// the completion gets false. An exception in the work ends in its failure line and false.
// `faultHook` is called with "mux" before the work starts (tests).
void muxAudioIntoVideo(const QString& videoPath, const QString& audioPath, MuxCompletion completion,
                       std::optional<PreparedAudio> prepared = std::nullopt,
                       std::shared_ptr<const JobToken> ticket = nullptr, FaultHook faultHook = {});
