#include "editor/PlaybackClock.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ManualAudioPlayer.h"

#include <gtest/gtest.h>

#include <QObject>
#include <QTimer>

#include <memory>

namespace {

// A player that tells when it is destroyed, so that replacing it can be observed.
class WatchedAudioPlayer : public ManualAudioPlayer {
public:
    WatchedAudioPlayer(double duration, bool* destroyed)
        : ManualAudioPlayer(duration)
        , m_destroyed(destroyed)
    {}
    ~WatchedAudioPlayer() override { *m_destroyed = true; }

private:
    bool* m_destroyed;
};

ManualAudioPlayer& installPlayer(PlaybackClock& clock, double duration = 60.0)
{
    auto player = std::make_unique<ManualAudioPlayer>(duration);
    ManualAudioPlayer& reference = *player;
    clock.setPlayer(std::move(player));
    return reference;
}

} // namespace

TEST(PlaybackClockState, StartsWithoutPlayerTimerOrPause)
{
    PlaybackClock clock;
    EXPECT_EQ(clock.player(), nullptr);
    EXPECT_EQ(clock.timer(), nullptr);
    EXPECT_FALSE(clock.playerTime().has_value());
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 0.0);
    EXPECT_FALSE(clock.wasPaused());
}

TEST(PlaybackClockState, ReplacingThePlayerDestroysTheOldOne)
{
    PlaybackClock clock;
    bool firstDestroyed = false;
    clock.setPlayer(std::make_unique<WatchedAudioPlayer>(10.0, &firstDestroyed));
    EXPECT_FALSE(firstDestroyed);
    ManualAudioPlayer& second = installPlayer(clock);
    EXPECT_TRUE(firstDestroyed);
    EXPECT_EQ(clock.player(), &second);

    bool thirdDestroyed = false;
    clock.setPlayer(std::make_unique<WatchedAudioPlayer>(10.0, &thirdDestroyed));
    clock.setPlayer(nullptr);
    EXPECT_TRUE(thirdDestroyed);
    EXPECT_EQ(clock.player(), nullptr);
}

TEST(PlaybackClockState, PlayerTimeAndMovingFollowThePlayer)
{
    PlaybackClock clock;
    clock.movePlayerTo(4.0); // without a player: nothing to move, nothing breaks
    ManualAudioPlayer& player = installPlayer(clock);
    clock.movePlayerTo(12.5);
    EXPECT_DOUBLE_EQ(player.currentTime(), 12.5);
    ASSERT_TRUE(clock.playerTime().has_value());
    EXPECT_DOUBLE_EQ(*clock.playerTime(), 12.5);
}

TEST(PlaybackClockState, PlayWithoutAPlayerChangesNothing)
{
    PlaybackClock clock;
    clock.restartFrom(2.0);
    EXPECT_FALSE(clock.play(9.0, false));
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 2.0);
    EXPECT_FALSE(clock.wasPaused());
}

TEST(PlaybackClockState, AFreshPlayRemembersWhereItBegan)
{
    PlaybackClock clock;
    ManualAudioPlayer& player = installPlayer(clock);
    EXPECT_TRUE(clock.play(7.5, false));
    EXPECT_TRUE(player.isPlaying());
    EXPECT_DOUBLE_EQ(player.currentTime(), 7.5);
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 7.5);
    EXPECT_FALSE(clock.wasPaused());
}

TEST(PlaybackClockState, PlayWhilePlayingKeepsTheStart)
{
    PlaybackClock clock;
    installPlayer(clock);
    clock.play(3.0, false);
    clock.play(8.0, true);
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 3.0);
}

TEST(PlaybackClockState, PauseStopsThePlayerAndThePlayAfterItResumes)
{
    PlaybackClock clock;
    ManualAudioPlayer& player = installPlayer(clock);
    clock.play(3.0, false);
    clock.pause();
    EXPECT_FALSE(player.isPlaying());
    EXPECT_TRUE(clock.wasPaused());
    clock.play(11.0, false);
    EXPECT_TRUE(player.isPlaying());
    EXPECT_DOUBLE_EQ(player.currentTime(), 11.0);
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 3.0);
    EXPECT_FALSE(clock.wasPaused());
}

TEST(PlaybackClockState, PauseWithoutAPlayerStillMarksThePause)
{
    PlaybackClock clock;
    clock.pause();
    EXPECT_TRUE(clock.wasPaused());
}

TEST(PlaybackClockState, ClearingThePauseMakesTheNextPlayFresh)
{
    PlaybackClock clock;
    installPlayer(clock);
    clock.play(3.0, false);
    clock.pause();
    clock.clearPause();
    EXPECT_FALSE(clock.wasPaused());
    clock.play(6.0, false);
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 6.0);
}

TEST(PlaybackClockState, RestartingFromAPositionForgetsThePause)
{
    PlaybackClock clock;
    clock.pause();
    clock.restartFrom(14.0);
    EXPECT_FALSE(clock.wasPaused());
    EXPECT_DOUBLE_EQ(clock.lastStartPlayPosition(), 14.0);
}

TEST(PlaybackClockState, TickingStartsARepeatingTimerThatCallsTheTick)
{
    PlaybackClock clock;
    QObject context;
    int ticks = 0;
    clock.startTicking(5, &context, [&] { ++ticks; });
    ASSERT_NE(clock.timer(), nullptr);
    EXPECT_EQ(clock.timer()->interval(), 5);
    EXPECT_FALSE(clock.timer()->isSingleShot());
    EXPECT_TRUE(clock.timer()->isActive());
    // More than one tick shows the timer repeats.
    EXPECT_TRUE(waitUntil([&] { return ticks >= 2; }));
}

TEST(PlaybackClockState, StartingAgainReplacesTheTimer)
{
    PlaybackClock clock;
    QObject context;
    int firstTicks = 0;
    int secondTicks = 0;
    clock.startTicking(5, &context, [&] { ++firstTicks; });
    const QTimer* first = clock.timer();
    clock.startTicking(5, &context, [&] { ++secondTicks; });
    EXPECT_NE(clock.timer(), first);
    EXPECT_TRUE(waitUntil([&] { return secondTicks >= 2; }));
    EXPECT_EQ(firstTicks, 0);
}

TEST(PlaybackClockState, PauseRemovesTheTimer)
{
    PlaybackClock clock;
    QObject context;
    int ticks = 0;
    clock.startTicking(5, &context, [&] { ++ticks; });
    clock.pause();
    EXPECT_EQ(clock.timer(), nullptr);
    drainEvents();
    EXPECT_EQ(ticks, 0);
}

TEST(PlaybackClockState, NoTickRunsOnceTheContextIsGone)
{
    PlaybackClock clock;
    int ticks = 0;
    {
        QObject context;
        clock.startTicking(1, &context, [&] { ++ticks; });
    }
    ASSERT_NE(clock.timer(), nullptr);
    EXPECT_TRUE(clock.timer()->isActive());
    // A second timer on a living context shows time passing for the first one too.
    QObject witness;
    int witnessTicks = 0;
    QTimer other;
    QObject::connect(&other, &QTimer::timeout, &witness, [&] { ++witnessTicks; });
    other.start(1);
    EXPECT_TRUE(waitUntil([&] { return witnessTicks >= 3; }));
    EXPECT_EQ(ticks, 0);
}
