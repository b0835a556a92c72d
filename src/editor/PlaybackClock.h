// The playback state the editor owns: the player of the processed recording, the repeating
// timer that drives playback ticks, where the last fresh play began and whether playback
// stands paused. Main thread only. Owned by value by the editor; knows nothing of it.
#pragma once

#include <functional>
#include <memory>
#include <optional>

class AudioPlayer;
class QObject;
class QTimer;

class PlaybackClock {
public:
    PlaybackClock();
    ~PlaybackClock();
    PlaybackClock(const PlaybackClock&) = delete;
    PlaybackClock& operator=(const PlaybackClock&) = delete;

    // The player of the loaded recording; null without one.
    AudioPlayer* player() const { return m_player.get(); }
    // Replaces the player (null removes it); the one replaced is destroyed.
    void setPlayer(std::unique_ptr<AudioPlayer> player);
    // The player's position; none without a player.
    std::optional<double> playerTime() const;
    // Moves the player, when there is one, to `seconds`.
    void movePlayerTo(double seconds);

    // Starts the player at `at`. A play after a pause resumes and keeps the old start; any
    // other play (`alreadyPlaying` false and not paused) is a fresh start remembered at `at`.
    // False, with nothing changed, without a player.
    bool play(double at, bool alreadyPlaying);
    // Pauses the player (when there is one), marks playback paused and removes the timer.
    void pause();
    // Forgets the pause, so that the next play is a fresh start.
    void clearPause() { m_wasPaused = false; }
    // A seek while stopped or paused: the next play is a fresh start from `at`.
    void restartFrom(double at);

    // Replaces the timer with a started repeating one of `intervalMs` that calls `tick`; the
    // call is bound to `context`, so that no tick runs once `context` is gone.
    void startTicking(int intervalMs, const QObject* context, std::function<void()> tick);
    // The running timer; null while none runs.
    QTimer* timer() const { return m_timer.get(); }

    double lastStartPlayPosition() const { return m_lastStartPlayPosition; }
    bool wasPaused() const { return m_wasPaused; }

private:
    void stopTicking();

    std::unique_ptr<AudioPlayer> m_player;
    std::unique_ptr<QTimer> m_timer;
    double m_lastStartPlayPosition = 0.0;
    bool m_wasPaused = false;
};
