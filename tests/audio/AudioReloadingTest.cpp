#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTimer>

#include <algorithm>

using ProjectFixtures::ProjectEditor;

namespace {

// An editor with a 3-second tone loaded between the given silences and two pages.
class AudioReloading : public ::testing::Test {
protected:
    ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();
    QString tone;

    void load(double startSilence, double endSilence)
    {
        editor.setStartSilenceDuration(startSilence);
        editor.setEndSilenceDuration(endSilence);
        tone = project.writeTone(QStringLiteral("tone.wav"), 3.0);
        ASSERT_TRUE(project.loadAudioAndWait(tone));
        // The autosave that the finished load asked for would only add lines to the logs read here.
        editor.autoSaveTimer()->stop();
        editor.setImages(
                makePageItems({makePageImage(800, 600, Qt::red), makePageImage(600, 800, Qt::blue)}));
        EditorTestAccess::updateFrameManagerImages(editor);
    }

    void assign(int64_t first, int64_t last, int page)
    {
        for (int64_t frame = first; frame <= last; ++frame)
            EditorTestAccess::assignImageWithIndex(editor, editor.images()[static_cast<size_t>(page)].image(),
                                                   frame, page);
    }

    std::optional<int> pageOf(int64_t frame) const
    {
        const auto record = editor.getFrameManager().getFrame(frame);
        return record ? record->assignedImageIndex : std::nullopt;
    }

    // The lines naming one copied assignment ("[Audio] Frame 3 → 63, kép #0").
    static QStringList copiedLines(const LogCapture& log)
    {
        QStringList lines;
        for (const QString& line : log.linesStartingWith(QStringLiteral("[Audio] Frame ")))
            if (line.contains(QStringLiteral(", kép #")))
                lines.append(line);
        return lines;
    }
};

} // namespace

TEST_F(AudioReloading, WithoutOriginalAudioLogsAndChangesNothing)
{
    ProjectEditor fresh;
    LogCapture log;
    fresh.editor().reloadAudioWithNewSilence();
    drainEvents();
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Audio] Nincs eredeti audio URL az újratöltéshez")});
    EXPECT_FALSE(fresh.editor().isLoadingAudio());
    EXPECT_EQ(fresh.editor().loadingProgress(), 0.0);
}

TEST_F(AudioReloading, StartSilenceZeroToTwoCopiesFrameZeroToSixtyAndKeepsTheFirstSixty)
{
    load(0.0, 0.0);
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 90);
    assign(0, 0, 1);
    assign(1, 59, 0);
    editor.setStartSilenceDuration(2.0);

    LogCapture log;
    ASSERT_TRUE(project.reloadAndWait());

    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 150);
    EXPECT_EQ(pageOf(60), 1);
    for (int64_t frame = 61; frame <= 119; ++frame)
        EXPECT_EQ(pageOf(frame), 0) << frame;
    // A copy, not a move: the old positions keep what they had.
    EXPECT_EQ(pageOf(0), 1);
    for (int64_t frame = 1; frame <= 59; ++frame)
        EXPECT_EQ(pageOf(frame), 0) << frame;
    EXPECT_FALSE(pageOf(120).has_value());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: 2.0s (60 frame)")));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] 60 hozzárendelés mentve")));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Frame 0 → 60, kép #1")));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] 60 hozzárendelés visszaállítva")));
    // The copied frame carries its page's picture and a rectangle fitted to it.
    const auto record = editor.getFrameManager().getFrame(60);
    ASSERT_TRUE(record->bgImage.has_value());
    EXPECT_EQ(record->bgImage->size(), editor.images()[1].image().size());
    const Placement placement = editor.computePlacement(editor.images()[1].image());
    EXPECT_EQ(record->bgImageWidth, placement.width);
    EXPECT_EQ(record->bgImageX, placement.x);
}

TEST_F(AudioReloading, StartSilenceTwoToZeroSkipsTheFirstSixtyWithTheirNegativeIndex)
{
    load(2.0, 0.0);
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 150);
    assign(0, 59, 0);
    assign(60, 61, 1);
    editor.setStartSilenceDuration(0.0);

    LogCapture log;
    ASSERT_TRUE(project.reloadAndWait());

    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: -2.0s (-60 frame)")));
    const QStringList skipped = log.linesStartingWith(QStringLiteral("[Audio] SKIP: "));
    ASSERT_EQ(skipped.size(), 60);
    EXPECT_EQ(skipped.front(), QStringLiteral("[Audio] SKIP: Frame 0 → -60 (érvénytelen)"));
    EXPECT_EQ(skipped.back(), QStringLiteral("[Audio] SKIP: Frame 59 → -1 (érvénytelen)"));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Frame 60 → 0, kép #1")));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] 2 hozzárendelés visszaállítva")));
    EXPECT_EQ(pageOf(0), 1);
    EXPECT_EQ(pageOf(1), 1);
    EXPECT_EQ(pageOf(2), 0);
    // The store never shrinks, and the old range keeps its assignments.
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 150);
    EXPECT_EQ(pageOf(60), 1);
}

TEST_F(AudioReloading, AChangeOfFiveHundredthsOfASecondRoundsHalfAFrameAwayFromZero)
{
    load(0.0, 0.0);
    assign(0, 0, 0);
    editor.setStartSilenceDuration(0.05);
    {
        LogCapture log;
        ASSERT_TRUE(project.reloadAndWait());
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: 0.05s (2 frame)")));
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Frame 0 → 2, kép #0")));
    }
    editor.setStartSilenceDuration(0.0);
    {
        LogCapture log;
        ASSERT_TRUE(project.reloadAndWait());
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: -0.05s (-2 frame)")));
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Frame 2 → 0, kép #0")));
    }
}

TEST_F(AudioReloading, OnlyTheEndSilenceChangingMovesNothingAndTheStoreOnlyGrows)
{
    load(0.0, 1.0);
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 120);
    assign(10, 19, 1);
    editor.setEndSilenceDuration(3.0);
    {
        LogCapture log;
        ASSERT_TRUE(project.reloadAndWait());
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: 0.0s (0 frame)")));
        EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Vég csend változás: 2.0s")));
        EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Frame ")).isEmpty());
        for (const QString& line : log.lines())
            EXPECT_FALSE(line.contains(QStringLiteral("hozzárendelés"))) << line.toStdString();
    }
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 180);
    for (int64_t frame = 0; frame < 180; ++frame)
        EXPECT_EQ(pageOf(frame), frame >= 10 && frame <= 19 ? std::optional<int>(1) : std::nullopt) << frame;

    editor.setEndSilenceDuration(0.0);
    ASSERT_TRUE(project.reloadAndWait());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 180);
    EXPECT_EQ(pageOf(19), 1);
}

TEST_F(AudioReloading, MoreThanFiveRestoredPairsLogOnlyTheFirstFiveAndTheTotal)
{
    load(0.0, 0.0);
    assign(0, 11, 0);
    editor.setStartSilenceDuration(1.0);

    LogCapture log;
    ASSERT_TRUE(project.reloadAndWait());

    EXPECT_EQ(copiedLines(log), (QStringList{
                                        QStringLiteral("[Audio] Frame 0 → 30, kép #0"),
                                        QStringLiteral("[Audio] Frame 1 → 31, kép #0"),
                                        QStringLiteral("[Audio] Frame 2 → 32, kép #0"),
                                        QStringLiteral("[Audio] Frame 3 → 33, kép #0"),
                                        QStringLiteral("[Audio] Frame 4 → 34, kép #0"),
                                }));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] 12 hozzárendelés visszaállítva")));
    for (int64_t frame = 30; frame <= 41; ++frame)
        EXPECT_EQ(pageOf(frame), 0) << frame;
}

TEST_F(AudioReloading, LogsProgressAndFinalStateWithoutMeasuringOrAutosaving)
{
    load(1.0, 1.0);
    assign(0, 2, 0);
    const std::optional<double> loudness = editor.audioLoudnessDB();
    editor.setCurrentTime(2.5);
    editor.setStartSilenceDuration(2.0);
    editor.setEndSilenceDuration(0.5);

    std::vector<double> progress;
    QObject::connect(&editor, &VideoEditorViewModel::loadingProgressChanged,
                     [&] { progress.push_back(editor.loadingProgress()); });
    int autoSaves = 0;
    QObject::connect(&editor, &VideoEditorViewModel::autoSaveScheduled, [&] { ++autoSaves; });
    LogCapture log;
    // Where in the log each change notification arrived, and the progress at that moment.
    std::vector<std::pair<qsizetype, double>> changesAt;
    QObject::connect(&editor, &VideoEditorViewModel::changed,
                     [&] { changesAt.emplace_back(log.lines().size(), editor.loadingProgress()); });

    editor.reloadAudioWithNewSilence();
    EXPECT_TRUE(editor.isLoadingAudio());
    EXPECT_EQ(editor.currentTime(), 0.0);
    bool finished = false;
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, [&](bool ok) { finished = ok; });
    ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }, 60000));
    drainEvents();
    EXPECT_TRUE(finished);

    EXPECT_EQ(progress, (std::vector<double>{0.0, 0.1, 0.2, 0.5, 0.7, 1.0}));
    EXPECT_EQ(autoSaves, 0);
    EXPECT_EQ(editor.audioLoudnessDB(), loudness);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Eredeti hangosság")).isEmpty());
    EXPECT_EQ(editor.previousStartSilence(), 2.0);
    EXPECT_EQ(editor.previousEndSilence(), 0.5);
    EXPECT_EQ(editor.duration(), 5.5);
    ASSERT_TRUE(editor.audioURL().has_value());

    const QStringList lines = log.lines();
    const QStringList expectedStart = {
            QStringLiteral("[Audio] Újratöltés új csend értékekkel..."),
            QStringLiteral("[Audio] Kezdő csend változás: 1.0s (30 frame)"),
            QStringLiteral("[Audio] Vég csend változás: -0.5s"),
            QStringLiteral("[Audio] 3 hozzárendelés mentve"),
            QStringLiteral("[Audio] Csend hozzáadása: 2.0s elején, 0.5s végén..."),
    };
    ASSERT_GE(lines.size(), expectedStart.size());
    EXPECT_EQ(lines.mid(0, expectedStart.size()), expectedStart);
    EXPECT_TRUE(log.contains(
            QStringLiteral("[Audio] Teljes időtartam csendekkel: 5.5s (eredeti + 2.0s + 0.5s)")));
    const QStringList expectedEnd = {
            QStringLiteral("[Audio] Frame hozzárendelések eltolása 30 frame-mel..."),
            QStringLiteral("[Audio] Frame 0 → 30, kép #0"),
            QStringLiteral("[Audio] Frame 1 → 31, kép #0"),
            QStringLiteral("[Audio] Frame 2 → 32, kép #0"),
            QStringLiteral("[Audio] 3 hozzárendelés visszaállítva"),
            QStringLiteral("[Audio] Újratöltés kész: 5.5 mp, frame-ek száma: 165"),
    };
    EXPECT_EQ(lines.mid(lines.size() - expectedEnd.size()), expectedEnd);
    // The views are told after the copy, before the loading state ends.
    const std::pair<qsizetype, double> afterCopy{lines.size() - 1, 0.7};
    EXPECT_NE(std::find(changesAt.begin(), changesAt.end(), afterCopy), changesAt.end());
}

TEST_F(AudioReloading, FailureLogsKeepsPreviousSilencesAndReportsTheEnd)
{
    load(1.0, 1.0);
    // The user's file became unreadable since it was loaded.
    ASSERT_TRUE(QFile::remove(tone));
    ASSERT_FALSE(ProjectFixtures::writeFile(tone, QByteArrayLiteral("not audio")).isEmpty());
    editor.setStartSilenceDuration(2.0);

    LogCapture log;
    EXPECT_FALSE(project.reloadAndWait());
    EXPECT_FALSE(editor.isLoadingAudio());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Hiba újratöltéskor: Nem sikerült csendet hozzáadni")));
    EXPECT_EQ(editor.previousStartSilence(), 1.0);
    EXPECT_EQ(editor.previousEndSilence(), 1.0);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Újratöltés kész")).isEmpty());
}

TEST_F(AudioReloading, ApplyingAgainWithoutChangesMovesNothing)
{
    load(0.0, 0.0);
    assign(0, 4, 0);
    editor.setStartSilenceDuration(1.0);
    ASSERT_TRUE(project.reloadAndWait());
    LogCapture log;
    ASSERT_TRUE(project.reloadAndWait());
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Kezdő csend változás: 0.0s (0 frame)")));
    EXPECT_TRUE(copiedLines(log).isEmpty());
}
