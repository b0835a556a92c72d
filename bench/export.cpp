// Export benchmark: a generated 60-second project (4 score pages, 0.5 s fades, 1800 frames,
// a stereo recording) exported through the editor, against the same 1800 converted frames
// fed straight to the same H.264 writer (the encoder's own limit). Each figure is the median
// of several runs; peak memory comes from getrusage in a fresh child process per project
// length (60 seconds and 10 minutes).
//
//   bench_export                 all of the above
//   bench_export --memory N [--silent]   one export of an N-frame project (with a recording
//                                        unless --silent), prints its peak memory
#include "audio/FloatWavWriter.h"
#include "editor/VideoEditorViewModel.h"
#include "export/PictureConverter.h"
#include "export/VideoWriter.h"
#include "render/FrameSnapshot.h"
#include "support/EventLoop.h"
#include "support/ExportFixtures.h"
#include "support/ScriptedDialogs.h"
#include "support/VideoProbe.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <sys/resource.h>
#include <vector>

namespace {

constexpr int kPages = 4;

// A printed page: staves with notes, different for every seed.
QImage scorePage(int seed)
{
    QImage page(1240, 1754, QImage::Format_ARGB32_Premultiplied);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setRenderHint(QPainter::Antialiasing);
    std::mt19937 random(static_cast<unsigned>(seed));
    painter.setPen(QPen(Qt::black, 2));
    for (int system = 0; system < 11; ++system) {
        const int top = 120 + system * 145;
        for (int line = 0; line < 5; ++line)
            painter.drawLine(80, top + line * 14, 1160, top + line * 14);
        painter.setBrush(Qt::black);
        for (int note = 0; note < 28; ++note) {
            const int x = 130 + note * 37 + int(random() % 9);
            const int y = top - 14 + int(random() % 12) * 7;
            painter.drawEllipse(QPoint(x, y), 8, 6);
            painter.drawLine(x + 8, y, x + 8, y - 45);
        }
    }
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 28));
    painter.drawText(QRect(0, 20, 1240, 80), Qt::AlignCenter, QStringLiteral("Étude %1").arg(seed + 1));
    return page;
}

void buildProject(VideoEditorViewModel& editor, int64_t frames)
{
    std::vector<QImage> pages;
    for (int i = 0; i < kPages; ++i)
        pages.push_back(scorePage(i));
    setPages(editor, pages);
    ensureFrames(editor, frames);
    // The page fitted into the canvas and centred: 764 x 1080 at x 578.
    const QRect rect(578, 0, 764, 1080);
    const int64_t perPage = frames / kPages;
    for (int page = 0; page < kPages; ++page) {
        const int64_t end = page == kPages - 1 ? frames : (page + 1) * perPage;
        assignFrames(editor, page * perPage, end, page, rect);
    }
}

double runExport(VideoEditorViewModel& editor, ScriptedDialogs& dialogs, const QString& path)
{
    const size_t before = dialogs.alerts().size();
    QElapsedTimer timer;
    timer.start();
    editor.exportVideoFile(path);
    if (!waitUntil([&] { return dialogs.alerts().size() > before; }, 3600 * 1000)) {
        std::fprintf(stderr, "export did not finish\n");
        std::exit(1);
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    const auto alert = dialogs.alerts().back();
    if (alert.style == AlertStyle::critical) {
        std::fprintf(stderr, "export failed: %s\n", alert.informativeText.toUtf8().constData());
        std::exit(1);
    }
    return seconds;
}

// The converted pictures of every frame, as the export makes them (unchanged frames share).
std::vector<VideoPicture> convertedFrames(const VideoEditorViewModel& editor)
{
    const std::vector<FrameSnapshot> frames = snapshotFrames(editor.getFrameManager());
    SnapshotRenderer renderer(frames, editor.transitionDuration(), editor.exportFPS());
    PictureConverter converter(1920, 1080);
    QImage canvas(1920, 1080, QImage::Format_ARGB32_Premultiplied);
    std::vector<VideoPicture> pictures;
    for (int64_t i = 0; i < renderer.frameCount(); ++i) {
        if (!pictures.empty() && renderer.samePictureAsPrevious(i)) {
            pictures.push_back(pictures.back());
            continue;
        }
        renderer.render(i, canvas);
        pictures.push_back(converter.convert(canvas));
    }
    return pictures;
}

double runBareEncoder(const std::vector<VideoPicture>& pictures, const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    VideoWriter writer(path, 1920, 1080, 30);
    if (!writer.prepare(nullptr) || !writer.startWriting()) {
        std::fprintf(stderr, "bare encoder failed to start\n");
        std::exit(1);
    }
    for (size_t i = 0; i < pictures.size(); ++i)
        writer.append(pictures[i], static_cast<int64_t>(i));
    writer.finishWriting();
    return double(timer.nsecsElapsed()) / 1e9;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

double peakMemoryMB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

// The kernel's own high-water mark of this process image (not inherited through exec).
double highWaterMarkMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1.0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').front().toDouble() / 1024.0;
    }
    return -1.0;
}

int memoryRun(int64_t frames, bool withAudio)
{
    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    buildProject(editor, frames);
    if (withAudio)
        editor.setAudioURL(
                writeToneWav(dir.filePath(QStringLiteral("audio.wav")), 44100, 2, double(frames) / 30.0));
    const double seconds = runExport(editor, dialogs, dir.filePath(QStringLiteral("memory.mov")));
    std::printf("frames=%lld seconds=%.2f fps=%.1f peak_mb=%.1f (VmHWM %.1f) alert=%s\n",
                static_cast<long long>(frames), seconds, double(frames) / seconds, peakMemoryMB(),
                highWaterMarkMB(), dialogs.alerts().back().message.toUtf8().constData());
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() >= 3 && arguments[1] == QStringLiteral("--memory"))
        return memoryRun(arguments[2].toLongLong(), !arguments.contains(QStringLiteral("--silent")));

    // Peak memory first, while this process is still small: getrusage's peak survives the
    // fork and exec that start the child.
    std::printf("peak memory of one export with a recording, fresh process each:\n");
    for (const int64_t frames : {int64_t(1800), int64_t(18000)}) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--memory"), QString::number(frames)});
        child.waitForFinished(-1);
        // The child's standard output also carries the export's log; keep the result line.
        for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
            if (line.startsWith("frames="))
                std::printf("  memory run: %s\n", line.constData());
        }
    }

    constexpr int64_t kFrames = 1800;
    constexpr int kRuns = 3;
    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    buildProject(editor, kFrames);
    const QString audio = writeToneWav(dir.filePath(QStringLiteral("audio.wav")), 44100, 2, 60.0);

    const std::vector<VideoPicture> pictures = convertedFrames(editor);
    std::vector<double> exportSilent, exportWithAudio, bare;
    for (int run = 0; run < kRuns; ++run) {
        editor.setAudioURL(std::nullopt);
        exportSilent.push_back(runExport(editor, dialogs, dir.filePath(QStringLiteral("silent.mov"))));
        editor.setAudioURL(audio);
        exportWithAudio.push_back(runExport(editor, dialogs, dir.filePath(QStringLiteral("audio.mov"))));
        bare.push_back(runBareEncoder(pictures, dir.filePath(QStringLiteral("bare.mov"))));
        std::printf("run %d: export %.2f s, export+audio %.2f s, bare encoder %.2f s\n", run + 1,
                    exportSilent.back(), exportWithAudio.back(), bare.back());
        std::fflush(stdout);
    }
    // Both ways must have written the same thing.
    for (const QString& name :
         {QStringLiteral("silent.mov"), QStringLiteral("audio.mov"), QStringLiteral("bare.mov")}) {
        const VideoProbe probe = probeVideo(dir.filePath(name));
        std::printf("%s: %lld video packets, %.3f s, %lld bytes, %d audio streams\n",
                    name.toUtf8().constData(), static_cast<long long>(probe.videoPackets),
                    probe.videoDuration, static_cast<long long>(QFileInfo(dir.filePath(name)).size()),
                    probe.audioStreams);
    }
    const double silentFps = kFrames / median(exportSilent);
    const double audioFps = kFrames / median(exportWithAudio);
    const double bareFps = kFrames / median(bare);
    std::printf("60-second project, %lld frames, medians of %d runs:\n", static_cast<long long>(kFrames),
                kRuns);
    std::printf("  export (silent)        %.1f fps\n", silentFps);
    std::printf("  export (with audio)    %.1f fps\n", audioFps);
    std::printf("  bare libx264           %.1f fps\n", bareFps);
    std::printf("  ratio silent/bare      %.2f\n", silentFps / bareFps);
    std::printf("  ratio with-audio/bare  %.2f\n", audioFps / bareFps);
    std::fflush(stdout);

    return 0;
}
