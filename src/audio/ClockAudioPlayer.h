// A player without sound: the same clock as the sound-card player, driven by a monotonic
// timer. Used when the system has no audio output device, so playback, recording of page
// turns and the preview still run. Main thread.
#pragma once

#include "audio/AudioPlayer.h"

#include <QElapsedTimer>

class ClockAudioPlayer : public AudioPlayer {
public:
    explicit ClockAudioPlayer(double duration);

    double duration() const override { return m_duration; }
    double currentTime() const override;
    void setCurrentTime(double seconds) override;
    void play() override;
    void pause() override;
    bool isPlaying() const override;

private:
    // Stops the clock at the end, as a real player stops when the recording runs out.
    void settle() const;

    double m_duration;
    mutable double m_position = 0.0; // while paused; the start position while playing
    mutable bool m_playing = false;
    QElapsedTimer m_clock;
};
