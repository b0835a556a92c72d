#include "project/ProjectMapping.h"

#include <gtest/gtest.h>

#include <QUuid>

#include <limits>

namespace {

QImage page(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::gray);
    return image;
}

} // namespace

TEST(ProjectMapping, FramesAreWrittenInOrderWithTheirPageAndRectangle)
{
    Frames frames;
    frames.ensureFrameCount(0.1, 30);
    const auto second = frames.getFrame(1);
    second->assignedImageIndex = 2;
    second->bgImageX = 10;
    second->bgImageY = -20;
    second->bgImageWidth = 300;
    second->bgImageHeight = 400;

    const std::vector<FrameJSON> entries = framesToJSON(frames);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0], (FrameJSON{std::nullopt, 0, 0, 1920, 1080}));
    EXPECT_EQ(entries[1], (FrameJSON{2, 10, -20, 300, 400}));
}

TEST(ProjectMapping, PdfPagesKeepTheirPageNumbersAndPairsBoth)
{
    const std::vector<ImageItem> images{
            ImageItem(QUuid::createUuid(), page(4, 4), QStringLiteral("/a.png")),
            ImageItem(QUuid::createUuid(), page(4, 4), QStringLiteral("/b.pdf"), 3),
            ImageItem(QUuid::createUuid(), page(8, 4), QStringLiteral("/b.pdf"), 1, 2),
    };
    EXPECT_EQ(imagePathsToJSON(images),
              (std::vector<ImagePathInfo>{{QStringLiteral("/a.png"), std::nullopt, std::nullopt},
                                          {QStringLiteral("/b.pdf"), 3, std::nullopt},
                                          {QStringLiteral("/b.pdf"), 1, 2}}));
}

TEST(ProjectMapping, MissingTransitionAndBoostTakeTheDefaultsOfOlderFiles)
{
    ProjectJSON project;
    project.startSilence = 1.5;
    project.endSilence = 2.5;
    const ProjectSettings settings = projectSettings(project);
    EXPECT_EQ(settings.transitionDuration, 0.5);
    EXPECT_EQ(settings.volumeBoost, 100.0);
    EXPECT_EQ(settings.startSilence, 1.5);
    EXPECT_EQ(settings.endSilence, 2.5);
    EXPECT_FALSE(settings.videoFormat.has_value());
    EXPECT_FALSE(settings.fillColor.has_value());
}

TEST(ProjectMapping, UnknownFormatAndIncompleteColourGiveNothing)
{
    ProjectJSON project;
    project.videoFormat = QStringLiteral("4:3");
    project.fillColorR = 0.5;
    project.fillColorG = 0.5;
    const ProjectSettings settings = projectSettings(project);
    EXPECT_FALSE(settings.videoFormat.has_value());
    EXPECT_FALSE(settings.fillColor.has_value());
}

TEST(ProjectMapping, ColourComponentsAreKeptExactly)
{
    ProjectJSON project;
    project.fillColorR = 0.2;
    project.fillColorG = 0.3;
    project.fillColorB = 0.7;
    const ProjectSettings settings = projectSettings(project);
    ASSERT_TRUE(settings.fillColor.has_value());
    EXPECT_EQ(*settings.fillColor, (FillColorComponents{0.2, 0.3, 0.7}));
    ProjectJSON again;
    putFillColor(again, *settings.fillColor);
    EXPECT_EQ(again.fillColorR, 0.2);
    EXPECT_EQ(again.fillColorG, 0.3);
    EXPECT_EQ(again.fillColorB, 0.7);

    project.fillColorR = -1.0;
    project.fillColorB = 7.0;
    EXPECT_EQ(*projectSettings(project).fillColor, (FillColorComponents{0.0, 0.3, 1.0}));
}

TEST(ProjectMapping, SettingsWithinTheSheetsRangesAreTakenWithoutAWord)
{
    ProjectJSON project;
    project.startSilence = 10.0;
    project.endSilence = 0.0;
    project.transitionDuration = 3.0;
    project.volumeBoost = 25.0;
    const ProjectSettings settings = projectSettings(project);
    EXPECT_EQ(settings.startSilence, 10.0);
    EXPECT_EQ(settings.endSilence, 0.0);
    EXPECT_EQ(settings.transitionDuration, 3.0);
    EXPECT_EQ(settings.volumeBoost, 25.0);
    EXPECT_TRUE(settings.warnings.isEmpty());
}

TEST(ProjectMapping, SettingsOutsideTheSheetsRangesAreClampedWithAWarning)
{
    ProjectJSON project;
    project.startSilence = 1e9;
    project.endSilence = -std::numeric_limits<double>::infinity();
    project.transitionDuration = std::numeric_limits<double>::quiet_NaN();
    project.volumeBoost = 1e9;
    const ProjectSettings settings = projectSettings(project);
    EXPECT_EQ(settings.startSilence, 10.0);
    EXPECT_EQ(settings.endSilence, 0.0);
    EXPECT_EQ(settings.transitionDuration, 0.0);
    EXPECT_EQ(settings.volumeBoost, 1000.0);
    const QString tail = QStringLiteral(" a megengedett tartományon kívül esik, ");
    EXPECT_EQ(settings.warnings,
              (QStringList{QStringLiteral("[Load] Figyelmeztetés: startSilence értéke (1000000000.0)") +
                                   tail + QStringLiteral("10.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: endSilence értéke (-inf)") + tail +
                                   QStringLiteral("0.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: transitionDuration értéke (nan)") + tail +
                                   QStringLiteral("0.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: volumeBoost értéke (1000000000.0)") + tail +
                                   QStringLiteral("1000.0 lesz helyette")}));
}

TEST(ProjectMapping, TheSavedPositionIsKeptWithinTheRecording)
{
    EXPECT_EQ(restoredPosition(1.5, 4.0), 1.5);
    EXPECT_EQ(restoredPosition(1e300, 4.0), 4.0);
    EXPECT_EQ(restoredPosition(-5.0, 4.0), 0.0);
    EXPECT_EQ(restoredPosition(std::numeric_limits<double>::infinity(), 4.0), 4.0);
    EXPECT_EQ(restoredPosition(std::numeric_limits<double>::quiet_NaN(), 4.0), 0.0);
}

TEST(ProjectMapping, OriginalAudioIsPreferredToTheRenderedFile)
{
    ProjectJSON project;
    project.audioPath = QStringLiteral("/tmp/audio_with_silence_X.wav");
    EXPECT_EQ(projectAudioPath(project), project.audioPath);
    project.originalAudioPath = QStringLiteral("/music/take.mp3");
    EXPECT_EQ(projectAudioPath(project), project.originalAudioPath);
    EXPECT_FALSE(projectAudioPath(ProjectJSON{}).has_value());
}

TEST(ProjectMapping, RestoreSkipsEntriesPastTheStoreAndNeverUsesANegativeIndex)
{
    Frames frames;
    frames.ensureFrameCount(0.1, 30);
    const std::vector<ImageItem> images{ImageItem(QUuid::createUuid(), page(5, 7), QStringLiteral("/a.png"))};
    const std::vector<FrameJSON> entries{
            {0, 1, 2, 3, 4}, {-1, 5, 6, 7, 8}, {1000000, 9, 10, 11, 12}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}};

    EXPECT_EQ(restoreFrames(frames, entries, images), 3);

    EXPECT_EQ(frames.getFrameCount(), 3);
    const auto first = frames.getFrame(0);
    EXPECT_EQ(first->assignedImageIndex, 0);
    ASSERT_TRUE(first->bgImage.has_value());
    EXPECT_EQ(first->bgImage->size(), QSize(5, 7));
    EXPECT_EQ((std::array{first->bgImageX, first->bgImageY, first->bgImageWidth, first->bgImageHeight}),
              (std::array{1, 2, 3, 4}));
    const auto negative = frames.getFrame(1);
    EXPECT_FALSE(negative->assignedImageIndex.has_value());
    EXPECT_FALSE(negative->bgImage.has_value());
    EXPECT_EQ(negative->bgImageWidth, 7);
    // An index past the page list is kept (the page may be missing from disk) without a picture.
    const auto pastTheList = frames.getFrame(2);
    EXPECT_EQ(pastTheList->assignedImageIndex, 1000000);
    EXPECT_FALSE(pastTheList->bgImage.has_value());
}
