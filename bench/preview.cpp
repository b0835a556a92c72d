// Preview benchmark: what one playback tick costs the window. A 60-second project with a
// scanned-size page (1240 x 1754) recorded over every frame; the real MainWindow is shown on
// the offscreen platform at 1920 x 1080. Each figure is the median of 200 ticks:
//   render   VideoEditorViewModel::renderCurrentFrame() alone
//   tick     seekTo() to the next frame plus the repaint it causes (the whole window)
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ScriptedDialogs.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    MainWindow window(environment);
    window.resize(1920, 1080);
    window.show();
    VideoEditorViewModel& editor = window.editor();

    const double duration = 60.0;
    auto player = std::make_unique<ManualAudioPlayer>(duration);
    ManualAudioPlayer* clock = player.get();
    EditorTestAccess::setAudioPlayer(editor, std::move(player));
    editor.setDuration(duration);
    editor.setAudioURL(QStringLiteral("/tmp/audio_with_silence_BENCH.wav"));
    editor.getFrameManager().ensureFrameCount(duration, VideoEditorViewModel::FPS);
    editor.setImages(makePageItems({makePageImage(1240, 1754, QColor(240, 232, 220))}));
    EditorTestAccess::updateFrameManagerImages(editor);
    editor.startRecording();
    clock->setCurrentTime(duration);
    editor.playbackTick();
    editor.stopRecording();
    drainEvents();

    std::vector<double> renders;
    std::vector<double> ticks;
    QElapsedTimer timer;
    for (int i = 0; i < 200; ++i) {
        const double time = 10.0 + i / 30.0;
        editor.seekTo(time);
        timer.start();
        const auto frame = editor.renderCurrentFrame();
        renders.push_back(timer.nsecsElapsed() / 1e6);
        if (!frame)
            std::fprintf(stderr, "no frame at %f\n", time);
    }
    for (int i = 0; i < 200; ++i) {
        timer.start();
        editor.seekTo(20.0 + i / 30.0);
        window.repaint();
        ticks.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::printf("preview render (median of 200): %.2f ms\n", median(renders));
    std::printf("tick with window repaint (median of 200): %.2f ms\n", median(ticks));
    return 0;
}
