// A loaded project's page turns are never lost: they wait for a recording that loads slowly,
// no autosave is written before they are back, and a missing or unreadable recording keeps
// them (saved back as loaded) until the recording is loaded again.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "project/ProjectFormat.h"
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QThreadPool>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using ProjectFixtures::ProjectEditor;
using ProjectFixtures::readFile;
using ProjectFixtures::writeFile;

namespace {

// Feeds a recording through a named pipe: its first bytes at once, the rest only after a
// pause, so that loading it takes at least that long however fast the machine is.
class SlowRecording {
public:
    SlowRecording(const QString& pipePath, QByteArray bytes, std::chrono::milliseconds pause)
        : m_bytes(std::move(bytes))
        , m_path(QFile::encodeName(pipePath))
    {
        m_made = ::mkfifo(m_path.constData(), 0600) == 0;
        // A reader that went away must not end the test process.
        m_previousPipeHandler = std::signal(SIGPIPE, SIG_IGN);
        if (m_made)
            m_writer = std::thread([this, pause] { feed(m_path, pause); });
    }
    ~SlowRecording()
    {
        m_stop = true;
        if (m_writer.joinable())
            m_writer.join();
        // A decoder still waiting to open the pipe is let go: it finds the pipe empty.
        if (m_made) {
            if (const int fd = ::open(m_path.constData(), O_WRONLY | O_NONBLOCK); fd >= 0)
                ::close(fd);
        }
        std::signal(SIGPIPE, m_previousPipeHandler);
    }
    SlowRecording(const SlowRecording&) = delete;
    SlowRecording& operator=(const SlowRecording&) = delete;

    bool made() const { return m_made; }

private:
    void feed(const QByteArray& path, std::chrono::milliseconds pause)
    {
        // Opening for writing succeeds once the decoder has opened the pipe for reading.
        int fd = -1;
        while (!m_stop && fd < 0) {
            fd = ::open(path.constData(), O_WRONLY | O_NONBLOCK);
            if (fd < 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (fd < 0)
            return;
        constexpr qsizetype kHead = 4096;
        writeAll(fd, m_bytes.constData(), kHead);
        const auto resume = std::chrono::steady_clock::now() + pause;
        while (!m_stop && std::chrono::steady_clock::now() < resume)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        writeAll(fd, m_bytes.constData() + kHead, m_bytes.size() - kHead);
        ::close(fd);
    }

    void writeAll(int fd, const char* data, qsizetype size)
    {
        while (size > 0 && !m_stop) {
            const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
            if (written > 0) {
                data += written;
                size -= written;
            } else if (written < 0 && errno == EAGAIN) {
                pollfd ready{fd, POLLOUT, 0};
                ::poll(&ready, 1, 50);
            } else {
                return;
            }
        }
    }

    QByteArray m_bytes;
    QByteArray m_path;
    bool m_made = false;
    std::atomic<bool> m_stop{false};
    std::thread m_writer;
    void (*m_previousPipeHandler)(int) = SIG_DFL;
};

class ProjectFrameRestore : public ::testing::Test {
protected:
    ~ProjectFrameRestore() override
    {
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
    }

    ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();

    QString file(const QString& name) const { return project.file(name); }

    // Two pages, no silences, a recording at `audio` and 60 recorded frames: the first 30
    // on page 0, the rest on page 1, each with its own rectangle.
    ProjectJSON recordedProject(const QString& audio)
    {
        ProjectJSON document;
        document.imagePaths = {
                ImagePathInfo{project.writePng(QStringLiteral("p1.png"), 40, 30, Qt::red), {}, {}},
                ImagePathInfo{project.writePng(QStringLiteral("p2.png"), 30, 40, Qt::blue), {}, {}}};
        document.originalAudioPath = audio;
        document.audioPath = file(QStringLiteral("audio_with_silence_OLD.wav"));
        document.duration = 2.0;
        document.currentTime = 1.5;
        for (int frame = 0; frame < 60; ++frame)
            document.frames.push_back(frame < 30 ? FrameJSON{0, 1, 2, 3, frame}
                                                 : FrameJSON{1, 5, 6, 7, frame});
        return document;
    }

    QString writeProject(const QString& name, const ProjectJSON& document)
    {
        return writeFile(file(name), encodeProject(document));
    }

    void expectFramesOf(const ProjectJSON& document)
    {
        const Frames& frames = editor.getFrameManager();
        ASSERT_EQ(frames.getFrameCount(), static_cast<int64_t>(document.frames.size()));
        for (int64_t index = 0; index < frames.getFrameCount(); ++index) {
            const FrameJSON& expected = document.frames[static_cast<size_t>(index)];
            const auto record = frames.getFrame(index);
            EXPECT_EQ(record->assignedImageIndex, expected.imageIndex) << index;
            EXPECT_EQ(record->bgImageX, expected.x) << index;
            EXPECT_EQ(record->bgImageHeight, expected.h) << index;
            ASSERT_TRUE(record->bgImage.has_value()) << index;
            EXPECT_EQ(*record->bgImage, editor.images()[static_cast<size_t>(*expected.imageIndex)].image());
        }
    }

    static void expectSameFrames(const std::vector<FrameJSON>& actual, const std::vector<FrameJSON>& expected)
    {
        ASSERT_EQ(actual.size(), expected.size());
        for (size_t index = 0; index < expected.size(); ++index) {
            EXPECT_EQ(actual[index].imageIndex, expected[index].imageIndex) << index;
            EXPECT_EQ(actual[index].x, expected[index].x) << index;
            EXPECT_EQ(actual[index].y, expected[index].y) << index;
            EXPECT_EQ(actual[index].w, expected[index].w) << index;
            EXPECT_EQ(actual[index].h, expected[index].h) << index;
        }
    }

    std::optional<ProjectJSON> autosaved() { return decodeProject(readFile(editor.getAutoSavePath())); }
};

const QString kLoaded = QStringLiteral("[Load] Projekt betöltve: 2 kép, 60 frame");

QString expectedWarningText(const QString& path)
{
    return QStringLiteral("A projekt hangfelvétele nem található: ") + path +
           QStringLiteral(". Az oldalváltások megmaradnak; húzd be újra a felvételt.");
}

} // namespace

// ---- A recording that takes longer than the restore delay ----

TEST_F(ProjectFrameRestore, ARecordingSlowerThanTheDelayGetsEveryAssignmentAndTheAutosaveHoldsThem)
{
    const QByteArray wav = readFile(project.writeTone(QStringLiteral("tone.wav"), 2.0));
    const QString pipe = file(QStringLiteral("slow.wav"));
    const ProjectJSON document = recordedProject(pipe);
    const QString path = writeProject(QStringLiteral("slow.vnk"), document);

    LogCapture log;
    SlowRecording recording(pipe, wav, std::chrono::milliseconds(2500));
    ASSERT_TRUE(recording.made());
    editor.loadProject(path);
    ASSERT_TRUE(editor.isRestoringProject());
    // A change made while the project loads: its autosave comes due before the recording has
    // loaded, and must not be written before the frames are back.
    editor.scheduleAutoSave();

    ASSERT_TRUE(waitUntil([&] { return log.contains(kLoaded); }, 60000));
    const QStringList lines = log.lines();
    const QStringList loadedAudio = log.linesStartingWith(QStringLiteral("[Audio] Betöltés kész: "));
    ASSERT_EQ(loadedAudio.size(), 1);
    EXPECT_LT(lines.indexOf(loadedAudio.front()), lines.indexOf(kLoaded));
    expectFramesOf(document);
    EXPECT_EQ(editor.currentTime(), 1.5);
    EXPECT_FALSE(editor.isRestoringProject());
    EXPECT_TRUE(project.dialogs().alerts().empty());

    const QString autoSaveLine = QStringLiteral("[AutoSave] Mentés ide: ") + editor.getAutoSavePath();
    ASSERT_TRUE(waitUntil([&] { return log.contains(autoSaveLine); }, 15000));
    EXPECT_LT(log.lines().indexOf(kLoaded), log.lines().indexOf(autoSaveLine));
    const std::optional<ProjectJSON> saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);
    EXPECT_EQ(saved->originalAudioPath, pipe);
}

TEST_F(ProjectFrameRestore, NoAutosaveIsWrittenWhileAProjectWaitsForItsFrames)
{
    const QByteArray wav = readFile(project.writeTone(QStringLiteral("tone.wav"), 2.0));
    const QString pipe = file(QStringLiteral("slow.wav"));
    const ProjectJSON document = recordedProject(pipe);
    const QString path = writeProject(QStringLiteral("slow.vnk"), document);
    const QByteArray before = encodeProject(document);
    ASSERT_FALSE(writeFile(editor.getAutoSavePath(), before).isEmpty());

    LogCapture log;
    SlowRecording recording(pipe, wav, std::chrono::milliseconds(1500));
    editor.loadProject(path);
    // What the application does when it quits while the project loads.
    editor.autoSaveProject();
    EXPECT_EQ(readFile(editor.getAutoSavePath()), before);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[AutoSave]")).isEmpty());
    // A manual save in the meantime writes the frames the project is waiting for.
    ASSERT_TRUE(editor.saveProjectToFileSync(file(QStringLiteral("meanwhile.vnk"))));
    const std::optional<ProjectJSON> meanwhile =
            decodeProject(readFile(file(QStringLiteral("meanwhile.vnk"))));
    ASSERT_TRUE(meanwhile.has_value());
    expectSameFrames(meanwhile->frames, document.frames);

    // The autosave that came due is written after the restore.
    const QString autoSaveLine = QStringLiteral("[AutoSave] Mentés ide: ") + editor.getAutoSavePath();
    ASSERT_TRUE(waitUntil([&] { return log.contains(autoSaveLine); }, 60000));
    EXPECT_LT(log.lines().indexOf(kLoaded), log.lines().indexOf(autoSaveLine));
    const std::optional<ProjectJSON> saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);
}

// ---- A recording that is missing or cannot be read ----

TEST_F(ProjectFrameRestore, MissingRecordingKeepsTheFramesAndPathsUntilItIsLoadedAgain)
{
    const QString tone = project.writeTone(QStringLiteral("take.wav"), 2.0);
    const QByteArray wav = readFile(tone);
    const ProjectJSON document = recordedProject(tone);
    const QString path = writeProject(QStringLiteral("moved.vnk"), document);
    ASSERT_TRUE(QFile::remove(tone));

    LogCapture log;
    editor.loadProjectJSON(path);
    EXPECT_EQ(editor.images().size(), 2u);
    EXPECT_TRUE(editor.keepsMissingRecording());
    EXPECT_FALSE(editor.isLoadingAudio());
    const std::vector<ScriptedDialogs::Alert> alerts = project.dialogs().alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].style, AlertStyle::warning);
    EXPECT_EQ(alerts[0].message, QStringLiteral("Hiányzó hangfelvétel"));
    EXPECT_EQ(alerts[0].informativeText, expectedWarningText(tone));
    // Nothing more is logged, however long one waits.
    EXPECT_FALSE(waitUntil([&] { return log.lines().size() > 1; }, 1500));
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);

    // Quitting now: the autosave still has every frame and both paths.
    editor.autoSaveProject();
    std::optional<ProjectJSON> saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);
    EXPECT_EQ(saved->originalAudioPath, tone);
    EXPECT_EQ(saved->audioPath, document.audioPath);
    EXPECT_EQ(saved->imagePaths.size(), 2u);

    // Loaded again from that autosave (the next start), the frames are still kept.
    editor.autoLoadProject();
    EXPECT_EQ(project.dialogs().alerts().size(), 2u);
    editor.autoSaveProject();
    saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);

    // The user drops the recording again: its frames come back assigned.
    ASSERT_FALSE(writeFile(tone, wav).isEmpty());
    editor.setStartSilenceDuration(0.0);
    editor.setEndSilenceDuration(0.0);
    ASSERT_TRUE(project.loadAudioAndWait(tone));
    EXPECT_FALSE(editor.keepsMissingRecording());
    expectFramesOf(document);
    EXPECT_TRUE(log.contains(kLoaded));
    editor.autoSaveProject();
    saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);
    EXPECT_EQ(saved->originalAudioPath, tone);
    EXPECT_EQ(saved->audioPath, editor.audioURL());
    EXPECT_EQ(project.dialogs().alerts().size(), 2u);
}

TEST_F(ProjectFrameRestore, UnreadableRecordingRestoresNothingLogsNoCompletionAndKeepsTheFrames)
{
    const QString broken = writeFile(file(QStringLiteral("broken.wav")), QByteArray(4096, 'x'));
    const ProjectJSON document = recordedProject(broken);
    const QString path = writeProject(QStringLiteral("broken.vnk"), document);

    LogCapture log;
    std::optional<bool> finished;
    QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished, [&](bool ok) { finished = ok; });
    editor.loadProjectJSON(path);
    ASSERT_TRUE(waitUntil([&] { return finished.has_value(); }, 30000));
    EXPECT_TRUE(*finished);
    EXPECT_FALSE(editor.isLoadingAudio());
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Load] Projekt betöltve")).isEmpty());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_TRUE(editor.keepsMissingRecording());
    const std::vector<ScriptedDialogs::Alert> alerts = project.dialogs().alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].message, QStringLiteral("Hiányzó hangfelvétel"));
    EXPECT_EQ(alerts[0].informativeText, expectedWarningText(broken));

    editor.autoSaveProject();
    const std::optional<ProjectJSON> saved = autosaved();
    ASSERT_TRUE(saved.has_value());
    expectSameFrames(saved->frames, document.frames);
    EXPECT_EQ(saved->originalAudioPath, broken);
    EXPECT_EQ(saved->audioPath, document.audioPath);
}

TEST_F(ProjectFrameRestore, NewProjectLetsTheKeptFramesGo)
{
    const ProjectJSON document = recordedProject(file(QStringLiteral("gone.wav")));
    editor.loadProjectJSON(writeProject(QStringLiteral("moved.vnk"), document));
    ASSERT_TRUE(editor.keepsMissingRecording());

    editor.newProject();
    EXPECT_FALSE(editor.keepsMissingRecording());
    LogCapture log;
    editor.autoSaveProject();
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[AutoSave] Nincs mit menteni")});

    editor.addImage(project.writePng(QStringLiteral("p3.png"), 20, 20, Qt::green));
    ASSERT_TRUE(editor.saveProjectToFileSync(file(QStringLiteral("fresh.vnk"))));
    const std::optional<ProjectJSON> saved = decodeProject(readFile(file(QStringLiteral("fresh.vnk"))));
    ASSERT_TRUE(saved.has_value());
    EXPECT_TRUE(saved->frames.empty());
    EXPECT_FALSE(saved->originalAudioPath.has_value());
    EXPECT_FALSE(saved->audioPath.has_value());
}
