#include "export/VideoExport.h"
#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "media/PictureConverter.h"
#include "render/FrameSnapshot.h"
#include "support/Log.h"
#include "tests/support/StrictDecoder.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QPainter>
#include <QTemporaryDir>

#include <cmath>
#include <functional>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

// A page with lines, ellipses and text, so the encoder has real detail to keep.
QImage drawnPage(int seed)
{
    QImage page(620, 877, QImage::Format_ARGB32_Premultiplied);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 2));
    for (int system = 0; system < 6; ++system) {
        const int top = 80 + system * 130;
        for (int line = 0; line < 5; ++line)
            painter.drawLine(40, top + line * 10, 580, top + line * 10);
        painter.setBrush(QColor::fromHsv((seed * 97 + system * 30) % 360, 180, 160));
        for (int note = 0; note < 14; ++note)
            painter.drawEllipse(QPoint(70 + note * 36, top + ((note * (seed + 3)) % 9) * 5), 7, 5);
    }
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 24));
    painter.drawText(QRect(0, 10, 620, 60), Qt::AlignCenter, QStringLiteral("Oldal %1").arg(seed + 1));
    return page;
}

struct Project {
    std::vector<FrameSnapshot> frames;
    int width = 1920;
    int height = 1080;
    int fps = 30;
};

// A long still page (past the 2-second keyframe distance), a cut to another placement of the
// same page, a fade to a second page that then stays, a few unassigned coloured frames, and a
// third page whose every frame fades from its predecessor.
Project makeProject(int width, int height, int fps)
{
    Project project{{}, width, height, fps};
    const std::vector<QImage> pages{drawnPage(0), drawnPage(1), drawnPage(2)};
    const QRect centred(width / 2 - 300, 0, 600, height);
    const QRect shifted(20, height / 4, 500, height / 2);
    auto add = [&](double seconds, std::optional<int> page, QRect rect, QColor color) {
        const int count = static_cast<int>(std::lround(seconds * fps));
        for (int i = 0; i < count; ++i) {
            FrameSnapshot frame;
            if (page)
                frame.image = pages[static_cast<size_t>(*page)];
            frame.rect = rect;
            frame.color = color;
            frame.pageIndex = page;
            project.frames.push_back(frame);
        }
    };
    add(2.3, 0, centred, Qt::white);
    add(0.3, 0, shifted, Qt::white);
    add(0.9, 1, centred, Qt::white);
    add(0.2, std::nullopt, centred, QColor(30, 60, 200));
    add(0.15, 2, shifted, QColor(240, 240, 200));
    return project;
}

struct Plane {
    const uint8_t* data;
    int linesize;
    int width;
    int height;
};

std::vector<Plane> planes(const AVFrame* frame)
{
    return {{frame->data[0], frame->linesize[0], frame->width, frame->height},
            {frame->data[1], frame->linesize[1], (frame->width + 1) / 2, (frame->height + 1) / 2},
            {frame->data[2], frame->linesize[2], (frame->width + 1) / 2, (frame->height + 1) / 2}};
}

// PSNR over all three planes together; infinity for identical pictures.
double psnr(const AVFrame* decoded, const AVFrame* source)
{
    const std::vector<Plane> a = planes(decoded);
    const std::vector<Plane> b = planes(source);
    double squares = 0.0;
    double count = 0.0;
    for (size_t p = 0; p < a.size(); ++p) {
        for (int y = 0; y < a[p].height; ++y) {
            const uint8_t* rowA = a[p].data + static_cast<ptrdiff_t>(y) * a[p].linesize;
            const uint8_t* rowB = b[p].data + static_cast<ptrdiff_t>(y) * b[p].linesize;
            for (int x = 0; x < a[p].width; ++x) {
                const double d = double(rowA[x]) - double(rowB[x]);
                squares += d * d;
            }
        }
        count += double(a[p].width) * a[p].height;
    }
    if (squares == 0.0)
        return INFINITY;
    return 10.0 * std::log10(255.0 * 255.0 / (squares / count));
}

bool samePixels(const AVFrame* first, const AVFrame* second)
{
    const std::vector<Plane> a = planes(first);
    const std::vector<Plane> b = planes(second);
    for (size_t p = 0; p < a.size(); ++p) {
        for (int y = 0; y < a[p].height; ++y) {
            if (std::memcmp(a[p].data + static_cast<ptrdiff_t>(y) * a[p].linesize,
                            b[p].data + static_cast<ptrdiff_t>(y) * b[p].linesize,
                            static_cast<size_t>(a[p].width)) != 0)
                return false;
        }
    }
    return true;
}

// The NAL unit types of a QuickTime sample (four-byte lengths before each unit).
std::vector<int> nalTypes(const AVPacket* packet)
{
    std::vector<int> types;
    int offset = 0;
    while (offset + 4 < packet->size) {
        const uint8_t* p = packet->data + offset;
        const int64_t length = (int64_t(p[0]) << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
        if (length <= 0 || offset + 4 + length > packet->size)
            return {-1};
        types.push_back(p[4] & 0x1f);
        offset += 4 + static_cast<int>(length);
    }
    return types;
}

struct StrictDecode {
    bool opened = false;
    int errors = 0;
    int64_t frames = 0;
    std::vector<bool> keyPackets;
    std::vector<bool> idrPackets;
    std::vector<int64_t> pts;
    std::vector<int64_t> durations;
};

// Decodes every frame with FFmpeg's strictest error detection; each decoded frame goes to
// `take` in order.
StrictDecode decodeStrictly(const QString& path, int fps, const std::function<void(const AVFrame*)>& take)
{
    StrictDecode result;
    MediaInput opened;
    if (openMediaInput(opened, path, AVMEDIA_TYPE_VIDEO, StreamDecoder::notNeeded) < 0)
        return result;
    AVFormatContext* input = opened.format.get();
    const int stream = opened.streamIndex;
    StrictDecoder decoder(*opened.stream()->codecpar);
    if (!decoder.isOpen())
        return result;
    result.opened = true;
    PacketPtr packet(av_packet_alloc());
    while (av_read_frame(input, packet.get()) >= 0) {
        if (packet->stream_index == stream) {
            result.keyPackets.push_back((packet->flags & AV_PKT_FLAG_KEY) != 0);
            const std::vector<int> types = nalTypes(packet.get());
            result.idrPackets.push_back(std::find(types.begin(), types.end(), 5) != types.end());
            // In frames of the export rate.
            const AVRational base = input->streams[stream]->time_base;
            result.pts.push_back(av_rescale_q(packet->pts, base, AVRational{1, fps}));
            result.durations.push_back(av_rescale_q(packet->duration, base, AVRational{1, fps}));
            decoder.send(*packet, take);
        }
        av_packet_unref(packet.get());
    }
    decoder.finish(take);
    result.errors = decoder.errors();
    result.frames = decoder.pictures();
    return result;
}

void checkExport(int width, int height, int fps)
{
    SCOPED_TRACE(testing::Message() << width << "x" << height << " at " << fps << " fps");
    QTemporaryDir dir;
    const Project project = makeProject(width, height, fps);
    VideoExportJob job;
    job.frames = project.frames;
    job.destination = dir.filePath(QStringLiteral("skip.mov"));
    job.width = width;
    job.height = height;
    job.exportFPS = fps;
    job.transitionDuration = 0.5;
    LogCapture log;
    VideoExportResult result = runVideoExport(
            job, [](int64_t, int64_t) {}, [] {});
    ASSERT_EQ(result.status, VideoWriterStatus::completed) << result.writerError.toStdString();
    ASSERT_TRUE(result.video);
    const QString path = result.video->path();

    const VideoProbe probe = probeVideo(path);
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoProfile, FF_PROFILE_H264_HIGH);
    EXPECT_EQ(probe.pixelFormat, QStringLiteral("yuv420p"));
    EXPECT_EQ(probe.colorPrimaries, AVCOL_PRI_BT709);
    EXPECT_EQ(probe.colorTransfer, AVCOL_TRC_BT709);
    EXPECT_EQ(probe.colorSpace, AVCOL_SPC_BT709);
    EXPECT_EQ(probe.colorRange, AVCOL_RANGE_MPEG);
    EXPECT_EQ(probe.width, width);
    EXPECT_EQ(probe.height, height);
    const int64_t count = static_cast<int64_t>(project.frames.size());
    EXPECT_EQ(probe.videoPackets, count);
    EXPECT_LE(probe.longestKeyframeGap, 2 * fps);

    // Every decoded frame against the picture the export rendered for it, as it comes.
    SnapshotRenderer renderer(job.frames, job.transitionDuration, fps);
    PictureConverter converter(width, height);
    QImage canvas(width, height, QImage::Format_ARGB32_Premultiplied);
    VideoPicture source;
    FramePtr previous(av_frame_alloc());
    int64_t i = 0;
    int stillFrames = 0;
    const StrictDecode decoded = decodeStrictly(path, fps, [&](const AVFrame* frame) {
        const bool same = i > 0 && i < count && renderer.samePictureAsPrevious(i);
        if (!same && i < count) {
            ASSERT_TRUE(renderer.render(i, canvas));
            source = converter.convert(canvas);
            ASSERT_TRUE(source);
        }
        EXPECT_GE(psnr(frame, source.get()), 40.0) << "frame " << i;
        if (same) {
            ++stillFrames;
            EXPECT_TRUE(samePixels(frame, previous.get())) << "frame " << i;
        }
        av_frame_unref(previous.get());
        av_frame_ref(previous.get(), frame);
        ++i;
    });
    ASSERT_TRUE(decoded.opened);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_EQ(decoded.frames, count);
    ASSERT_EQ(static_cast<int64_t>(decoded.pts.size()), count);
    int64_t lastKey = 0;
    int idrRepeats = 0;
    for (int64_t k = 0; k < count; ++k) {
        const size_t n = static_cast<size_t>(k);
        EXPECT_EQ(decoded.pts[n], k);
        EXPECT_EQ(decoded.durations[n], 1);
        // Key flags on IDR pictures and only there.
        EXPECT_EQ(decoded.keyPackets[n], decoded.idrPackets[n]) << "packet " << k;
        if (decoded.keyPackets[n]) {
            EXPECT_LE(k - lastKey, 2 * fps) << "packet " << k;
            if (k > 0 && !decoded.idrPackets[n - 1] && renderer.samePictureAsPrevious(k))
                ++idrRepeats; // an IDR in the middle of a still stretch
            lastKey = k;
        }
    }
    EXPECT_GE(idrRepeats, 1);
    EXPECT_GT(stillFrames, count / 2);
}

} // namespace

TEST(SkipFrameExport, LandscapeAt24FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1920, 1080, 24);
}

TEST(SkipFrameExport, LandscapeAt30FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1920, 1080, 30);
}

TEST(SkipFrameExport, LandscapeAt60FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1920, 1080, 60);
}

TEST(SkipFrameExport, PortraitAt24FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1080, 1920, 24);
}

TEST(SkipFrameExport, PortraitAt30FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1080, 1920, 30);
}

TEST(SkipFrameExport, PortraitAt60FpsDecodesStrictlyAndMatchesTheRenderedFrames)
{
    checkExport(1080, 1920, 60);
}
