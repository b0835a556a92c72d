#include "export/VideoExport.h"
#include "images/PagePointSize.h"
#include "render/Placement.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/PdfFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace {

constexpr QSizeF kA4Points(595.276, 841.89);

// One staff line as a column of the picture crosses it: its width is the number of rows
// darker than half-way between the paper and the line's darkest row.
struct LineProfile {
    int top = 0;
    int width = 0;
    int darkest = 255;
};

std::vector<LineProfile> linesInColumn(const QImage& frame, int x, int top, int bottom)
{
    std::vector<int> gray;
    for (int y = top; y < bottom; ++y)
        gray.push_back(qGray(frame.pixel(x, y)));
    std::vector<LineProfile> lines;
    const int rows = static_cast<int>(gray.size());
    for (int y = 0; y < rows;) {
        if (gray[static_cast<size_t>(y)] >= 230) {
            ++y;
            continue;
        }
        int end = y;
        while (end < rows && gray[static_cast<size_t>(end)] < 230)
            ++end;
        const int from = std::max(0, y - 2);
        const int to = std::min(rows, end + 2);
        LineProfile line;
        line.top = top + y;
        for (int i = from; i < to; ++i)
            line.darkest = std::min(line.darkest, gray[static_cast<size_t>(i)]);
        const int half = (255 + line.darkest) / 2;
        for (int i = from; i < to; ++i)
            line.width += gray[static_cast<size_t>(i)] < half ? 1 : 0;
        lines.push_back(line);
        y = end;
    }
    return lines;
}

// The 4K picture brought to 1080p by averaging each 2 x 2 block.
QImage halved(const QImage& uhd)
{
    QImage hd(uhd.width() / 2, uhd.height() / 2, QImage::Format_RGB32);
    for (int y = 0; y < hd.height(); ++y) {
        for (int x = 0; x < hd.width(); ++x) {
            int r = 0, g = 0, b = 0;
            for (int dy = 0; dy < 2; ++dy) {
                for (int dx = 0; dx < 2; ++dx) {
                    const QRgb p = uhd.pixel(2 * x + dx, 2 * y + dy);
                    r += qRed(p);
                    g += qGreen(p);
                    b += qBlue(p);
                }
            }
            hd.setPixel(x, y, qRgb((r + 2) / 4, (g + 2) / 4, (b + 2) / 4));
        }
    }
    return hd;
}

double psnr(const QImage& a, const QImage& b)
{
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            for (int d : {qRed(p) - qRed(q), qGreen(p) - qGreen(q), qBlue(p) - qBlue(q)})
                sum += double(d) * d;
        }
    }
    const double mse = sum / (3.0 * a.width() * a.height());
    return mse == 0.0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

class UhdExport : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    // An A4 page of staves imported from a PDF as the page import does it, shown fitted and
    // centred on every frame.
    QRect staffProject(int64_t frames)
    {
        const QString pdf = dir.filePath(QStringLiteral("staves.pdf"));
        EXPECT_TRUE(PdfFixtures::writePdf(pdf, 1, kA4Points, PdfFixtures::drawStaffPage));
        dialogs.queueQuestionAnswer(0); // "Oldalanként"
        editor.addPDF(pdf);
        EXPECT_EQ(editor.images().size(), 1u);
        ensureFrames(editor, frames);
        const Placement placement =
                computePlacement(pagePointSize(editor.images()[0].image()), editor.videoSize());
        const QRect rect(placement.x, placement.y, placement.width, placement.height);
        assignFrames(editor, 0, frames, 0, rect);
        return rect;
    }

    ScriptedDialogs::Alert exportTo(const QString& path)
    {
        const size_t before = dialogs.alerts().size();
        dialogs.queueSavePath(path);
        editor.exportVideo();
        EXPECT_TRUE(waitForAlerts(dialogs, before + 1)) << "no final alert";
        drainEvents();
        if (dialogs.alerts().size() <= before)
            return {AlertStyle::critical, QString(), QString()};
        return dialogs.alerts().back();
    }

    QImage exportedFrame(ExportResolution resolution, const QString& name, int64_t index)
    {
        editor.setExportResolution(resolution);
        const QString path = dir.filePath(name);
        EXPECT_EQ(exportTo(path).style, AlertStyle::informational);
        const auto frames = decodeVideoFrames(path, {index});
        return frames.count(index) ? frames.at(index) : QImage();
    }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
};

} // namespace

TEST_F(UhdExport, StaffLinesOfAPdfPageAreTwoPixelsWideAndBlackIn4K)
{
    const QRect rect = staffProject(3);
    const QImage hd = exportedFrame(ExportResolution::hd1080, QStringLiteral("hd.mov"), 1);
    const QImage uhd = exportedFrame(ExportResolution::uhd4K, QStringLiteral("uhd.mov"), 1);
    ASSERT_EQ(hd.size(), QSize(1920, 1080));
    ASSERT_EQ(uhd.size(), QSize(3840, 2160));

    const int column = rect.x() + rect.width() / 2;
    const std::vector<LineProfile> hdLines = linesInColumn(hd, column, 0, 1080);
    const std::vector<LineProfile> uhdLines = linesInColumn(uhd, 2 * column, 0, 2160);
    ASSERT_EQ(hdLines.size(), size_t(PdfFixtures::kStaffCount * 5));
    ASSERT_EQ(uhdLines.size(), size_t(PdfFixtures::kStaffCount * 5));
    for (size_t i = 0; i < uhdLines.size(); ++i) {
        EXPECT_GE(uhdLines[i].width, 1) << "4K line " << i << " at row " << uhdLines[i].top;
        EXPECT_LE(uhdLines[i].width, 3) << "4K line " << i << " at row " << uhdLines[i].top;
        EXPECT_LT(uhdLines[i].darkest, 60) << "4K line " << i << " at row " << uhdLines[i].top;
        // The 1080p line is the same line, half as many rows wide.
        EXPECT_LE(hdLines[i].width, 2) << "1080p line " << i << " at row " << hdLines[i].top;
        EXPECT_NEAR(uhdLines[i].top, 2 * hdLines[i].top, 3) << i;
    }
    // A sharp 4K line is darker than the 1080p one, which is averaged over its pixel.
    double hdDarkest = 0, uhdDarkest = 0;
    for (size_t i = 0; i < uhdLines.size(); ++i) {
        hdDarkest += hdLines[i].darkest;
        uhdDarkest += uhdLines[i].darkest;
    }
    EXPECT_LT(uhdDarkest, hdDarkest);
}

TEST_F(UhdExport, FourKFrameHalvedMatchesThe1080pFrame)
{
    staffProject(3);
    const QImage hd = exportedFrame(ExportResolution::hd1080, QStringLiteral("hd.mov"), 2);
    const QImage uhd = exportedFrame(ExportResolution::uhd4K, QStringLiteral("uhd.mov"), 2);
    ASSERT_EQ(hd.size(), QSize(1920, 1080));
    ASSERT_EQ(uhd.size(), QSize(3840, 2160));
    EXPECT_GE(psnr(halved(uhd), hd), 35.0);
}

class UhdExportFormat : public UhdExport, public ::testing::WithParamInterface<VideoFormat> {};

TEST_P(UhdExportFormat, SizeFramesDurationColourAndSoundAreThoseOf1080p)
{
    const VideoFormat format = GetParam();
    editor.setVideoFormat(format);
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 45);
    assignFrames(editor, 0, 20, 0, QRect(100, 100, 600, 400));
    assignFrames(editor, 20, 45, 1, QRect(100, 100, 600, 400));
    editor.setAudioURL(writeToneWav(dir.filePath(QStringLiteral("tone.wav")), 48000, 2, 1.5));
    editor.setExportResolution(ExportResolution::uhd4K);
    const QString path = dir.filePath(QStringLiteral("uhd.mov"));
    const auto alert = exportTo(path);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész audio-val!"));
    EXPECT_EQ(alert.informativeText, QStringLiteral("45 frame + audio exportálva:\n") + path);

    const VideoProbe probe = probeVideo(path);
    const bool landscape = format == VideoFormat::landscape;
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(probe.videoProfile, 100); // High
    EXPECT_EQ(probe.videoLevel, 51);
    EXPECT_EQ(probe.width, landscape ? 3840 : 2160);
    EXPECT_EQ(probe.height, landscape ? 2160 : 3840);
    EXPECT_EQ(probe.pixelFormat, QStringLiteral("yuv420p"));
    EXPECT_EQ(probe.colorPrimaries, AVCOL_PRI_BT709);
    EXPECT_EQ(probe.colorTransfer, AVCOL_TRC_BT709);
    EXPECT_EQ(probe.colorSpace, AVCOL_SPC_BT709);
    EXPECT_EQ(probe.colorRange, AVCOL_RANGE_MPEG);
    EXPECT_EQ(probe.videoPackets, 45);
    EXPECT_EQ(countDecodedFrames(path), 45);
    EXPECT_NEAR(probe.videoDuration, 1.5, 1e-9);
    ASSERT_EQ(probe.audioStreams, 1);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
    EXPECT_EQ(probe.sampleRate, 48000);
    EXPECT_EQ(probe.channels, 2);
    EXPECT_NEAR(probe.audioDuration, probe.videoDuration, 1024.0 / 48000);

    // The pages lie where their rectangles say, doubled, measured from the lower left.
    const int height = probe.height;
    const auto frames = decodeVideoFrames(path, {10, 44});
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_TRUE(colorNear(frames.at(10).pixel(2 * 400, height - 2 * 300), Qt::red, 12));
    EXPECT_TRUE(colorNear(frames.at(44).pixel(2 * 400, height - 2 * 300), Qt::blue, 12));
    EXPECT_TRUE(colorNear(frames.at(44).pixel(2 * 100 - 8, height - 2 * 300), Qt::white, 12));
    EXPECT_TRUE(colorNear(frames.at(44).pixel(2 * 700 + 8, height - 2 * 300), Qt::white, 12));
}

INSTANTIATE_TEST_SUITE_P(BothFormats, UhdExportFormat,
                         ::testing::Values(VideoFormat::landscape, VideoFormat::portrait),
                         [](const ::testing::TestParamInfo<VideoFormat>& param) {
                             return param.param == VideoFormat::landscape ? std::string("Landscape")
                                                                          : std::string("Portrait");
                         });

TEST_F(UhdExport, StillFramesAt4KAreSkipPicturesThatDecodeAsTheFirst)
{
    staffProject(60);
    VideoExportJob job;
    job.frames = snapshotFrames(editor.getFrameManager());
    job.destination = dir.filePath(QStringLiteral("still.mov"));
    job.width = 3840;
    job.height = 2160;
    job.scale = 2;
    job.pdfPages = pdfPageOrigins(editor.images());
    const VideoExportResult result = runVideoExport(
            job, [](int64_t, int64_t) {}, [] {});
    ASSERT_EQ(result.status, VideoWriterStatus::completed);
    ASSERT_TRUE(result.video);
    EXPECT_EQ(result.picturesRendered, 1);
    EXPECT_EQ(result.picturesReused, 59);
    const VideoProbe probe = probeVideo(result.video->path());
    EXPECT_EQ(probe.width, 3840);
    EXPECT_EQ(probe.videoLevel, 51);
    EXPECT_EQ(probe.videoPackets, 60);
    EXPECT_EQ(countDecodedFrames(result.video->path()), 60);
    const auto frames = decodeVideoFrames(result.video->path(), {0, 59});
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames.at(59), frames.at(0));
}

TEST_F(UhdExport, SixtyFramesASecondAt4KNameTheLevelThatHoldsThem)
{
    staffProject(4);
    VideoExportJob job;
    job.frames = snapshotFrames(editor.getFrameManager());
    job.destination = dir.filePath(QStringLiteral("fast.mov"));
    job.width = 3840;
    job.height = 2160;
    job.scale = 2;
    job.exportFPS = 60;
    const VideoExportResult result = runVideoExport(
            job, [](int64_t, int64_t) {}, [] {});
    ASSERT_EQ(result.status, VideoWriterStatus::completed);
    EXPECT_EQ(probeVideo(result.video->path()).videoLevel, 52);
}
