#include "editor/PlaybackClock.h"

#include "audio/AudioPlayer.h"

#include <QTimer>

PlaybackClock::PlaybackClock() = default;

PlaybackClock::~PlaybackClock() = default;

void PlaybackClock::setPlayer(std::unique_ptr<AudioPlayer> player)
{
    m_player = std::move(player);
}

std::optional<double> PlaybackClock::playerTime() const
{
    if (!m_player)
        return std::nullopt;
    return m_player->currentTime();
}

void PlaybackClock::movePlayerTo(double seconds)
{
    if (m_player)
        m_player->setCurrentTime(seconds);
}

bool PlaybackClock::play(double at, bool alreadyPlaying)
{
    if (!m_player)
        return false;
    if (!alreadyPlaying && !m_wasPaused)
        m_lastStartPlayPosition = at;
    m_wasPaused = false;
    m_player->setCurrentTime(at);
    m_player->play();
    return true;
}

void PlaybackClock::pause()
{
    if (m_player)
        m_player->pause();
    m_wasPaused = true;
    stopTicking();
}

void PlaybackClock::restartFrom(double at)
{
    m_lastStartPlayPosition = at;
    m_wasPaused = false;
}

void PlaybackClock::startTicking(int intervalMs, const QObject* context, std::function<void()> tick)
{
    // A timer left from an earlier start is destroyed (and so stopped) by the replacement.
    auto timer = std::make_unique<QTimer>();
    timer->setInterval(intervalMs);
    timer->setSingleShot(false);
    QObject::connect(timer.get(), &QTimer::timeout, context, std::move(tick));
    timer->start();
    m_timer = std::move(timer);
}

void PlaybackClock::stopTicking()
{
    if (m_timer) {
        m_timer->stop();
        m_timer.reset();
    }
}
