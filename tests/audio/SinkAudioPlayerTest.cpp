// Plays through a real sound server: a PulseAudio daemon with a null sink, started by the
// test in a private runtime folder, so it runs the same on a desktop and in CI.
#include "audio/SinkAudioPlayer.h"
#include "audio/DefaultAudioPlayerFactory.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QMediaDevices>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cmath>
#include <csignal>
#include <sys/types.h>

namespace {

class SinkAudioPlayerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_runtime = new QTemporaryDir();
        const QString pulseaudio = QStandardPaths::findExecutable(QStringLiteral("pulseaudio"));
        if (pulseaudio.isEmpty()) {
            s_skipReason = QStringLiteral("pulseaudio is not installed");
            return;
        }
        QProcess daemon;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), s_runtime->path());
        environment.insert(QStringLiteral("HOME"), s_runtime->path());
        daemon.setProcessEnvironment(environment);
        // --exit-idle-time: the daemon also goes away by itself if this process dies.
        daemon.start(pulseaudio, {QStringLiteral("--daemonize=yes"), QStringLiteral("--exit-idle-time=10"),
                                  QStringLiteral("-n"), QStringLiteral("--use-pid-file=yes"),
                                  QStringLiteral("--load=module-null-sink"),
                                  QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1")});
        if (!daemon.waitForFinished(15000) || daemon.exitCode() != 0) {
            daemon.kill();
            s_skipReason = QStringLiteral("PulseAudio could not start: ") +
                           QString::fromLocal8Bit(daemon.readAllStandardError()).trimmed();
            return;
        }
        const QString socket = s_runtime->filePath(QStringLiteral("pulse/native"));
        if (!waitUntil([&] { return QFile::exists(socket); }, 5000)) {
            s_skipReason = QStringLiteral("PulseAudio started but made no socket");
            return;
        }
        qputenv("PULSE_SERVER", (QStringLiteral("unix:") + socket).toLocal8Bit());
        if (!waitUntil([] { return !QMediaDevices::defaultAudioOutput().isNull(); }, 10000))
            s_skipReason = QStringLiteral("PulseAudio runs but Qt sees no output device");
    }

    static void TearDownTestSuite()
    {
        QFile pidFile(s_runtime->filePath(QStringLiteral("pulse/pid")));
        if (pidFile.open(QIODevice::ReadOnly)) {
            const pid_t pid = pid_t(pidFile.readAll().trimmed().toLongLong());
            if (pid > 0)
                ::kill(pid, SIGTERM);
        }
        delete s_runtime;
        s_runtime = nullptr;
    }

    void SetUp() override
    {
        if (!s_skipReason.isEmpty())
            GTEST_SKIP() << s_skipReason.toStdString();
    }

    static std::unique_ptr<SinkAudioPlayer> makePlayer(double seconds)
    {
        auto audio = std::make_shared<const AudioBuffer>(
                fixtures::sineTone(44100, 2, int64_t(seconds * 44100), 0.2f));
        return std::make_unique<SinkAudioPlayer>(audio, QMediaDevices::defaultAudioOutput());
    }

    // Lets the sink run for `ms` milliseconds of wall time.
    static void run(int ms)
    {
        QElapsedTimer timer;
        timer.start();
        waitUntil([&] { return timer.elapsed() >= ms; }, ms + 1000);
    }

    static inline QTemporaryDir* s_runtime = nullptr;
    static inline QString s_skipReason;
};

} // namespace

TEST_F(SinkAudioPlayerTest, FactoryPicksTheSoundCardPlayerWhenThereIsAnOutput)
{
    const AudioPlayerFactory factory = defaultAudioPlayerFactory();
    const auto player = factory(std::make_shared<const AudioBuffer>(fixtures::silence(44100, 1, 4410)));
    EXPECT_NE(dynamic_cast<SinkAudioPlayer*>(player.get()), nullptr);
    EXPECT_EQ(player->duration(), 0.1);
}

TEST_F(SinkAudioPlayerTest, PositionAdvancesAtRealSpeed)
{
    const auto player = makePlayer(8.0);
    EXPECT_EQ(player->duration(), 8.0);
    player->play();
    // A fresh stream on the null sink takes a while to settle (the server renders it in
    // large blocks until its latency adapts); the clock follows what the server plays, so
    // the steady pace is measured once playback has run for a second.
    ASSERT_TRUE(waitUntil([&] { return player->currentTime() > 1.0; }, 8000)) << "playback did not start";
    // The samples are fed from this thread; on a machine starved of CPU a window can catch
    // an underrun (the clock then rightly stops with the sound). Up to three consecutive
    // one-second windows are measured and the first undisturbed one must match.
    std::vector<double> errors;
    for (int window = 0; window < 3; ++window) {
        const double start = player->currentTime();
        QElapsedTimer wall;
        wall.start();
        run(1000);
        const double played = player->currentTime() - start;
        const double elapsed = double(wall.nsecsElapsed()) / 1e9;
        errors.push_back(std::abs(played - elapsed));
        EXPECT_LT(errors.back(), 0.5) << "window " << window;
        if (errors.back() <= 0.05)
            break;
    }
    EXPECT_LE(errors.back(), 0.05) << "every window was off by more than 50 ms";
    EXPECT_TRUE(player->isPlaying());
}

TEST_F(SinkAudioPlayerTest, SeekIsImmediateAndPlaybackGoesOnFromThere)
{
    const auto player = makePlayer(6.0);
    player->play();
    ASSERT_TRUE(waitUntil([&] { return player->currentTime() > 0.1; }, 8000));
    player->setCurrentTime(3.0);
    EXPECT_NEAR(player->currentTime(), 3.0, 0.05);
    EXPECT_TRUE(player->isPlaying());
    QElapsedTimer wall;
    wall.start();
    ASSERT_TRUE(waitUntil([&] { return player->currentTime() > 3.2; }, 8000));
    EXPECT_LT(player->currentTime(), 3.0 + double(wall.elapsed()) / 1000.0 + 0.1);

    player->pause();
    player->setCurrentTime(1.25);
    EXPECT_EQ(player->currentTime(), 1.25);
    EXPECT_FALSE(player->isPlaying());
}

TEST_F(SinkAudioPlayerTest, PauseAndResumeKeepThePosition)
{
    const auto player = makePlayer(6.0);
    player->play();
    ASSERT_TRUE(waitUntil([&] { return player->currentTime() > 0.3; }, 8000));
    player->pause();
    EXPECT_FALSE(player->isPlaying());
    const double paused = player->currentTime();
    EXPECT_GT(paused, 0.3);
    run(300);
    EXPECT_EQ(player->currentTime(), paused);
    player->play();
    EXPECT_TRUE(player->isPlaying());
    EXPECT_NEAR(player->currentTime(), paused, 0.05);
    double last = player->currentTime();
    bool monotonic = true;
    ASSERT_TRUE(waitUntil(
            [&] {
                const double now = player->currentTime();
                monotonic = monotonic && now >= last;
                last = now;
                return now > paused + 0.2;
            },
            8000));
    EXPECT_TRUE(monotonic);
}

TEST_F(SinkAudioPlayerTest, StopsAtTheEndOfTheRecording)
{
    const auto player = makePlayer(0.3);
    player->play();
    ASSERT_TRUE(waitUntil([&] { return !player->isPlaying(); }, 10000));
    EXPECT_EQ(player->currentTime(), player->duration());
}
