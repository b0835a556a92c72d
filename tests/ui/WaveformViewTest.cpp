#include "ui/WaveformView.h"

#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ScriptedDialogs.h"
#include "ui/AudioSettingsSheet.h"
#include "ui/WaveformCanvas.h"

#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Frames [first, last] of the playback editor's store on page `page`.
void assignRun(VideoEditorViewModel& editor, int64_t first, int64_t last, int page)
{
    for (int64_t i = first; i <= last; ++i)
        editor.getFrameManager().getFrame(i)->assignedImageIndex = page;
    editor.announceChange();
}

void sendMouse(QWidget* target, QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    const QPointF at(x, target->height() / 2.0);
    QMouseEvent event(type, at, target->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

// A click on the canvas at the x position of `time`.
void clickAtTime(WaveformCanvas* canvas, double time, double duration)
{
    const double x = time / duration * canvas->width();
    sendMouse(canvas, QEvent::MouseButtonPress, x, Qt::LeftButton, Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseButtonRelease, x, Qt::LeftButton, Qt::NoButton);
}

// A WaveformView over an editor whose recording has been loaded by hand (ManualAudioPlayer).
class LoadedWaveformTest : public ::testing::Test {
protected:
    LoadedWaveformTest()
        : playback(30.0)
        , view(playback.editor(), dialogs)
    {
        editor().setWaveformData(std::vector<float>(500, 0.5f));
        view.resize(908, 140);
        view.show();
        canvas = view.findChild<WaveformCanvas*>(QStringLiteral("waveformCanvas"));
    }

    VideoEditorViewModel& editor() { return playback.editor(); }

    PlaybackEditor playback;
    ScriptedDialogs dialogs;
    WaveformView view;
    WaveformCanvas* canvas = nullptr;
};

QColor over(const QColor& top, const QColor& base)
{
    const double a = top.alphaF();
    return QColor::fromRgbF(static_cast<float>(top.redF() * a + base.redF() * (1 - a)),
                            static_cast<float>(top.greenF() * a + base.greenF() * (1 - a)),
                            static_cast<float>(top.blueF() * a + base.blueF() * (1 - a)));
}

bool near(const QColor& a, const QColor& b, int tolerance = 3)
{
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

TEST(WaveformPlaceholderTest, WithoutAudioShowsThePlaceholderAndAClickOpensTheAudioChooser)
{
    QTemporaryDir folder;
    ScriptedDialogs dialogs;
    EditorEnvironment environment = fixtures::manualPlayerEnvironment(folder.path());
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    WaveformView view(editor, dialogs);
    view.show();

    auto* placeholder = view.findChild<QToolButton*>(QStringLiteral("waveformPlaceholder"));
    ASSERT_NE(placeholder, nullptr);
    EXPECT_TRUE(placeholder->isVisible());
    EXPECT_EQ(placeholder->text(), QStringLiteral("Húzz ide egy hangfájlt (WAV/MP3) vagy kattints ide"));
    EXPECT_FALSE(view.findChild<WaveformCanvas*>(QStringLiteral("waveformCanvas"))->isVisible());

    const QString wav = fixtures::writeWav(folder.filePath(QStringLiteral("tone.wav")),
                                           fixtures::sineTone(44100, 1, 44100));
    dialogs.queueOpenPaths({wav});
    QTest::mouseClick(placeholder, Qt::LeftButton);

    ASSERT_EQ(dialogs.openRequests().size(), 1u);
    const OpenFileRequest request = dialogs.openRequests()[0];
    EXPECT_EQ(request.message, QStringLiteral("Válassz egy hangfájlt"));
    EXPECT_FALSE(request.allowsMultipleSelection);
    EXPECT_FALSE(request.canChooseDirectories);
    ASSERT_EQ(request.allowedTypes.size(), 4u);
    EXPECT_TRUE(request.allowedTypes[0].extensions.contains(QStringLiteral("wav")));
    EXPECT_EQ(request.allowedTypes[1].extensions, QStringList{QStringLiteral("mp3")});
    EXPECT_EQ(request.allowedTypes[2].extensions, QStringList{QStringLiteral("wav")});
    EXPECT_EQ(request.allowedTypes[3].extensions, QStringList{QStringLiteral("m4a")});

    EXPECT_EQ(editor.originalAudioURL(), wav);
    ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }));
    ASSERT_TRUE(editor.audioURL().has_value());
    // Loaded: the canvas takes the placeholder's place.
    EXPECT_FALSE(placeholder->isVisible());
    EXPECT_TRUE(view.findChild<WaveformCanvas*>(QStringLiteral("waveformCanvas"))->isVisible());
}

TEST(WaveformPlaceholderTest, ACancelledChooserLoadsNothing)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    WaveformView view(editor, dialogs);
    view.selectAudioFile();
    EXPECT_EQ(dialogs.openRequests().size(), 1u);
    EXPECT_FALSE(editor.originalAudioURL().has_value());
    EXPECT_FALSE(editor.isLoadingAudio());
}

TEST(WaveformDropTest, DroppingSongWavInCapitalsIsAcceptedAndAiffIsIgnored)
{
    QTemporaryDir folder;
    ScriptedDialogs dialogs;
    EditorEnvironment environment = fixtures::manualPlayerEnvironment(folder.path());
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    WaveformView view(editor, dialogs);
    view.show();

    const QString aiff = fixtures::writeWav(folder.filePath(QStringLiteral("take.aiff")),
                                            fixtures::sineTone(44100, 1, 4410));
    QMimeData ignored;
    ignored.setUrls({QUrl::fromLocalFile(aiff)});
    QDropEvent aiffDrop(QPointF(10, 10), Qt::CopyAction, &ignored, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &aiffDrop);
    drainEvents();
    EXPECT_FALSE(editor.originalAudioURL().has_value());
    EXPECT_FALSE(editor.isLoadingAudio());

    const QString song = fixtures::writeWav(folder.filePath(QStringLiteral("SONG.WAV")),
                                            fixtures::sineTone(44100, 1, 44100));
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(song)});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    EXPECT_TRUE(view.isDraggingOver());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drop);
    EXPECT_FALSE(view.isDraggingOver());
    ASSERT_TRUE(waitUntil([&] { return editor.originalAudioURL() == song; }));
    ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }));
    EXPECT_TRUE(editor.audioURL().has_value());
    EXPECT_EQ(editor.waveformData().size(), 500u);
}

TEST(WaveformDropTest, OnlyTheFirstDroppedFileCounts)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    WaveformView view(editor, dialogs);
    EXPECT_FALSE(view.handleAudioDrop({QUrl::fromLocalFile(QStringLiteral("/music/notes.txt")),
                                       QUrl::fromLocalFile(QStringLiteral("/music/song.mp3"))}));
    EXPECT_FALSE(view.handleAudioDrop({QUrl(QStringLiteral("https://example.org/song.mp3"))}));
    drainEvents();
    EXPECT_FALSE(editor.originalAudioURL().has_value());
}

TEST_F(LoadedWaveformTest, LoadingProgressIsVisibleWhileAudioLoads)
{
    auto* bar = view.findChild<QProgressBar*>(QStringLiteral("audioLoadingProgress"));
    ASSERT_NE(bar, nullptr);
    EXPECT_FALSE(bar->isVisible());
    editor().setIsLoadingAudio(true);
    editor().setLoadingProgress(0.4);
    EXPECT_TRUE(bar->isVisible());
    EXPECT_EQ(bar->value(), 40);
    editor().setLoadingProgress(1.0);
    editor().setIsLoadingAudio(false);
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(LoadedWaveformTest, AClickHalfASecondAfterAPageBoundarySnapsToTheBoundary)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 899, 1);
    clickAtTime(canvas, 10.5, 30.0);
    EXPECT_DOUBLE_EQ(editor().currentTime(), 10.0);
}

TEST_F(LoadedWaveformTest, AClickOnePointTwoSecondsAfterAPageBoundaryDoesNotSnap)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 899, 1);
    clickAtTime(canvas, 11.2, 30.0);
    EXPECT_NEAR(editor().currentTime(), 11.2, 30.0 / canvas->width());
    EXPECT_GT(editor().currentTime(), 11.0);
}

TEST_F(LoadedWaveformTest, TwoBoundariesAtEqualDistanceTheEarlierWins)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 319, 1);
    assignRun(editor(), 320, 899, 2);
    EXPECT_DOUBLE_EQ(view.snapToPageBoundary(310.0 / 30.0), 10.0);
    EXPECT_DOUBLE_EQ(view.snapToPageBoundary(311.0 / 30.0), 320.0 / 30.0);
}

TEST_F(LoadedWaveformTest, ScrubbingFollowsThePointerClampedToTheCanvas)
{
    const double width = canvas->width();
    sendMouse(canvas, QEvent::MouseButtonPress, width * 0.25, Qt::LeftButton, Qt::LeftButton);
    EXPECT_NEAR(editor().currentTime(), 7.5, 1e-9);
    sendMouse(canvas, QEvent::MouseMove, width * 0.5, Qt::NoButton, Qt::LeftButton);
    EXPECT_NEAR(editor().currentTime(), 15.0, 1e-9);
    sendMouse(canvas, QEvent::MouseMove, width * 2.0, Qt::NoButton, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(editor().currentTime(), 30.0);
    sendMouse(canvas, QEvent::MouseMove, -50.0, Qt::NoButton, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(editor().currentTime(), 0.0);
    sendMouse(canvas, QEvent::MouseButtonRelease, width * 0.1, Qt::LeftButton, Qt::NoButton);
    EXPECT_NEAR(editor().currentTime(), 3.0, 1e-9);
    // A move without the button held is no scrub.
    sendMouse(canvas, QEvent::MouseMove, width * 0.9, Qt::NoButton, Qt::NoButton);
    EXPECT_NEAR(editor().currentTime(), 3.0, 1e-9);
}

TEST_F(LoadedWaveformTest, PageBoundariesAreCollectedOncePerChangeOfTheFrames)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 899, 1);
    const double width = canvas->width();
    sendMouse(canvas, QEvent::MouseButtonPress, 1.0, Qt::LeftButton, Qt::LeftButton);
    for (int x = 2; x < static_cast<int>(width); x += 3)
        sendMouse(canvas, QEvent::MouseMove, x, Qt::NoButton, Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseButtonRelease, width / 2, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(view.boundaryComputations(), 1);

    // New pages: the next scrub sees them.
    assignRun(editor(), 450, 899, 2);
    clickAtTime(canvas, 15.4, 30.0);
    EXPECT_EQ(view.boundaryComputations(), 2);
    EXPECT_DOUBLE_EQ(editor().currentTime(), 15.0);
}

TEST_F(LoadedWaveformTest, WhileRecordingEveryChangeCollectsThePageStartsAgain)
{
    editor().setImages(makePageItems({makePageImage(40, 60, Qt::red), makePageImage(40, 60, Qt::blue)}));
    assignRun(editor(), 0, 299, 0);
    view.snapToPageBoundary(5.0);
    ASSERT_EQ(view.boundaryComputations(), 1);
    editor().startRecording();
    // A recording tick writes page 0 up to frame 360 as the playhead moves; the end of the
    // recorded stretch (frame 361) is a new page start, 14 frames before 12.5 s.
    playback.tickAt(12.0);
    ASSERT_EQ(playback.pageOfFrame(360), 0);
    EXPECT_DOUBLE_EQ(view.snapToPageBoundary(12.5), 361.0 / 30.0);
    EXPECT_EQ(view.boundaryComputations(), 2);
    editor().stopRecording();
}

TEST_F(LoadedWaveformTest, BarsTakeTheirPageColourAndUnassignedBarsTheAccentColour)
{
    // The first third of the recording on page 17 (palette colour 1), the rest unassigned.
    assignRun(editor(), 0, 299, 17);
    editor().seekTo(15.0);
    const QImage picture = canvas->grab().toImage();
    const double slot = static_cast<double>(canvas->width()) / 500.0;
    const int middle = WaveformCanvas::kRulerHeight + (canvas->height() - WaveformCanvas::kRulerHeight) / 2;
    const QColor base = canvas->palette().color(QPalette::Base);

    const QColor paged = picture.pixelColor(static_cast<int>(50 * slot + slot / 3), middle);
    EXPECT_TRUE(near(paged, over(*editor().colorForFrame(0), base))) << paged.name().toStdString();
    const QColor unassigned = picture.pixelColor(static_cast<int>(400 * slot + slot / 3), middle);
    EXPECT_TRUE(near(unassigned, canvas->palette().color(QPalette::Highlight)))
            << unassigned.name().toStdString();

    // The playhead at the middle, drawn over everything down to the bottom edge.
    ASSERT_TRUE(canvas->playheadX().has_value());
    EXPECT_NEAR(*canvas->playheadX(), canvas->width() / 2.0, 1e-9);
    const QColor playhead = picture.pixelColor(canvas->width() / 2, canvas->height() - 1);
    EXPECT_GT(playhead.red(), 150);
    EXPECT_LT(playhead.green(), 120);
}

TEST_F(LoadedWaveformTest, SettingsButtonPresentsTheSheetAndForwardsAlkalmaz)
{
    QSignalSpy applied(&view, &WaveformView::applyAudioSettingsRequested);
    auto* settings = view.findChild<QToolButton*>(QStringLiteral("audioSettingsButton"));
    ASSERT_NE(settings, nullptr);
    QTest::mouseClick(settings, Qt::LeftButton);
    EXPECT_TRUE(editor().showAudioSettings());
    ASSERT_NE(view.settingsSheet(), nullptr);
    EXPECT_TRUE(view.settingsSheet()->isVisible());

    QTest::mouseClick(view.settingsSheet()->findChild<QPushButton*>(QStringLiteral("applyButton")),
                      Qt::LeftButton);
    EXPECT_EQ(applied.count(), 1);
    EXPECT_FALSE(editor().showAudioSettings());
    drainEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(view.settingsSheet(), nullptr);

    // Opening it again gives a fresh sheet; "Mégse" forwards nothing.
    editor().setShowAudioSettings(true);
    ASSERT_NE(view.settingsSheet(), nullptr);
    QTest::mouseClick(view.settingsSheet()->findChild<QPushButton*>(QStringLiteral("cancelButton")),
                      Qt::LeftButton);
    EXPECT_EQ(applied.count(), 1);
    EXPECT_FALSE(editor().showAudioSettings());
}

TEST_F(LoadedWaveformTest, ClearingShowAudioSettingsClosesTheSheet)
{
    editor().setShowAudioSettings(true);
    ASSERT_NE(view.settingsSheet(), nullptr);
    editor().setShowAudioSettings(false);
    EXPECT_TRUE(view.settingsSheet() == nullptr || !view.settingsSheet()->isVisible());
}

TEST_F(LoadedWaveformTest, PageStartsAreCollectedAgainAfterFramesChangedWhateverCameBefore)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 899, 1);
    view.snapToPageBoundary(5.0);
    ASSERT_EQ(view.boundaryComputations(), 1);

    // Frames written, then a setting that never touches them, then the announcement of the
    // frames: the order of the other signals does not matter.
    for (int64_t i = 450; i <= 899; ++i)
        editor().getFrameManager().getFrame(i)->assignedImageIndex = 2;
    editor().setVolumeBoost(120.0);
    emit editor().framesChanged();

    EXPECT_DOUBLE_EQ(view.snapToPageBoundary(15.4), 15.0);
    EXPECT_EQ(view.boundaryComputations(), 2);
}

TEST_F(LoadedWaveformTest, ChangesThatWriteNoFrameKeepTheCollectedPageStarts)
{
    assignRun(editor(), 0, 299, 0);
    assignRun(editor(), 300, 899, 1);
    view.snapToPageBoundary(5.0);
    ASSERT_EQ(view.boundaryComputations(), 1);

    editor().setDuration(30.0);
    editor().setWaveformData(std::vector<float>(500, 0.25f));
    editor().setIsLoadingAudio(false);
    editor().setAudioURL(editor().audioURL());

    EXPECT_DOUBLE_EQ(view.snapToPageBoundary(10.4), 10.0);
    EXPECT_EQ(view.boundaryComputations(), 1);
}
