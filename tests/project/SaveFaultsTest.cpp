// Project files under faults: a disk that fills up during the autosave or a manual save, and
// a program killed in the middle of a save. The file on disk is always a whole project, the
// old one or the new one.
#include "editor/VideoEditorViewModel.h"
#include "project/ProjectFormat.h"
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/FaultFixtures.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using FaultFixtures::filesIn;
using FaultFixtures::FileSizeLimit;
using ProjectFixtures::ProjectEditor;
using ProjectFixtures::readFile;
using ProjectFixtures::writeFile;

namespace {

class SaveFaults : public ::testing::Test {
protected:
    ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();

    void SetUp() override
    {
        editor.setImages(makePageItems({makePageImage(50, 50, Qt::green), makePageImage(60, 40, Qt::gray)}));
        ensureFrames(editor, 300);
        assignFrames(editor, 0, 150, 0, QRect(10, 20, 30, 40));
        assignFrames(editor, 150, 300, 1, QRect(50, 60, 70, 80));
    }

    // The bytes the editor's current state saves as.
    QByteArray currentBytes()
    {
        const QString scratch = project.file(QStringLiteral("scratch.vnk"));
        EXPECT_TRUE(editor.saveProjectToFileSync(scratch));
        const QByteArray bytes = readFile(scratch);
        QFile::remove(scratch);
        return bytes;
    }
};

TEST_F(SaveFaults, AutosaveOnAFullDiskKeepsThePreviousAutosaveAndTheNextOneSucceeds)
{
    editor.autoSaveProject();
    const QString autosave = editor.getAutoSavePath();
    const QByteArray previous = readFile(autosave);
    ASSERT_FALSE(previous.isEmpty());

    editor.setTransitionDuration(1.25);
    const QByteArray next = currentBytes();
    ASSERT_NE(next, previous);
    {
        // Room for half of the new file.
        const FileSizeLimit full(static_cast<rlim_t>(next.size() / 2));
        ASSERT_TRUE(full.active());
        LogCapture log;
        editor.autoSaveProject();
        ASSERT_EQ(log.lines().size(), 2) << log.lines().join(QLatin1Char('\n')).toStdString();
        EXPECT_EQ(log.lines()[0], QStringLiteral("[AutoSave] Mentés ide: ") + autosave);
        EXPECT_TRUE(log.lines()[1].startsWith(QStringLiteral("[Save] Hiba: ")));
        EXPECT_TRUE(log.lines()[1].contains(qt_error_string(EFBIG))) << log.lines()[1].toStdString();
    }
    EXPECT_EQ(readFile(autosave), previous);
    EXPECT_EQ(filesIn(QFileInfo(autosave).path()), QStringList{QStringLiteral("autosave.vnk")});
    EXPECT_TRUE(project.dialogs().alerts().empty());

    // With room again the same autosave goes through.
    LogCapture log;
    editor.autoSaveProject();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Save] Projekt mentve (JSON): ")).size(), 1);
    EXPECT_EQ(readFile(autosave), next);
}

TEST_F(SaveFaults, ManualSaveOnAFullDiskKeepsBothFilesClearsTheOverlayAndTheNextSaveSucceeds)
{
    const QString path = project.file(QStringLiteral("mine.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(path));
    editor.autoSaveProject();
    const QByteArray previous = readFile(path);
    const QByteArray autosave = readFile(editor.getAutoSavePath());

    editor.setVideoFormat(VideoFormat::portrait);
    editor.setStartSilenceDuration(4.5);
    const QByteArray next = currentBytes();
    {
        const FileSizeLimit full(static_cast<rlim_t>(next.size() / 3));
        ASSERT_TRUE(full.active());
        LogCapture log;
        project.dialogs().queueSavePath(path);
        editor.saveProject();
        drainEvents();
        EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Save] Hiba: ")).size(), 1);
        EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Save] Projekt mentve")).isEmpty());
    }
    // The failure is a log line only; the overlay goes as after any save.
    EXPECT_TRUE(project.dialogs().alerts().empty());
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_EQ(editor.savingProgress(), 1.0);
    EXPECT_EQ(readFile(path), previous);
    EXPECT_EQ(readFile(editor.getAutoSavePath()), autosave);
    EXPECT_EQ(filesIn(project.file(QString())).filter(QStringLiteral("mine.vnk")),
              QStringList{QStringLiteral("mine.vnk")});

    LogCapture log;
    project.dialogs().queueSavePath(path);
    editor.saveProject();
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Save] Projekt mentve (JSON): ")).size(), 1);
    EXPECT_EQ(readFile(path), next);
    std::optional<ProjectJSON> decoded = decodeProject(readFile(path));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->videoFormat, QStringLiteral("9:16"));
}

// ---- A program killed in the middle of a save ----

// What the saving child shares with the test: whether it is inside a save right now, and
// how many saves it finished.
struct SaveProgress {
    volatile sig_atomic_t saving = 0;
    volatile sig_atomic_t finished = 0;
};

// The child's life: save `first`, `second`, `first`… to `path` until it is killed.
[[noreturn]] void saveForever(VideoEditorViewModel& first, VideoEditorViewModel& second, const QString& path,
                              SaveProgress* progress)
{
    // Thousands of log lines would only bury the test's own output.
    const int devNull = ::open("/dev/null", O_WRONLY);
    if (devNull >= 0)
        ::dup2(devNull, STDOUT_FILENO);
    for (int turn = 0;; ++turn) {
        progress->saving = 1;
        const bool saved = (turn % 2 == 0 ? first : second).saveProjectToFileSync(path);
        progress->saving = 0;
        if (!saved)
            std::_Exit(2);
        progress->finished = progress->finished + 1;
    }
}

TEST(SaveKilled, SaveKilledAtRandomPointsLeavesTheOldOrTheNewProject)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    ScriptedDialogs dialogs;
    // Two versions of one long project (a quarter of an hour of frames, megabytes of text).
    constexpr int64_t kFrames = 25000;
    VideoEditorViewModel older(testEnvironment(dialogs));
    VideoEditorViewModel newer(testEnvironment(dialogs));
    for (VideoEditorViewModel* editor : {&older, &newer}) {
        editor->setImages(makePageItems({makePageImage(50, 50, Qt::green), makePageImage(60, 40, Qt::gray)}));
        ensureFrames(*editor, kFrames);
    }
    assignFrames(older, 0, kFrames, 0, QRect(1, 2, 3, 4));
    assignFrames(newer, 0, kFrames / 3, 1, QRect(5, 6, 7, 8));
    assignFrames(newer, kFrames / 3, kFrames, 0, QRect(9, 10, 11, 12));
    newer.setTransitionDuration(0.9);

    const QString path = dir.filePath(QStringLiteral("killed.vnk"));
    const QString newerPath = dir.filePath(QStringLiteral("newer.vnk"));
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(newer.saveProjectToFileSync(newerPath));
    const qint64 saveMs = std::max<qint64>(timer.elapsed(), 1);
    ASSERT_TRUE(older.saveProjectToFileSync(path));
    const QByteArray olderBytes = readFile(path);
    const QByteArray newerBytes = readFile(newerPath);
    ASSERT_GT(olderBytes.size(), 1024 * 1024);
    ASSERT_NE(olderBytes, newerBytes);
    // Both are whole projects, so a file equal to either one is a project that loads.
    ASSERT_TRUE(decodeProject(olderBytes).has_value());
    ASSERT_TRUE(decodeProject(newerBytes).has_value());
    QFile::remove(newerPath);

    auto* progress = static_cast<SaveProgress*>(
            mmap(nullptr, sizeof(SaveProgress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(progress, MAP_FAILED);

    // Fixed seed: the same 50 kill times on every run, spread over about three saves.
    std::mt19937 random(20261121);
    std::uniform_int_distribution<qint64> delayUs(0, saveMs * 3000);
    constexpr int kKills = 50;
    int killedInsideASave = 0;
    int sawOlder = 0;
    int sawNewer = 0;
    std::fflush(stdout);
    for (int kill = 0; kill < kKills; ++kill) {
        progress->saving = 0;
        progress->finished = 0;
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            saveForever(newer, older, path, progress);
        std::this_thread::sleep_for(std::chrono::microseconds(delayUs(random)));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
                << "kill " << kill << " status " << status;
        if (progress->saving)
            ++killedInsideASave;

        const QByteArray bytes = readFile(path);
        if (bytes == olderBytes) {
            ++sawOlder;
        } else if (bytes == newerBytes) {
            ++sawNewer;
        } else {
            ADD_FAILURE() << "kill " << kill << " left " << bytes.size() << " bytes that are neither version";
            break;
        }
        // A killed save leaves no half-written file beside the project either.
        ASSERT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("killed.vnk")}) << "kill " << kill;
    }
    munmap(progress, sizeof(SaveProgress));
    std::printf("save of %lld bytes: %lld ms; kills inside a save: %d of %d; old project %d times, new %d "
                "times\n",
                static_cast<long long>(olderBytes.size()), static_cast<long long>(saveMs), killedInsideASave,
                kKills, sawOlder, sawNewer);
    EXPECT_EQ(sawOlder + sawNewer, kKills);
    // The kills really interrupted saves: the save is nearly all of the child's time.
    EXPECT_GE(killedInsideASave, kKills / 2);
}

} // namespace
