// An AudioPlayer whose clock only moves when the test says so: advance() while playing,
// or setCurrentTime() at any time. Lets playback and recording be tested tick by tick.
#pragma once

#include "audio/AudioPlayer.h"

class ManualAudioPlayer : public AudioPlayer {
public:
    explicit ManualAudioPlayer(double duration)
        : m_duration(duration)
    {}

    double duration() const override { return m_duration; }
    double currentTime() const override { return m_time; }
    void setCurrentTime(double seconds) override { m_time = seconds; }
    void play() override { m_playing = true; }
    void pause() override { m_playing = false; }
    bool isPlaying() const override { return m_playing; }

    // Moves the clock forward while playing; at the end the player stops by itself, as a
    // real player does when the file runs out.
    void advance(double seconds)
    {
        if (!m_playing)
            return;
        m_time += seconds;
        if (m_time >= m_duration) {
            m_time = m_duration;
            m_playing = false;
        }
    }

private:
    double m_duration;
    double m_time = 0.0;
    bool m_playing = false;
};
