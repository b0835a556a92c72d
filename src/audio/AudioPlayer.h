// Plays the processed recording and tells where playback is. The editor owns one player
// per loaded recording and uses it on the main thread only. Times are seconds on the
// timeline of the processed audio (start silence included).
#pragma once

#include "audio/AudioBuffer.h"
#include "audio/AudioPlayerFactory.h"

#include <memory>

class AudioPlayer {
public:
    virtual ~AudioPlayer() = default;

    virtual double duration() const = 0;
    // The position being heard.
    virtual double currentTime() const = 0;
    virtual void setCurrentTime(double seconds) = 0;
    virtual void play() = 0;
    virtual void pause() = 0;
    virtual bool isPlaying() const = 0;
};
