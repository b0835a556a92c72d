#include "audio/ClockAudioPlayer.h"

#include <algorithm>

ClockAudioPlayer::ClockAudioPlayer(double duration)
    : m_duration(std::max(duration, 0.0))
{}

void ClockAudioPlayer::settle() const
{
    if (m_playing && m_position + double(m_clock.nsecsElapsed()) / 1e9 >= m_duration) {
        m_position = m_duration;
        m_playing = false;
    }
}

double ClockAudioPlayer::currentTime() const
{
    settle();
    if (!m_playing)
        return m_position;
    return m_position + double(m_clock.nsecsElapsed()) / 1e9;
}

void ClockAudioPlayer::setCurrentTime(double seconds)
{
    m_position = std::clamp(seconds, 0.0, m_duration);
    if (m_playing)
        m_clock.restart();
}

void ClockAudioPlayer::play()
{
    settle();
    if (m_playing || m_position >= m_duration)
        return;
    m_playing = true;
    m_clock.restart();
}

void ClockAudioPlayer::pause()
{
    if (!m_playing)
        return;
    m_position = currentTime();
    m_playing = false;
}

bool ClockAudioPlayer::isPlaying() const
{
    settle();
    return m_playing;
}
