// Overlapping audio requests, failures inside the audio jobs, and the rendered WAVs they
// leave: the last request wins, a called-off job changes nothing, a failing job ends in its
// failure line, and only the current recording's WAV stays on the disk.
#include "audio/AudioPlayer.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "project/ProjectFormat.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

// Holds the first job that reaches a step until the test lets it go, so a test can start a
// second request while the first is still working.
struct Gate {
    std::string step;
    std::atomic<bool> armed = true;
    std::atomic<bool> entered = false;
    std::atomic<bool> released = false;

    void pass(std::string_view at)
    {
        if (at != step || !armed.exchange(false))
            return;
        entered = true;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!released && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
};

// Throws at one step while armed: an exception, or an allocation failure.
struct Fault {
    std::string step;
    bool allocation = false;
    std::atomic<bool> armed = true;

    void pass(std::string_view at)
    {
        if (at != step || !armed.load())
            return;
        if (allocation)
            throw std::bad_alloc();
        throw std::runtime_error("szándékos hiba");
    }
};

class AudioJobs : public ::testing::Test {
protected:
    ~AudioJobs() override
    {
        gate->released = true;
        editor.reset();
        QThreadPool::globalInstance()->waitForDone();
    }
    void makeEditor(FaultHook hook)
    {
        EditorEnvironment environment = fixtures::manualPlayerEnvironment(rendered.path(), &playerAudio);
        environment.faultHook = std::move(hook);
        editor = std::make_unique<VideoEditorViewModel>(environment);
        QObject::connect(editor.get(), &VideoEditorViewModel::audioLoadFinished,
                         [this](bool ok) { finished.push_back(ok); });
    }
    void holdFirstAt(const std::string& step)
    {
        gate->step = step;
        makeEditor([gate = gate](std::string_view at) { gate->pass(at); });
    }
    void failAt(const std::string& step, bool allocation)
    {
        fault->step = step;
        fault->allocation = allocation;
        makeEditor([fault = fault](std::string_view at) { fault->pass(at); });
    }
    // Lets held jobs go and waits until every job has ended and handed back its results.
    void settle()
    {
        gate->released = true;
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
    }
    QString tone(const QString& name, double seconds, int channels = 1, float amplitude = 0.5f)
    {
        return fixtures::writeWav(sources.filePath(name),
                                  fixtures::sineTone(44100, channels, int64_t(seconds * 44100), amplitude));
    }
    QStringList renderedWavs() const
    {
        QStringList paths;
        for (const QString& name : QDir(rendered.path()).entryList(QDir::Files))
            paths << rendered.filePath(name);
        return paths;
    }
    // While an earlier job is held, only the newer one can be waited for.
    void waitForNewerLoad()
    {
        ASSERT_TRUE(waitUntil([&] { return !editor->isLoadingAudio() && !finished.empty(); }, 60000));
        drainEvents();
    }
    void waitForLoadEnd()
    {
        ASSERT_TRUE(waitUntil([&] { return !editor->isLoadingAudio(); }, 60000));
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
    }

    QTemporaryDir sources;
    QTemporaryDir rendered;
    std::shared_ptr<const AudioBuffer> playerAudio;
    std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    std::shared_ptr<Fault> fault = std::make_shared<Fault>();
    std::unique_ptr<VideoEditorViewModel> editor;
    std::vector<bool> finished;
};

} // namespace

TEST_F(AudioJobs, TheLastDroppedRecordingWinsOverASlowerEarlierOne)
{
    holdFirstAt("decodeBlock");
    const QString a = tone(QStringLiteral("a.wav"), 6.0);
    const QString b = tone(QStringLiteral("b.wav"), 2.0, 2, 0.9f);
    LogCapture log;
    editor->loadAudio(a);
    ASSERT_TRUE(waitUntil([&] { return gate->entered.load(); }, 30000));
    editor->loadAudio(b);
    waitForNewerLoad();
    // B's loudness meter reports after B's load; its line belongs to B.
    ASSERT_TRUE(waitUntil([&] { return !editor->isMeasuringLoudness(); }, 30000));
    ASSERT_EQ(editor->originalAudioURL(), b);
    const std::vector<float> waveformOfB = editor->waveformData();
    const std::shared_ptr<const AudioBuffer> playerOfB = playerAudio;
    const QStringList linesAtB = log.lines();

    settle();
    EXPECT_EQ(editor->originalAudioURL(), b);
    EXPECT_EQ(editor->duration(), 10.0); // 3 s + 2 s + 5 s
    ASSERT_NE(editor->audioPlayer(), nullptr);
    EXPECT_EQ(editor->audioPlayer()->duration(), 10.0);
    EXPECT_EQ(playerAudio, playerOfB);
    EXPECT_EQ(playerAudio->channelCount(), 2);
    EXPECT_EQ(editor->waveformData(), waveformOfB);
    EXPECT_EQ(editor->getFrameManager().getFrameCount(), 300);
    EXPECT_EQ(finished, std::vector<bool>{true});
    EXPECT_EQ(log.lines(), linesAtB) << "the earlier load logged after the later one";
    ASSERT_TRUE(editor->audioURL().has_value());
    EXPECT_EQ(renderedWavs(), QStringList{*editor->audioURL()});
}

TEST_F(AudioJobs, NewProjectDuringALoadStaysEmpty)
{
    holdFirstAt("decodeBlock");
    editor->loadAudio(tone(QStringLiteral("a.wav"), 4.0));
    ASSERT_TRUE(waitUntil([&] { return gate->entered.load(); }, 30000));
    editor->newProject();
    EXPECT_FALSE(editor->isLoadingAudio());
    settle();
    EXPECT_FALSE(editor->isLoadingAudio());
    EXPECT_FALSE(editor->audioURL().has_value());
    EXPECT_FALSE(editor->originalAudioURL().has_value());
    EXPECT_EQ(editor->audioPlayer(), nullptr);
    EXPECT_EQ(editor->duration(), 0.0);
    EXPECT_TRUE(editor->waveformData().empty());
    EXPECT_EQ(editor->getFrameManager().getFrameCount(), 0);
    EXPECT_FALSE(editor->isMeasuringLoudness());
    EXPECT_TRUE(finished.empty());
    EXPECT_TRUE(renderedWavs().isEmpty()) << renderedWavs().join(QLatin1Char(' ')).toStdString();
}

TEST_F(AudioJobs, OpeningAProjectDuringAnotherProjectsLoadGivesOnlyTheSecond)
{
    holdFirstAt("decodeBlock");
    const auto writeProject = [&](const QString& name, const QString& recording, double startSilence) {
        ProjectJSON project;
        project.originalAudioPath = recording;
        project.startSilence = startSilence;
        project.endSilence = 5.0;
        const QString path = sources.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(encodeProject(project));
        return path;
    };
    const QString p1 = writeProject(QStringLiteral("p1.vnk"), tone(QStringLiteral("a.wav"), 6.0), 1.0);
    const QString p2 = writeProject(QStringLiteral("p2.vnk"), tone(QStringLiteral("b.wav"), 2.0, 2), 2.0);
    editor->loadProjectJSON(p1, VideoEditorViewModel::FrameRestore::whenAudioLoaded);
    ASSERT_TRUE(waitUntil([&] { return gate->entered.load(); }, 30000));
    editor->loadProjectJSON(p2, VideoEditorViewModel::FrameRestore::whenAudioLoaded);
    waitForNewerLoad();
    settle();
    EXPECT_EQ(editor->originalAudioURL(), sources.filePath(QStringLiteral("b.wav")));
    EXPECT_EQ(editor->startSilenceDuration(), 2.0);
    EXPECT_EQ(editor->duration(), 9.0); // 2 s + 2 s + 5 s
    ASSERT_NE(playerAudio, nullptr);
    EXPECT_EQ(playerAudio->channelCount(), 2);
    EXPECT_EQ(finished, std::vector<bool>{true});
    ASSERT_TRUE(editor->audioURL().has_value());
    EXPECT_EQ(renderedWavs(), QStringList{*editor->audioURL()});
}

TEST_F(AudioJobs, OnlyTheCurrentRenderedWavStaysAfterLoadsAndAReload)
{
    makeEditor({});
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    editor->loadAudio(tone(QStringLiteral("b.wav"), 1.5));
    waitForLoadEnd();
    editor->setStartSilenceDuration(1.0);
    editor->reloadAudioWithNewSilence();
    waitForLoadEnd();
    EXPECT_EQ(finished, (std::vector<bool>{true, true, true}));
    ASSERT_TRUE(editor->audioURL().has_value());
    EXPECT_TRUE(QFile::exists(*editor->audioURL()));
    EXPECT_EQ(renderedWavs(), QStringList{*editor->audioURL()});

    editor->newProject();
    EXPECT_TRUE(renderedWavs().isEmpty());
}

TEST_F(AudioJobs, TheRenderedWavGoesWithTheEditor)
{
    makeEditor({});
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    ASSERT_EQ(renderedWavs().size(), 1);
    editor.reset();
    EXPECT_TRUE(renderedWavs().isEmpty());
}

TEST_F(AudioJobs, AnExceptionInALoadEndsInTheLoadFailureLine)
{
    failAt("audioPipeline", false);
    LogCapture log;
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    EXPECT_EQ(finished, std::vector<bool>{false});
    EXPECT_FALSE(editor->isLoadingAudio());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Hiba betöltéskor: szándékos hiba")));
    EXPECT_EQ(editor->audioPlayer(), nullptr);
    EXPECT_TRUE(renderedWavs().isEmpty());
}

TEST_F(AudioJobs, AnAllocationFailureOnTheBuildersWorkerThreadEndsTheLoadWithoutTerminating)
{
    failAt("decodeBlock", true);
    LogCapture log;
    editor->loadAudio(tone(QStringLiteral("a.wav"), 3.0, 2));
    waitForLoadEnd();
    EXPECT_EQ(finished, std::vector<bool>{false});
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Hiba betöltéskor: nincs elég memória")));
    EXPECT_TRUE(renderedWavs().isEmpty());
}

TEST_F(AudioJobs, AnExceptionInAReloadEndsInTheReloadFailureLine)
{
    failAt("audioPipeline", false);
    fault->armed = false;
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    fault->armed = true;
    LogCapture log;
    editor->setStartSilenceDuration(1.0);
    editor->reloadAudioWithNewSilence();
    waitForLoadEnd();
    EXPECT_EQ(finished, (std::vector<bool>{true, false}));
    EXPECT_FALSE(editor->isLoadingAudio());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Hiba újratöltéskor: szándékos hiba")));
}

TEST_F(AudioJobs, AnExceptionInTheLoudnessMeterEndsTheMeasurement)
{
    failAt("loudness", false);
    LogCapture log;
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    EXPECT_EQ(finished, std::vector<bool>{true});
    EXPECT_FALSE(editor->isMeasuringLoudness());
    EXPECT_FALSE(editor->integratedLoudnessLUFS().has_value());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Hangosság mérés hiba: szándékos hiba")));
    // The recording itself loaded.
    EXPECT_NE(editor->audioPlayer(), nullptr);
}

TEST_F(AudioJobs, LoadingAnotherProjectRemovesTheRenderedWav)
{
    makeEditor({});
    editor->loadAudio(tone(QStringLiteral("a.wav"), 1.0));
    waitForLoadEnd();
    ASSERT_EQ(renderedWavs().size(), 1);
    const QString path = sources.filePath(QStringLiteral("pages-only.vnk"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encodeProject(ProjectJSON{}));
    file.close();
    editor->loadProjectJSON(path);
    EXPECT_TRUE(renderedWavs().isEmpty());
}
