// Quitting while background work runs: the export or load is called off within the bound,
// leaves no temporary file, touches no destination and shows no alert; the quit autosave is
// written as always.
#include "app/AppDelegate.h"
#include "support/Log.h"
#include "tests/support/HostileFiles.h"
#include "tests/support/JobFixtures.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

class QuitDuringJobs : public JobFixtures::JobEditor {};

TEST_F(QuitDuringJobs, QuittingDuringAnExportStopsItPromptlyAndLeavesTheDestinationAlone)
{
    // 300 frames, each one a different picture.
    ASSERT_TRUE(load(writeToneWav(path(QStringLiteral("tone.wav")), 44100, 1, 10.0)));
    pagesOnEveryFrame(true);
    const QString video = path(QStringLiteral("video.mov"));
    ASSERT_TRUE(fixtures::writeBytes(video, "the user's earlier video").size() > 0);
    AppDelegate delegate;
    delegate.setViewModel(editor.get());
    editor->exportVideoFile(video);
    ASSERT_TRUE(waitUntil([&] { return editor->savingProgress() > 0.0; }, 60000));
    ASSERT_TRUE(dialogs.alerts().empty());

    LogCapture log;
    QElapsedTimer elapsed;
    elapsed.start();
    delegate.applicationWillTerminate();
    const qint64 took = elapsed.elapsed();
    EXPECT_TRUE(partFiles().isEmpty()) << partFiles().join(QLatin1Char(' ')).toStdString();
    EXPECT_LE(took, 2000 * HostileFiles::kSanitizerSlowdown);
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_TRUE(dialogs.alerts().empty());
    QFile destination(video);
    ASSERT_TRUE(destination.open(QIODevice::ReadOnly));
    EXPECT_EQ(destination.readAll(), QByteArray("the user's earlier video"));
    EXPECT_TRUE(log.contains(QStringLiteral("[AutoSave] Mentés ide: ") + editor->getAutoSavePath()));
    EXPECT_TRUE(QFileInfo::exists(editor->getAutoSavePath()));
}

TEST_F(QuitDuringJobs, QuittingDuringAnAudioLoadStopsItAndRemovesItsWav)
{
    // About 160 decoded blocks of 20 ms each: the load takes seconds unless it is called off.
    steps->slowAt = "decodeBlock";
    const QString recording = writeToneWav(path(QStringLiteral("long.wav")), 44100, 1, 60.0);
    AppDelegate delegate;
    delegate.setViewModel(editor.get());
    editor->loadAudio(recording);
    ASSERT_TRUE(waitUntil([&] { return !renderedWavs().isEmpty(); }, 30000));

    QElapsedTimer elapsed;
    elapsed.start();
    delegate.applicationWillTerminate();
    const qint64 took = elapsed.elapsed();
    EXPECT_LE(took, 2000 * HostileFiles::kSanitizerSlowdown);
    EXPECT_TRUE(renderedWavs().isEmpty()) << renderedWavs().join(QLatin1Char(' ')).toStdString();
    drainEvents();
    EXPECT_EQ(editor->audioPlayer(), nullptr);
}
