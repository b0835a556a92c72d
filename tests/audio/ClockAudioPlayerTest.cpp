#include "audio/ClockAudioPlayer.h"
#include "audio/DefaultAudioPlayerFactory.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"

#include <gtest/gtest.h>

#include <QThread>

TEST(ClockAudioPlayer, StartsStoppedAtZeroWithTheGivenDuration)
{
    ClockAudioPlayer player(12.5);
    EXPECT_EQ(player.duration(), 12.5);
    EXPECT_EQ(player.currentTime(), 0.0);
    EXPECT_FALSE(player.isPlaying());
}

TEST(ClockAudioPlayer, ClockMovesOnlyWhilePlayingAndPauseKeepsThePosition)
{
    ClockAudioPlayer player(100.0);
    player.play();
    EXPECT_TRUE(player.isPlaying());
    QThread::msleep(50);
    player.pause();
    const double paused = player.currentTime();
    EXPECT_GT(paused, 0.0);
    EXPECT_LT(paused, 10.0);
    QThread::msleep(30);
    EXPECT_EQ(player.currentTime(), paused);
    player.play();
    QThread::msleep(20);
    EXPECT_GT(player.currentTime(), paused);
}

TEST(ClockAudioPlayer, SeekIsImmediateWhetherPlayingOrNot)
{
    ClockAudioPlayer player(100.0);
    player.setCurrentTime(42.0);
    EXPECT_EQ(player.currentTime(), 42.0);
    player.play();
    player.setCurrentTime(10.0);
    const double now = player.currentTime();
    EXPECT_GE(now, 10.0);
    EXPECT_LT(now, 15.0);
    player.setCurrentTime(-3.0);
    EXPECT_GE(player.currentTime(), 0.0);
}

TEST(ClockAudioPlayer, StopsByItselfAtTheEnd)
{
    ClockAudioPlayer player(0.02);
    player.play();
    ASSERT_TRUE(waitUntil([&] { return !player.isPlaying(); }, 5000));
    EXPECT_EQ(player.currentTime(), 0.02);
}

TEST(DefaultAudioPlayerFactory, WithoutAnOutputDeviceTheSilentClockIsUsedAndSaidOnce)
{
    const AudioPlayerFactory factory = audioPlayerFactoryFor([] { return QAudioDevice(); });
    auto audio = std::make_shared<const AudioBuffer>(fixtures::silence(44100, 2, 44100 * 3));
    LogCapture log;
    const std::unique_ptr<AudioPlayer> first = factory(audio);
    const std::unique_ptr<AudioPlayer> second = factory(audio);
    ASSERT_NE(dynamic_cast<ClockAudioPlayer*>(first.get()), nullptr);
    ASSERT_NE(dynamic_cast<ClockAudioPlayer*>(second.get()), nullptr);
    EXPECT_EQ(first->duration(), 3.0);
    EXPECT_EQ(log.lines(),
              QStringList{QStringLiteral("[Audio] Nincs hangkimeneti eszköz: a lejátszás hang nélkül fut")});
}

TEST(DefaultAudioPlayerFactory, NoPlayerForAnEmptyRecording)
{
    const AudioPlayerFactory factory = audioPlayerFactoryFor([] { return QAudioDevice(); });
    EXPECT_EQ(factory(nullptr), nullptr);
    EXPECT_EQ(factory(std::make_shared<const AudioBuffer>()), nullptr);
}
