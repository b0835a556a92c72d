// Export benchmark on two generated projects: 60 seconds (4 page turns) and 10 minutes (30
// page turns), score pages with 0.5 s fades at 30 fps. For each: the export as it is (only
// changes encoded, still frames as skip pictures), the every-frame path kept as the
// reference (every frame through libx264), and bare libx264 on every frame (only the
// encoder's own time counted); the ratios, the file sizes, and the export with a stereo
// recording muxed in. The 60-second figures are medians of several runs. Peak memory is the
// kernel's high-water mark in a fresh child process per project length: of the whole process,
// and of the export alone (the mark is reset once the project and the recording are ready).
// The 10-minute project is also exported at 4K in the same run (time and peak memory beside
// the 1080p figures), and a project of a 40-page A4 PDF at 4K for its peak memory.
//
//   bench_export                 all of the above
//   bench_export --memory N T [--silent] [--4k] [--pdf P]
//                                one export of an N-frame project with T page turns (with a
//                                recording unless --silent; at 4K with --4k; pages from a
//                                generated P-page A4 PDF with --pdf), prints its peak memory
#include "audio/FloatWavWriter.h"
#include "editor/VideoEditorViewModel.h"
#include "export/VideoExport.h"
#include "export/VideoWriter.h"
#include "images/PagePointSize.h"
#include "media/PictureConverter.h"
#include "model/Frames.h"
#include "render/FrameSnapshot.h"
#include "render/Placement.h"
#include "support/LargeAllocations.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/PdfFixtures.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/VideoProbe.h"

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

// `turns` page turns spread evenly over `frames` frames, the four pages taken in turn.
void buildProject(VideoEditorViewModel& editor, int64_t frames, int turns = kPages - 1)
{
    std::vector<QImage> pages;
    for (int i = 0; i < kPages; ++i)
        pages.push_back(scorePage(i));
    setPages(editor, pages);
    ensureFrames(editor, frames);
    // The page fitted into the canvas and centred: 764 x 1080 at x 578.
    const QRect rect(578, 0, 764, 1080);
    const int runs = turns + 1;
    for (int run = 0; run < runs; ++run) {
        const int64_t first = frames * run / runs;
        const int64_t end = frames * (run + 1) / runs;
        assignFrames(editor, first, end, run % kPages, rect);
    }
}

// A printed A4 page in points, drawn as vectors: staves with notes, different for every page.
void drawScorePdfPage(QPainter& painter, int pageIndex, QSizeF pageSize)
{
    std::mt19937 random(static_cast<unsigned>(pageIndex));
    painter.setRenderHint(QPainter::Antialiasing);
    for (int system = 0; system < 10; ++system) {
        const double top = 90 + system * 72;
        painter.setPen(QPen(Qt::black, 0.5));
        for (int line = 0; line < 5; ++line)
            painter.drawLine(QPointF(40, top + line * 6), QPointF(pageSize.width() - 40, top + line * 6));
        painter.setPen(QPen(Qt::black, 0.8));
        painter.setBrush(Qt::black);
        for (int note = 0; note < 24; ++note) {
            const double x = 60 + note * 20.5 + double(random() % 5);
            const double y = top - 6 + double(random() % 12) * 3;
            painter.drawEllipse(QPointF(x, y), 3.6, 2.7);
            painter.drawLine(QPointF(x + 3.6, y), QPointF(x + 3.6, y - 20));
        }
    }
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 16));
    painter.drawText(QRectF(0, 30, pageSize.width(), 40), Qt::AlignCenter,
                     QStringLiteral("Étude %1").arg(pageIndex + 1));
}

// The pages of a generated `pages`-page A4 PDF, imported one per page as the window does, with
// `turns` page turns spread evenly over `frames` frames, the pages taken in turn.
void buildPdfProject(VideoEditorViewModel& editor, ScriptedDialogs& dialogs, const QString& pdfPath,
                     int pages, int64_t frames, int turns)
{
    if (!PdfFixtures::writePdf(pdfPath, pages, QSizeF(595.276, 841.89), drawScorePdfPage)) {
        std::fprintf(stderr, "could not write the PDF\n");
        std::exit(1);
    }
    dialogs.queueQuestionAnswer(0); // one page each
    editor.addPDF(pdfPath);
    if (static_cast<int>(editor.images().size()) != pages) {
        std::fprintf(stderr, "PDF import gave %d pages\n", int(editor.images().size()));
        std::exit(1);
    }
    ensureFrames(editor, frames);
    const Placement placement =
            computePlacement(pagePointSize(editor.images()[0].image()), editor.videoSize());
    const QRect rect(placement.x, placement.y, placement.width, placement.height);
    const int runs = turns + 1;
    for (int run = 0; run < runs; ++run)
        assignFrames(editor, frames * run / runs, frames * (run + 1) / runs, run % pages, rect);
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

VideoExportJob exportJob(const VideoEditorViewModel& editor, const QString& path, VideoEncoding encoding)
{
    VideoExportJob job;
    job.frames = snapshotFrames(editor.getFrameManager());
    job.destination = path;
    const QSize size = exportPixelSize(editor.videoSize(), editor.exportResolution());
    job.width = size.width();
    job.height = size.height();
    job.scale = exportScale(editor.exportResolution());
    if (job.scale > 1)
        job.pdfPages = pdfPageOrigins(editor.images());
    job.exportFPS = editor.exportFPS();
    job.transitionDuration = editor.transitionDuration();
    job.encoding = encoding;
    return job;
}

struct TimedFile {
    double seconds = 0.0;
    int64_t bytes = 0;
};

// The export's own video pipeline without the editor around it (no recording).
TimedFile runVideoOnly(const VideoEditorViewModel& editor, const QString& path, VideoEncoding encoding)
{
    const VideoExportJob job = exportJob(editor, path, encoding);
    QElapsedTimer timer;
    timer.start();
    const VideoExportResult result = runVideoExport(
            job, [](int64_t, int64_t) {}, [] {});
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    if (result.status != VideoWriterStatus::completed || !result.video) {
        std::fprintf(stderr, "video export failed: %s\n", result.writerError.toUtf8().constData());
        std::exit(1);
    }
    return {seconds, QFileInfo(result.video->path()).size()};
}

// libx264 on every frame, timing only the writer: the pictures are rendered and converted
// outside the timed part, one at a time (unchanged frames send the same picture again).
TimedFile runBareEncoder(const VideoEditorViewModel& editor, const QString& path)
{
    const std::vector<FrameSnapshot> frames = snapshotFrames(editor.getFrameManager());
    SnapshotRenderer renderer(frames, editor.transitionDuration(), editor.exportFPS());
    PictureConverter converter(1920, 1080);
    QImage canvas(1920, 1080, QImage::Format_ARGB32_Premultiplied);
    VideoWriter writer(path, 1920, 1080, editor.exportFPS(), VideoEncoding::everyFrame);
    QElapsedTimer timer;
    timer.start();
    if (!writer.prepare(nullptr) || !writer.startWriting()) {
        std::fprintf(stderr, "bare encoder failed to start\n");
        std::exit(1);
    }
    qint64 encoding = timer.nsecsElapsed();
    VideoPicture picture;
    for (int64_t i = 0; i < renderer.frameCount(); ++i) {
        if (!picture || !renderer.samePictureAsPrevious(i)) {
            renderer.render(i, canvas);
            picture = converter.convert(canvas);
        }
        timer.restart();
        writer.append(picture, i);
        encoding += timer.nsecsElapsed();
    }
    timer.restart();
    writer.finishWriting();
    encoding += timer.nsecsElapsed();
    return {double(encoding) / 1e9, QFileInfo(path).size()};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

// A "Vm...:" figure of /proc/self/status in kB, or -1.
double statusFigureKB(const QByteArray& name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1.0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(name.size()).trimmed().split(' ').front().toDouble();
    }
    return -1.0;
}

// The kernel's own high-water mark of this process image (not inherited through exec).
double highWaterMarkMB()
{
    const double kb = statusFigureKB("VmHWM:");
    return kb < 0 ? -1.0 : kb / 1024.0;
}

double currentResidentKB()
{
    return statusFigureKB("VmRSS:");
}

// Starts the kernel's high-water mark again from the current size, so that VmHWM afterwards
// is the peak of what follows only. False where the kernel does not allow it.
bool resetHighWaterMark()
{
    QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
    return clearRefs.open(QIODevice::WriteOnly) && clearRefs.write("5") == 1;
}

int memoryRun(int64_t frames, int turns, bool withAudio, bool uhd, int pdfPages)
{
    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    if (pdfPages > 0)
        buildPdfProject(editor, dialogs, dir.filePath(QStringLiteral("score.pdf")), pdfPages, frames, turns);
    else
        buildProject(editor, frames, turns);
    if (uhd)
        editor.setExportResolution(ExportResolution::uhd4K);
    if (withAudio)
        editor.setAudioURL(
                writeToneWav(dir.filePath(QStringLiteral("audio.wav")), 44100, 2, double(frames) / 30.0));
    // The generated recording is built whole in memory before it is written, a peak of the
    // fixture and not of the export: the export's own peak is measured from here on.
    const double before = currentResidentKB() / 1024.0;
    const double setupPeak = highWaterMarkMB();
    const bool reset = resetHighWaterMark();
    const double seconds = runExport(editor, dialogs, dir.filePath(QStringLiteral("memory.mov")));
    const double exportPeak = highWaterMarkMB();
    std::printf("frames=%lld resolution=%s seconds=%.2f fps=%.1f peak_mb=%.1f export_peak_mb=%.1f (%.1f "
                "before the export, setup peak %.1f) alert=%s\n",
                static_cast<long long>(frames), qPrintable(rawValue(editor.exportResolution())), seconds,
                double(frames) / seconds, std::max(setupPeak, exportPeak), reset ? exportPeak : -1.0, before,
                setupPeak, dialogs.alerts().back().message.toUtf8().constData());
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    // As the program does, so that the memory figures are the program's.
    returnLargeBlocksToTheSystem();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() >= 4 && arguments[1] == QStringLiteral("--memory")) {
        const qsizetype pdf = arguments.indexOf(QStringLiteral("--pdf"));
        const int pdfPages = pdf > 0 && pdf + 1 < arguments.size() ? arguments[pdf + 1].toInt() : 0;
        return memoryRun(arguments[2].toLongLong(), arguments[3].toInt(),
                         !arguments.contains(QStringLiteral("--silent")),
                         arguments.contains(QStringLiteral("--4k")), pdfPages);
    }

    struct Length {
        const char* name;
        int64_t frames;
        int turns;
        int runs;
    };
    const std::vector<Length> lengths{{"60-second", 1800, kPages - 1, 3}, {"10-minute", 18000, 30, 1}};

    // Peak memory first, while this process is still small.
    std::printf("peak memory of one export with a recording, fresh process each:\n");
    const auto memoryChild = [](const char* name, const QStringList& childArguments) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(),
                    QStringList{QStringLiteral("--memory")} + childArguments);
        child.waitForFinished(-1);
        // The child's standard output also carries the export's log; keep the result line.
        for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
            if (line.startsWith("frames="))
                std::printf("  %s: %s\n", name, line.constData());
        }
        std::fflush(stdout);
    };
    for (const Length& length : lengths)
        memoryChild(length.name, {QString::number(length.frames), QString::number(length.turns)});
    memoryChild("10-minute at 4K", {QStringLiteral("18000"), QStringLiteral("30"), QStringLiteral("--4k")});
    memoryChild("40-page A4 PDF, 10 minutes, at 4K",
                {QStringLiteral("18000"), QStringLiteral("39"), QStringLiteral("--4k"),
                 QStringLiteral("--pdf"), QStringLiteral("40")});

    for (const Length& length : lengths) {
        QTemporaryDir dir;
        ScriptedDialogs dialogs;
        VideoEditorViewModel editor(testEnvironment(dialogs));
        buildProject(editor, length.frames, length.turns);
        const QString audio = writeToneWav(dir.filePath(QStringLiteral("audio.wav")), 44100, 2,
                                           double(length.frames) / 30.0);
        std::vector<double> changes, everyFrame, bare, withAudio;
        TimedFile changesFile, everyFrameFile, bareFile;
        for (int run = 0; run < length.runs; ++run) {
            changesFile = runVideoOnly(editor, dir.filePath(QStringLiteral("changes.mov")),
                                       VideoEncoding::changesOnly);
            changes.push_back(changesFile.seconds);
            editor.setAudioURL(audio);
            withAudio.push_back(runExport(editor, dialogs, dir.filePath(QStringLiteral("audio.mov"))));
            editor.setAudioURL(std::nullopt);
            everyFrameFile = runVideoOnly(editor, dir.filePath(QStringLiteral("every.mov")),
                                          VideoEncoding::everyFrame);
            everyFrame.push_back(everyFrameFile.seconds);
            bareFile = runBareEncoder(editor, dir.filePath(QStringLiteral("bare.mov")));
            bare.push_back(bareFile.seconds);
            std::printf("%s run %d: export %.2f s, export+audio %.2f s, every-frame path %.2f s, "
                        "bare libx264 %.2f s\n",
                        length.name, run + 1, changes.back(), withAudio.back(), everyFrame.back(),
                        bare.back());
            std::fflush(stdout);
        }
        const VideoProbe probe = probeVideo(dir.filePath(QStringLiteral("audio.mov")));
        const double n = double(length.frames);
        const double changesS = median(changes);
        const double everyS = median(everyFrame);
        const double bareS = median(bare);
        const double audioS = median(withAudio);
        std::printf("%s project, %lld frames, %d page turns (median of %d runs):\n", length.name,
                    static_cast<long long>(length.frames), length.turns, length.runs);
        std::printf("  export (changes only)   %7.2f s  %7.1f fps  %10lld bytes\n", changesS, n / changesS,
                    static_cast<long long>(changesFile.bytes));
        std::printf("  export with recording   %7.2f s  %7.1f fps  (%lld video packets, %d audio streams)\n",
                    audioS, n / audioS, static_cast<long long>(probe.videoPackets), probe.audioStreams);
        std::printf("  every-frame path        %7.2f s  %7.1f fps  %10lld bytes\n", everyS, n / everyS,
                    static_cast<long long>(everyFrameFile.bytes));
        std::printf("  bare libx264            %7.2f s  %7.1f fps  %10lld bytes\n", bareS, n / bareS,
                    static_cast<long long>(bareFile.bytes));
        std::printf("  speed-up over every-frame path  %.1fx\n", everyS / changesS);
        std::printf("  speed-up over bare libx264      %.1fx\n", bareS / changesS);
        std::printf("  file size / every-frame path    %.3f\n",
                    double(changesFile.bytes) / double(everyFrameFile.bytes));
        std::fflush(stdout);

        if (length.frames < 18000)
            continue;
        // The same project at 4K, in the same run, beside the 1080p figures above.
        editor.setExportResolution(ExportResolution::uhd4K);
        const TimedFile uhdFile =
                runVideoOnly(editor, dir.filePath(QStringLiteral("uhd.mov")), VideoEncoding::changesOnly);
        editor.setAudioURL(audio);
        const double uhdAudio = runExport(editor, dialogs, dir.filePath(QStringLiteral("uhd-audio.mov")));
        editor.setAudioURL(std::nullopt);
        editor.setExportResolution(ExportResolution::hd1080);
        std::printf("%s project at 4K (3840 x 2160):\n", length.name);
        std::printf("  export (changes only)   %7.2f s  %7.1f fps  %10lld bytes  %.2fx the 1080p time\n",
                    uhdFile.seconds, n / uhdFile.seconds, static_cast<long long>(uhdFile.bytes),
                    uhdFile.seconds / changesS);
        std::printf("  export with recording   %7.2f s  %7.1f fps  %.2fx the 1080p time\n", uhdAudio,
                    n / uhdAudio, uhdAudio / audioS);
        std::fflush(stdout);
    }
    return 0;
}
