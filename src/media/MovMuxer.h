// Writing a QuickTime file from a finished video and encoded audio: the video stream copied
// unchanged, the audio's packets put beside it in decoding-time order, the index at the front.
// Also the small questions asked before a mux (how long is the video, does the recording have
// an audio stream, can this FFmpeg write AAC into QuickTime). Any thread; each call is
// independent.
#pragma once

#include <QString>

#include <optional>

class EncodedAudio;
class JobToken;

// The length of the first video stream of a file in seconds (0 when the file states none),
// or none when the file cannot be read or has no video stream.
std::optional<double> videoStreamDuration(const QString& videoPath);

// True when the file at `path` opens and has an audio stream.
bool hasAudioStream(const QString& path);

// True when this FFmpeg has an AAC encoder and a QuickTime muxer.
bool canMuxAacIntoMov();

// Writes `video`'s video stream and `audio` into a new QuickTime file at `outputPath`;
// stops (false) when `ticket` is called off, FFmpeg's blocking reads and writes included.
bool writeMuxedFile(const QString& videoPath, const EncodedAudio& audio, const QString& outputPath,
                    QString* error, const JobToken* ticket = nullptr);
