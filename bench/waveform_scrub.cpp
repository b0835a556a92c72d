// Scrubbing the waveform of a long project: an 18,000-frame store (ten minutes at 30 fps)
// with 60 pages, and a drag of 2,000 pointer moves across the canvas.
//
// Usage: bench_waveform_scrub [runs]   (default 15)
// Prints medians over the runs of: collecting the page starts once (pageBoundaryFrames), one
// snap against the collected starts, and the whole drag through WaveformView (mouse events on
// the canvas, snap, seek and the redraw request), which collects the starts once.
#include "editor/PageBoundarySnapping.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/ScriptedDialogs.h"
#include "ui/WaveformCanvas.h"
#include "ui/WaveformView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr double kDuration = 600.0;
constexpr int kPages = 60;
constexpr int kMoves = 2000;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void sendMouse(QWidget* target, QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    const QPointF at(x, target->height() / 2.0);
    QMouseEvent event(type, at, target->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;

    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    editor.setDuration(kDuration);
    editor.setAudioURL(QStringLiteral("/tmp/bench.wav"));
    editor.setWaveformData(std::vector<float>(500, 0.5f));
    Frames& frames = editor.getFrameManager();
    frames.ensureFrameCount(kDuration, VideoEditorViewModel::FPS);
    const int64_t count = frames.getFrameCount();
    for (int64_t i = 0; i < count; ++i)
        frames.getFrame(i)->assignedImageIndex = static_cast<int>(i * kPages / count);
    editor.announceChange();

    WaveformView view(editor, dialogs);
    view.resize(1200, 150);
    view.show();
    auto* canvas = view.findChild<WaveformCanvas*>(QStringLiteral("waveformCanvas"));

    std::vector<double> collectMs;
    std::vector<double> snapUs;
    std::vector<double> dragMs;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        const std::vector<int64_t> boundaries = pageBoundaryFrames(frames);
        collectMs.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);

        timer.restart();
        double sink = 0.0;
        for (int i = 0; i < 10000; ++i)
            sink += snapTimeToPageBoundary(i * kDuration / 10000.0, boundaries, VideoEditorViewModel::FPS);
        snapUs.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e3 / 10000.0);
        if (sink < 0)
            std::printf("impossible\n");

        editor.announceChange(); // the next drag starts with the starts to be collected again
        timer.restart();
        sendMouse(canvas, QEvent::MouseButtonPress, 0.0, Qt::LeftButton, Qt::LeftButton);
        for (int i = 1; i < kMoves; ++i)
            sendMouse(canvas, QEvent::MouseMove, canvas->width() * static_cast<double>(i) / kMoves,
                      Qt::NoButton, Qt::LeftButton);
        sendMouse(canvas, QEvent::MouseButtonRelease, canvas->width(), Qt::LeftButton, Qt::NoButton);
        dragMs.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }

    std::printf("frames %lld, pages %d, runs %d\n", static_cast<long long>(count), kPages, runs);
    std::printf("collect page starts: median %.3f ms\n", median(collectMs));
    std::printf("one snap: median %.3f us\n", median(snapUs));
    std::printf(
            "drag of %d moves: median %.2f ms (%.2f us per move); page starts collected %d times in all\n",
            kMoves, median(dragMs), median(dragMs) * 1000.0 / kMoves, view.boundaryComputations());
    return 0;
}
