#include "project/DemoProject.h"
#include "audio/AudioDecoder.h"
#include "project/ProjectFormat.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QPainter>
#include <QPdfDocument>
#include <QTemporaryDir>

namespace {

// Pixels clearly darker than the paper in the two pixel rows a thin line at `y` points
// falls on (antialiasing splits it between them).
int inkedPixelsAt(const QImage& image, int y)
{
    int count = 0;
    for (int x = 0; x < image.width(); ++x)
        count += std::min(qGray(image.pixel(x, y - 1)), qGray(image.pixel(x, y))) < 220 ? 1 : 0;
    return count;
}

} // namespace

TEST(DemoProject, WritesAFourPageScoreOfDrawnStaves)
{
    QTemporaryDir dir;
    const auto demo = writeDemoProject(dir.filePath(QStringLiteral("demo")));
    ASSERT_TRUE(demo.has_value());
    QPdfDocument document;
    ASSERT_EQ(document.load(demo->scorePath), QPdfDocument::Error::None);
    ASSERT_EQ(document.pageCount(), kDemoPageCount);
    EXPECT_NEAR(document.pagePointSize(0).width(), 595.0, 1.0);
    EXPECT_NEAR(document.pagePointSize(0).height(), 842.0, 1.0);

    // The five lines of the second staff of page 2 (top at 300 pt, 8 pt apart) run across
    // the page; between them the row is mostly white.
    // QtPdf renders the paper transparent: put it on white as the import does.
    QImage page(595, 842, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.drawImage(0, 0, document.render(1, QSize(595, 842)));
    painter.end();
    for (int line = 0; line < 5; ++line)
        EXPECT_GT(inkedPixelsAt(page, 300 + line * 8), 450) << "line " << line;
    EXPECT_LT(inkedPixelsAt(page, 304), 100);
}

TEST(DemoProject, RecordingIsAStereoMelodyOfEightSecondsAPage)
{
    QTemporaryDir dir;
    const auto demo = writeDemoProject(dir.path());
    ASSERT_TRUE(demo.has_value());
    const DecodeResult decoded = decodeAudioFile(demo->recordingPath);
    ASSERT_TRUE(decoded.audio.has_value());
    EXPECT_EQ(decoded.audio->sampleRate, 44100);
    EXPECT_EQ(decoded.audio->channelCount(), 2);
    EXPECT_DOUBLE_EQ(decoded.audio->durationSeconds(), kDemoPageCount * kDemoSecondsPerPage);
    // Every note sounds: the middle of each half second is far from silent.
    const auto& left = decoded.audio->channels[0];
    for (int note = 0; note < kDemoPageCount * kDemoNotesPerPage; ++note) {
        float peak = 0;
        const size_t start = size_t(note) * 22050;
        for (size_t i = start; i < start + 4410; ++i)
            peak = std::max(peak, std::abs(left[i]));
        EXPECT_GT(peak, 0.1f) << "note " << note;
    }
}

TEST(DemoProject, ProjectAssignsEveryPageToItsStretchOfTheRecording)
{
    QTemporaryDir dir;
    const auto demo = writeDemoProject(dir.path());
    ASSERT_TRUE(demo.has_value());
    QFile file(demo->projectPath);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const auto project = decodeProject(file.readAll());
    ASSERT_TRUE(project.has_value());

    EXPECT_EQ(project->originalAudioPath, demo->recordingPath);
    ASSERT_EQ(project->imagePaths.size(), 4u);
    for (int page = 0; page < 4; ++page) {
        EXPECT_EQ(project->imagePaths[size_t(page)].path, demo->scorePath);
        EXPECT_EQ(project->imagePaths[size_t(page)].pageNumber, page + 1);
    }
    // 3 s cover + 32 s of music + 5 s caption at 30 frames per second.
    EXPECT_DOUBLE_EQ(project->duration, 40.0);
    ASSERT_EQ(project->frames.size(), 1200u);
    EXPECT_EQ(project->frames[0].imageIndex, 0);
    EXPECT_EQ(project->frames[329].imageIndex, 0);
    EXPECT_EQ(project->frames[330].imageIndex, 1);
    EXPECT_EQ(project->frames[569].imageIndex, 1);
    EXPECT_EQ(project->frames[570].imageIndex, 2);
    EXPECT_EQ(project->frames[810].imageIndex, 3);
    EXPECT_EQ(project->frames[1199].imageIndex, 3);
    // An A4 page fitted to 1920 x 1080 and centred.
    EXPECT_EQ(project->frames[500], (FrameJSON{1, 579, 0, 763, 1080}));
    EXPECT_DOUBLE_EQ(project->startSilence, 3.0);
    EXPECT_DOUBLE_EQ(project->endSilence, 5.0);
}

TEST(DemoProject, MissingFolderIsCreatedAndAnUnwritableOneFails)
{
    QTemporaryDir dir;
    EXPECT_TRUE(writeDemoProject(dir.filePath(QStringLiteral("a/b/c"))).has_value());
    QString error;
    EXPECT_FALSE(writeDemoProject(QStringLiteral("/proc/vornik-demo"), &error).has_value());
    EXPECT_FALSE(error.isEmpty());
}
