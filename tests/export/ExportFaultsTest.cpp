// The export under faults: the video is written under a hidden temporary name beside the
// destination and put in its place only when finished, so a file already there survives a
// failed or abandoned export byte for byte and is replaced only by a finished video; no
// temporary file outlives the export; the log and the alerts still name the destination.
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/FaultFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>

#include <memory>

using FaultFixtures::filesIn;
using FaultFixtures::FileSizeLimit;
using FaultFixtures::noisePage;
using FaultFixtures::partialVideoFilesIn;

namespace {

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Waits for a log line without running the event loop, so that nothing the export posts to
// the main thread (its completion among them) can run meanwhile.
bool waitForLogLine(const LogCapture& log, const QString& line, int timeoutMs = 120000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!log.contains(line)) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(2);
    }
    return true;
}

class ExportFaults : public ::testing::Test {
protected:
    static constexpr int kFrames = 90;

    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(writeOld());
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    // What the user had at the destination before exporting.
    bool writeOld()
    {
        QFile file(destination);
        return file.open(QIODevice::WriteOnly) && file.write(oldBytes) == oldBytes.size();
    }

    // A full-HD page of noise on every frame: about 100 kB of video per few frames.
    void noiseProject(VideoEditorViewModel& target)
    {
        setPages(target, {noisePage(QSize(1920, 1080))});
        ensureFrames(target, kFrames);
        assignFrames(target, 0, kFrames, 0);
    }

    // Exports to the destination and waits for the final alert and every background step.
    ScriptedDialogs::Alert exportAndWait()
    {
        const size_t before = dialogs.alerts().size();
        editor.exportVideoFile(destination);
        EXPECT_TRUE(waitForAlerts(dialogs, before + 1)) << "no final alert";
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        EXPECT_EQ(dialogs.alerts().size(), before + 1);
        if (dialogs.alerts().size() <= before)
            return {AlertStyle::critical, QString(), QString()};
        return dialogs.alerts().back();
    }

    QTemporaryDir dir;
    const QString destination = dir.filePath(QStringLiteral("concert.mov"));
    const QByteArray oldBytes = QByteArray(300 * 1024, 'o');
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
};

TEST_F(ExportFaults, DiskFillingUpDuringTheVideoEndsInExportHiba)
{
    noiseProject(editor);
    LogCapture log;
    ScriptedDialogs::Alert alert;
    {
        const FileSizeLimit full(100 * 1024);
        ASSERT_TRUE(full.active());
        alert = exportAndWait();
    }
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.message, QStringLiteral("Export hiba"));
    EXPECT_FALSE(alert.informativeText.isEmpty());
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_EQ(contentsOf(destination), oldBytes);
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
    // The log speaks of the destination, never of the temporary file.
    EXPECT_TRUE(log.contains(QStringLiteral("[Export] Célfile: ") + destination));
    EXPECT_TRUE(log.contains(QStringLiteral("[Export] KÉSZ! Status: 3")));
    for (const QString& line : log.lines())
        EXPECT_FALSE(line.contains(QStringLiteral(".part"))) << line.toStdString();

    // With room the same export goes through and replaces the old file.
    alert = exportAndWait();
    EXPECT_EQ(alert.message, QStringLiteral("Export kész!"));
    EXPECT_EQ(alert.informativeText,
              QStringLiteral("%1 frame exportálva:\n%2").arg(kFrames).arg(destination));
    EXPECT_EQ(probeVideo(destination).videoPackets, kFrames);
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
}

TEST_F(ExportFaults, SuccessfulExportReplacesTheExistingFileWithTheUnchangedLogLines)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 3);
    assignFrames(editor, 0, 3, 0);
    LogCapture log;
    const auto alert = exportAndWait();
    EXPECT_EQ(alert.message, QStringLiteral("Export kész!"));
    EXPECT_EQ(probeVideo(destination).videoPackets, 3);
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
    EXPECT_EQ(log.lines(), threeFrameExportLog(destination));
}

TEST_F(ExportFaults, VideoIsWrittenUnderAHiddenNameBesideTheDestinationUntilItIsFinished)
{
    noiseProject(editor);
    LogCapture log;
    editor.exportVideoFile(destination);
    ASSERT_TRUE(waitForLogLine(log, QStringLiteral("[Export] Frame loop kezdés, total: %1").arg(kFrames)));
    // The export is writing: its file is a hidden one in the same folder, and the old file
    // is still whole.
    const QStringList partial = partialVideoFilesIn(dir.path());
    ASSERT_EQ(partial.size(), 1) << filesIn(dir.path()).join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(partial[0].startsWith(QStringLiteral(".concert.")));
    EXPECT_EQ(contentsOf(destination), oldBytes);

    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export kész!"));
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
    EXPECT_EQ(probeVideo(destination).videoPackets, kFrames);
}

TEST_F(ExportFaults, EditorClosedDuringTheExportRemovesTheTemporaryFileAndKeepsTheExistingOne)
{
    auto closing = std::make_unique<VideoEditorViewModel>(testEnvironment(dialogs));
    noiseProject(*closing);
    LogCapture log;
    closing->exportVideoFile(destination);
    ASSERT_TRUE(waitForLogLine(log, QStringLiteral("[Export] Frame loop kezdés, total: %1").arg(kFrames)));
    // The editor going calls the export off; it stops at its next frame.
    closing.reset();
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_TRUE(dialogs.alerts().empty());
    EXPECT_EQ(contentsOf(destination), oldBytes);
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
}

TEST_F(ExportFaults, DiskFillingUpDuringTheMuxKeepsTheSilentVideoAndLeavesNoTemporaryFile)
{
    // The silent video fits; the video with its sound does not.
    const QString audio = writeToneWav(path(QStringLiteral("tone.wav")), 48000, 2, 3.0);
    ASSERT_FALSE(audio.isEmpty());
    noiseProject(editor);
    ASSERT_EQ(exportAndWait().message, QStringLiteral("Export kész!"));
    const qint64 silentSize = QFileInfo(destination).size();
    ASSERT_TRUE(writeOld());

    editor.setAudioURL(audio);
    LogCapture log;
    ScriptedDialogs::Alert alert;
    {
        const FileSizeLimit full(static_cast<rlim_t>(silentSize + 1024));
        ASSERT_TRUE(full.active());
        alert = exportAndWait();
    }
    // The video itself is finished, so it takes the destination's place, as the alert says.
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.message, QStringLiteral("Video OK, audio hiba!"));
    EXPECT_EQ(alert.informativeText,
              QStringLiteral("A video exportálva, de az audio hozzáadása sikertelen:\n") + destination);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Export hiba: ")).size(), 1);
    const VideoProbe probe = probeVideo(destination);
    EXPECT_EQ(probe.videoPackets, kFrames);
    EXPECT_EQ(probe.audioStreams, 0);
    EXPECT_EQ(filesIn(dir.path()), (QStringList{QStringLiteral("concert.mov"), QStringLiteral("tone.wav")}));

    // With room the sound goes in.
    alert = exportAndWait();
    EXPECT_EQ(alert.message, QStringLiteral("Export kész audio-val!"));
    EXPECT_EQ(probeVideo(destination).audioStreams, 1);
    EXPECT_EQ(filesIn(dir.path()), (QStringList{QStringLiteral("concert.mov"), QStringLiteral("tone.wav")}));
}

TEST_F(ExportFaults, ExportWithSoundLeavesTheExistingFileUntilTheSoundIsIn)
{
    const QString audio = writeToneWav(path(QStringLiteral("tone.wav")), 48000, 2, 3.0);
    noiseProject(editor);
    editor.setAudioURL(audio);
    LogCapture log;
    editor.exportVideoFile(destination);
    // The silent video is finished and the sound is being added: the old file is still there.
    ASSERT_TRUE(waitForLogLine(log, QStringLiteral("[Export] KÉSZ! Status: 2")));
    EXPECT_EQ(contentsOf(destination), oldBytes);
    EXPECT_EQ(partialVideoFilesIn(dir.path()).size(), 1);
    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export kész audio-val!"));
    EXPECT_EQ(dialogs.alerts().back().informativeText,
              QStringLiteral("%1 frame + audio exportálva:\n%2").arg(kFrames).arg(destination));
    EXPECT_EQ(probeVideo(destination).audioStreams, 1);
    EXPECT_EQ(filesIn(dir.path()), (QStringList{QStringLiteral("concert.mov"), QStringLiteral("tone.wav")}));
}

TEST_F(ExportFaults, DestinationThatIsAFolderFailsAtTheStartAndLeavesNoTemporaryFile)
{
    const QString folder = path(QStringLiteral("folder.mov"));
    ASSERT_TRUE(QDir().mkpath(folder));
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 3);
    assignFrames(editor, 0, 3, 0);
    LogCapture log;
    editor.exportVideoFile(folder);
    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export hiba"));
    const QStringList fatal =
            log.linesStartingWith(QStringLiteral("[Export] FATAL: startWriting() failed! Error: "));
    ASSERT_EQ(fatal.size(), 1);
    EXPECT_TRUE(fatal[0].contains(folder)) << fatal[0].toStdString();
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Export] Frame loop")).isEmpty());
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("concert.mov")});
}

} // namespace
