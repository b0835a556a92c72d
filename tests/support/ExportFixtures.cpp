#include "tests/support/ExportFixtures.h"

#include "audio/FloatWavWriter.h"
#include "export/VideoWriter.h"
#include "media/PictureConverter.h"
#include "model/Frames.h"
#include "tests/support/EventLoop.h"

#include <QUuid>

#include <cmath>
#include <cstdlib>

QImage solidPage(const QColor& color, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

EditorEnvironment testEnvironment(ScriptedDialogs& dialogs)
{
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    return environment;
}

void setPages(VideoEditorViewModel& editor, const std::vector<QImage>& pages)
{
    std::vector<ImageItem> items;
    QList<QImage> images;
    for (const QImage& page : pages) {
        items.emplace_back(QUuid::createUuid(), page, QStringLiteral("/pages/page.png"));
        images.append(page);
    }
    editor.setImages(std::move(items));
    editor.getFrameManager().setImages(images);
}

void ensureFrames(VideoEditorViewModel& editor, int64_t count)
{
    // At one frame per second the count is exact; count / 30 x 30 can round up by one.
    editor.getFrameManager().ensureFrameCount(static_cast<double>(count), 1);
}

void assignFrames(VideoEditorViewModel& editor, int64_t first, int64_t end, std::optional<int> pageIndex,
                  const QRect& rect, const QColor& color)
{
    for (int64_t i = first; i < end; ++i) {
        const std::shared_ptr<FrameData> frame = editor.getFrameManager().getFrame(i);
        if (!frame)
            continue;
        frame->bgColor = color;
        frame->bgImageX = rect.x();
        frame->bgImageY = rect.y();
        frame->bgImageWidth = rect.width();
        frame->bgImageHeight = rect.height();
        frame->assignedImageIndex = pageIndex;
        if (pageIndex)
            frame->bgImage = editor.images()[static_cast<size_t>(*pageIndex)].image();
        else
            frame->bgImage.reset();
    }
}

AudioBuffer tone(int sampleRate, int channels, double seconds)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    const auto frames = static_cast<size_t>(std::llround(seconds * sampleRate));
    buffer.channels.assign(static_cast<size_t>(channels), std::vector<float>(frames));
    for (int c = 0; c < channels; ++c) {
        for (size_t i = 0; i < frames; ++i)
            buffer.channels[size_t(c)][i] =
                    0.3f *
                    static_cast<float>(std::sin(2.0 * M_PI * 440.0 * (c + 1) * double(i) / sampleRate));
    }
    return buffer;
}

QString writeToneWav(const QString& path, int sampleRate, int channels, double seconds)
{
    QString error;
    if (!writeFloatWav(path, tone(sampleRate, channels, seconds), &error))
        return QString();
    return path;
}

bool writeSolidVideo(const QString& path, int frames, int fps, QSize size, const QColor& color)
{
    VideoWriter writer(path, size.width(), size.height(), fps);
    if (!writer.prepare(nullptr) || !writer.startWriting())
        return false;
    PictureConverter converter(size.width(), size.height());
    QImage canvas(size, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(color);
    const VideoPicture picture = converter.convert(canvas);
    for (int i = 0; i < frames; ++i)
        writer.append(picture, i);
    writer.finishWriting();
    return writer.status() == VideoWriterStatus::completed;
}

bool waitForAlerts(const ScriptedDialogs& dialogs, size_t count, int timeoutMs)
{
    return waitUntil([&] { return dialogs.alerts().size() >= count; }, timeoutMs);
}

QColor blend(const QColor& under, const QColor& over, double alpha)
{
    auto mix = [alpha](int a, int b) { return int(std::lround(a * (1.0 - alpha) + b * alpha)); };
    return QColor(mix(under.red(), over.red()), mix(under.green(), over.green()),
                  mix(under.blue(), over.blue()));
}

bool colorNear(QRgb actual, const QColor& expected, int tolerance)
{
    return std::abs(qRed(actual) - expected.red()) <= tolerance &&
           std::abs(qGreen(actual) - expected.green()) <= tolerance &&
           std::abs(qBlue(actual) - expected.blue()) <= tolerance;
}

QString describe(QRgb color)
{
    return QStringLiteral("(%1, %2, %3)").arg(qRed(color)).arg(qGreen(color)).arg(qBlue(color));
}

QStringList threeFrameExportLog(const QString& destination)
{
    const QString rule(40, QLatin1Char('='));
    return {rule,
            QStringLiteral("[Export] VIDEÓ EXPORT KEZDÉS"),
            QStringLiteral("[Export] Célfile: ") + destination,
            QStringLiteral("[Export] Frame count: 3"),
            QStringLiteral("[Export] FPS: 30"),
            rule,
            QStringLiteral("[Export] Writer létrehozása..."),
            QStringLiteral("[Export] Video track OK"),
            QStringLiteral("[Export] Writer startWriting..."),
            QStringLiteral("[Export] Writer startWriting OK, status: 1"),
            QStringLiteral("[Export] Writer session started, status: 1"),
            QStringLiteral("[Export] Frame loop kezdés, total: 3"),
            QStringLiteral("[Export] 3/3 (100%)"),
            QStringLiteral("[Export] Frame írás kész!"),
            QStringLiteral("[Export] Writer finishWriting..."),
            rule,
            QStringLiteral("[Export] KÉSZ! Status: 2"),
            rule};
}
