#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <unistd.h>

namespace {

class VideoExport : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    // Starts an export the way the save chooser does and waits for its final alert.
    ScriptedDialogs::Alert exportTo(const QString& path)
    {
        dialogs.queueSavePath(path);
        editor.exportVideo();
        EXPECT_TRUE(waitForAlerts(dialogs)) << "no final alert";
        // Anything still queued would show up now.
        drainEvents();
        if (dialogs.alerts().empty())
            return {AlertStyle::critical, QString(), QString()};
        return dialogs.alerts().back();
    }

    // A red page on the left half and a blue page on the right half for `first` frames, then
    // the blue page alone, centred, on white.
    void redAndBlueProject(int64_t frames)
    {
        setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
        ensureFrames(editor, frames);
        assignFrames(editor, 0, frames, 0, QRect(100, 100, 600, 400));
    }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
    LogCapture log;
};

} // namespace

TEST_F(VideoExport, SaveChooserAsksForAMovOrMp4File)
{
    editor.exportVideo(); // nothing queued: the chooser is cancelled
    const auto requests = dialogs.saveRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].title, QStringLiteral("Videó exportálása"));
    EXPECT_EQ(requests[0].proposedName, QStringLiteral("video.mov"));
    EXPECT_EQ(requests[0].message, QStringLiteral("Videó fájl mentése (MOV/MP4)"));
    ASSERT_EQ(requests[0].allowedTypes.size(), 2u);
    EXPECT_EQ(requests[0].allowedTypes[0].extensions, QStringList{QStringLiteral("mov")});
    EXPECT_EQ(requests[0].allowedTypes[1].extensions, QStringList{QStringLiteral("mp4")});
    EXPECT_TRUE(requests[0].canCreateDirectories);
}

TEST_F(VideoExport, CancelledChooserDoesNothing)
{
    editor.exportVideo();
    drainEvents();
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_TRUE(dialogs.alerts().empty());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(VideoExport, ChosenFileStartsTheExportWithTheStartingProgress)
{
    ensureFrames(editor, 2);
    const QString path = dir.filePath(QStringLiteral("start.mov"));
    dialogs.queueSavePath(path);
    editor.exportVideo();
    EXPECT_TRUE(editor.isSavingProject());
    EXPECT_DOUBLE_EQ(editor.savingProgress(), 0.0);
    EXPECT_EQ(editor.savingProgressText(), QStringLiteral("0%\nIndítás..."));
    ASSERT_TRUE(waitForAlerts(dialogs));
    EXPECT_FALSE(editor.isSavingProject());
}

TEST_F(VideoExport, ZeroFramesSkipTheLoopAndFinishAtOnce)
{
    std::vector<std::pair<double, QString>> progress;
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressTextChanged,
                     [&] { progress.emplace_back(editor.savingProgress(), editor.savingProgressText()); });
    const QString path = dir.filePath(QStringLiteral("empty.mov"));
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész!"));
    EXPECT_EQ(alert.informativeText, QStringLiteral("0 frame exportálva:\n") + path);
    const std::vector<std::pair<double, QString>> expected{{0.0, QStringLiteral("0%\nIndítás...")},
                                                           {0.95, QStringLiteral("95%\nBefejezés...")},
                                                           {1.0, QStringLiteral("100%\nKész!")}};
    EXPECT_EQ(progress, expected);
    EXPECT_TRUE(log.contains(QStringLiteral("[Export] Frame loop kezdés, total: 0")));
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Export] 0/")).isEmpty());
}

TEST_F(VideoExport, TwoHundredFiftyFramesPublishProgressAtOneHundredTwoHundredAndTheLast)
{
    redAndBlueProject(250);
    std::vector<std::pair<double, QString>> progress;
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressTextChanged,
                     [&] { progress.emplace_back(editor.savingProgress(), editor.savingProgressText()); });
    const QString path = dir.filePath(QStringLiteral("progress.mov"));
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész!"));
    ASSERT_EQ(progress.size(), 6u);
    EXPECT_EQ(progress[1].second, QStringLiteral("40%\n100/250 frame"));
    EXPECT_DOUBLE_EQ(progress[1].first, 0.32);
    EXPECT_EQ(progress[2].second, QStringLiteral("80%\n200/250 frame"));
    EXPECT_DOUBLE_EQ(progress[2].first, 0.64);
    EXPECT_EQ(progress[3].second, QStringLiteral("100%\n250/250 frame"));
    EXPECT_DOUBLE_EQ(progress[3].first, 0.8);
    EXPECT_EQ(progress[4], std::make_pair(0.95, QStringLiteral("95%\nBefejezés...")));
    EXPECT_EQ(progress[5], std::make_pair(1.0, QStringLiteral("100%\nKész!")));
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Export] 2")),
              (QStringList{QStringLiteral("[Export] 200/250 (80%)"),
                           QStringLiteral("[Export] 250/250 (100%)")}));
    EXPECT_TRUE(log.contains(QStringLiteral("[Export] 100/250 (40%)")));
}

TEST_F(VideoExport, LogLinesComeInTheirOrder)
{
    redAndBlueProject(3);
    const QString path = dir.filePath(QStringLiteral("log.mov"));
    exportTo(path);
    EXPECT_EQ(log.lines(), threeFrameExportLog(path));
}

TEST_F(VideoExport, WrittenFileIsQuickTimeH264HighWithEveryFrameAtTheExportRate)
{
    redAndBlueProject(45);
    const QString path = dir.filePath(QStringLiteral("full.mov"));
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.informativeText, QStringLiteral("45 frame exportálva:\n") + path);
    EXPECT_FALSE(editor.isSavingProject());
    const VideoProbe probe = probeVideo(path);
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(probe.videoProfile, 100); // High
    EXPECT_EQ(probe.width, 1920);
    EXPECT_EQ(probe.height, 1080);
    EXPECT_EQ(probe.videoPackets, 45);
    EXPECT_EQ(countDecodedFrames(path), 45);
    EXPECT_NEAR(probe.videoDuration, 45.0 / 30.0, 1e-9);
    EXPECT_EQ(probe.audioStreams, 0);
}

TEST_F(VideoExport, PortraitFormatIsWrittenUpright)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 4);
    assignFrames(editor, 0, 4, 0, QRect(0, 1420, 1080, 500)); // top of the canvas
    editor.setVideoFormat(VideoFormat::portrait);
    const QString path = dir.filePath(QStringLiteral("portrait.mov"));
    exportTo(path);
    const VideoProbe probe = probeVideo(path);
    EXPECT_EQ(probe.width, 1080);
    EXPECT_EQ(probe.height, 1920);
    const auto frames = decodeVideoFrames(path, {3});
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_TRUE(colorNear(frames.at(3).pixel(540, 200), Qt::red, 12));
    EXPECT_TRUE(colorNear(frames.at(3).pixel(540, 1700), Qt::white, 12));
}

TEST_F(VideoExport, DecodedPixelsShowThePagesWhereTheRectanglesSay)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 10);
    editor.setTransitionDuration(0.0);
    // Red on the left, lower part of the canvas (lower-left origin); blue on the right, upper part.
    assignFrames(editor, 0, 5, 0, QRect(100, 100, 600, 400));
    assignFrames(editor, 5, 10, 1, QRect(1200, 580, 600, 400));
    const QString path = dir.filePath(QStringLiteral("pixels.mov"));
    exportTo(path);
    const auto frames = decodeVideoFrames(path, {2, 7});
    ASSERT_EQ(frames.size(), 2u);
    const QImage& red = frames.at(2);
    const QImage& blue = frames.at(7);
    // Red rectangle: x 100...700, rows 1080 - 100 - 400 = 580 ... 980 from the top.
    EXPECT_TRUE(colorNear(red.pixel(400, 780), Qt::red, 12)) << describe(red.pixel(400, 780)).toStdString();
    EXPECT_TRUE(colorNear(red.pixel(400, 300), Qt::white, 12)) << describe(red.pixel(400, 300)).toStdString();
    EXPECT_TRUE(colorNear(red.pixel(1500, 780), Qt::white, 12));
    // Blue rectangle: x 1200...1800, rows 100 ... 500 from the top.
    EXPECT_TRUE(colorNear(blue.pixel(1500, 300), Qt::blue, 12))
            << describe(blue.pixel(1500, 300)).toStdString();
    EXPECT_TRUE(colorNear(blue.pixel(400, 780), Qt::white, 12));
    EXPECT_TRUE(colorNear(blue.pixel(1500, 780), Qt::white, 12));
}

TEST_F(VideoExport, FadeFrameShowsTheBlendOfBothPages)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 40);
    assignFrames(editor, 0, 10, 0);
    assignFrames(editor, 10, 40, 1);
    const QString path = dir.filePath(QStringLiteral("fade.mov"));
    exportTo(path);
    const auto frames = decodeVideoFrames(path, {9, 10, 14, 17, 24, 30});
    ASSERT_EQ(frames.size(), 6u);
    EXPECT_TRUE(colorNear(frames.at(9).pixel(960, 540), Qt::red, 12));
    for (const int k : {0, 4, 7}) {
        // Over white: red at 1 - b, then blue at b on top, b = (k + 1) / 15.
        const double b = (k + 1) / 15.0;
        const QColor expected = blend(blend(Qt::white, Qt::red, 1.0 - b), Qt::blue, b);
        const QRgb pixel = frames.at(10 + k).pixel(960, 540);
        EXPECT_TRUE(colorNear(pixel, expected, 12))
                << k << " " << describe(pixel).toStdString() << " expected " << expected.name().toStdString();
    }
    EXPECT_TRUE(colorNear(frames.at(24).pixel(960, 540), Qt::blue, 12));
    EXPECT_TRUE(colorNear(frames.at(30).pixel(960, 540), Qt::blue, 12));
}

TEST_F(VideoExport, Mp4NamedDestinationReceivesAQuickTimeContainer)
{
    redAndBlueProject(5);
    const QString path = dir.filePath(QStringLiteral("clip.mp4"));
    exportTo(path);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.read(12).mid(4, 8), QByteArray("ftypqt  "));
    EXPECT_EQ(probeVideo(path).majorBrand, QStringLiteral("qt  "));
}

TEST_F(VideoExport, ExistingFileAtTheDestinationIsReplacedSilently)
{
    redAndBlueProject(6);
    const QString path = dir.filePath(QStringLiteral("again.mov"));
    {
        QFile old(path);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(100000, 'x'));
    }
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész!"));
    EXPECT_EQ(probeVideo(path).videoPackets, 6);
    ASSERT_EQ(dialogs.alerts().size(), 1u);
}

TEST_F(VideoExport, OtherExportRatesKeepEveryFrameAndStampThemAtTheirRate)
{
    redAndBlueProject(48);
    for (const int fps : {24, 60}) {
        editor.setExportFPS(fps);
        const QString path = dir.filePath(QStringLiteral("rate%1.mov").arg(fps));
        dialogs.queueSavePath(path);
        const size_t before = dialogs.alerts().size();
        editor.exportVideo();
        ASSERT_TRUE(waitForAlerts(dialogs, before + 1));
        const VideoProbe probe = probeVideo(path);
        EXPECT_EQ(probe.videoPackets, 48) << fps;
        EXPECT_EQ(countDecodedFrames(path), 48) << fps;
        EXPECT_NEAR(probe.videoDuration, 48.0 / fps, 1e-9) << fps;
        EXPECT_LE(probe.longestKeyframeGap, 2 * fps);
    }
}

TEST_F(VideoExport, EditsAfterTheStartDoNotReachTheFile)
{
    redAndBlueProject(60);
    const QString path = dir.filePath(QStringLiteral("snapshot.mov"));
    editor.exportVideoFile(path);
    // The user goes on editing on the main thread while the export runs.
    assignFrames(editor, 0, 60, std::nullopt, QRect(0, 0, 10, 10), Qt::green);
    editor.getFrameManager().clear();
    ensureFrames(editor, 10);
    ASSERT_TRUE(waitForAlerts(dialogs));
    EXPECT_EQ(dialogs.alerts().back().informativeText, QStringLiteral("60 frame exportálva:\n") + path);
    EXPECT_EQ(probeVideo(path).videoPackets, 60);
    const auto frames = decodeVideoFrames(path, {59});
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_TRUE(colorNear(frames.at(59).pixel(400, 780), Qt::red, 12));
}

TEST_F(VideoExport, FolderThatCannotBeWrittenEndsInExportHiba)
{
    redAndBlueProject(5);
    QString path;
    if (geteuid() == 0) {
        // The administrator may write into any ordinary folder; sysfs refuses new files even so.
        path = QStringLiteral("/sys/vornik-export-test.mov");
    } else {
        const QString locked = dir.filePath(QStringLiteral("locked"));
        ASSERT_TRUE(QDir().mkpath(locked));
        ASSERT_TRUE(QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner));
        path = locked + QStringLiteral("/video.mov");
    }
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.message, QStringLiteral("Export hiba"));
    EXPECT_FALSE(alert.informativeText.isEmpty());
    EXPECT_EQ(dialogs.alerts().size(), 1u);
    EXPECT_FALSE(editor.isSavingProject());
    const QStringList fatal =
            log.linesStartingWith(QStringLiteral("[Export] FATAL: startWriting() failed! Error: "));
    ASSERT_EQ(fatal.size(), 1);
    EXPECT_GT(fatal[0].size(), QStringLiteral("[Export] FATAL: startWriting() failed! Error: ").size());
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Export] EXCEPTION: ")).size(), 1);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Export] Frame loop")).isEmpty());
}

TEST_F(VideoExport, MissingFolderEndsInExportHiba)
{
    redAndBlueProject(5);
    const auto alert = exportTo(dir.filePath(QStringLiteral("no/such/folder/video.mov")));
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.message, QStringLiteral("Export hiba"));
}

TEST_F(VideoExport, DestinationThatIsADirectoryEndsInExportHibaAndKeepsTheDirectory)
{
    redAndBlueProject(5);
    const QString path = dir.filePath(QStringLiteral("folder.mov"));
    ASSERT_TRUE(QDir().mkpath(path));
    {
        QFile inside(path + QStringLiteral("/keep.txt"));
        ASSERT_TRUE(inside.open(QIODevice::WriteOnly));
        inside.write("keep");
    }
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.message, QStringLiteral("Export hiba"));
    EXPECT_TRUE(QFileInfo(path).isDir());
    EXPECT_TRUE(QFile::exists(path + QStringLiteral("/keep.txt")));
    EXPECT_EQ(dialogs.alerts().size(), 1u);
}

TEST_F(VideoExport, WriterThatCannotBeCreatedEndsInExportHiba)
{
    redAndBlueProject(5);
    editor.setExportFPS(0); // no encoder runs at zero frames per second
    const auto alert = exportTo(dir.filePath(QStringLiteral("zero-rate.mov")));
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.message, QStringLiteral("Export hiba"));
    EXPECT_FALSE(alert.informativeText.isEmpty());
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Export] EXCEPTION: ")).size(), 1);
    EXPECT_FALSE(log.contains(QStringLiteral("[Export] Video track OK")));
    EXPECT_FALSE(editor.isSavingProject());
}
