#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

#include <vector>

namespace {

class FramesChanged : public ::testing::Test {
protected:
    FramesChanged()
        : fixture(20.0)
        , editor(fixture.editor())
    {
        editor.setImages(
                makePageItems({makePageImage(1240, 1754, Qt::red), makePageImage(1240, 1754, Qt::blue)}));
    }

    PlaybackEditor fixture;
    VideoEditorViewModel& editor;
};

// Watches an editor: every changed() must come after a framesChanged() that saw the frame
// count the changed() sees. A store grown or emptied without the announcement shows up as
// a stale count.
class FrameCountWatch {
public:
    explicit FrameCountWatch(VideoEditorViewModel& editor)
        : m_announced(editor.getFrameManager().getFrameCount())
    {
        QObject::connect(&editor, &VideoEditorViewModel::framesChanged, &m_context,
                         [this, &editor] { m_announced = editor.getFrameManager().getFrameCount(); });
        QObject::connect(&editor, &VideoEditorViewModel::changed, &m_context, [this, &editor] {
            const int64_t seen = editor.getFrameManager().getFrameCount();
            if (seen != m_announced)
                m_unannounced.push_back(seen);
        });
    }

    // Frame counts a changed() saw that no framesChanged() had announced.
    const std::vector<int64_t>& unannounced() const { return m_unannounced; }

private:
    QObject m_context;
    int64_t m_announced;
    std::vector<int64_t> m_unannounced;
};

} // namespace

TEST_F(FramesChanged, RecordingTicksAnnounceTheFramesTheyWrite)
{
    editor.startRecording();
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    fixture.tickAt(1.0);
    EXPECT_EQ(fixture.pageOfFrame(15), 0);
    EXPECT_GE(frames.count(), 1);
}

TEST_F(FramesChanged, FramesChangedComesBeforeTheChangedOfTheSameWrite)
{
    editor.startRecording();
    std::vector<QString> order;
    QObject::connect(&editor, &VideoEditorViewModel::framesChanged,
                     [&] { order.push_back(QStringLiteral("frames")); });
    QObject::connect(&editor, &VideoEditorViewModel::changed,
                     [&] { order.push_back(QStringLiteral("changed")); });
    editor.nextPageDuringRecording();
    ASSERT_GE(order.size(), 2u);
    EXPECT_EQ(order[order.size() - 2], QStringLiteral("frames"));
    EXPECT_EQ(order.back(), QStringLiteral("changed"));
}

TEST_F(FramesChanged, ASeekWhileRecordingAnnouncesTheStretchItPainted)
{
    editor.startRecording();
    fixture.tickAt(1.0);
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.seekTo(6.0);
    ASSERT_EQ(fixture.pageOfFrame(150), 0);
    EXPECT_GE(frames.count(), 1);
    editor.stopRecording();
}

TEST_F(FramesChanged, RecolouringTheFramesAnnouncesThem)
{
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.updateFillColor(Qt::black);
    EXPECT_EQ(frames.count(), 1);
}

TEST_F(FramesChanged, RefittingThePagesToANewFormatAnnouncesIt)
{
    editor.startRecording();
    fixture.tickAt(1.0);
    editor.stopRecording();
    editor.setVideoFormat(VideoFormat::portrait);
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.recalculatePlacementsForFormat();
    EXPECT_GE(frames.count(), 1);
}

TEST_F(FramesChanged, MovingAPageHandsTheStoreItsPicturesAndAnnouncesIt)
{
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.moveImage({1}, 0);
    EXPECT_EQ(frames.count(), 1);
}

TEST_F(FramesChanged, EmptyingTheStoreForANewProjectAnnouncesIt)
{
    FrameCountWatch watch(editor);
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.newProject();
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_GE(frames.count(), 1);
    EXPECT_TRUE(watch.unannounced().empty());
}

TEST_F(FramesChanged, SettingsAndPlayheadMovesThatLeaveTheFramesAloneDoNotAnnounceIt)
{
    QSignalSpy frames(&editor, &VideoEditorViewModel::framesChanged);
    editor.seekTo(4.0);
    editor.setSelectedImageIndex(1);
    editor.setVolumeBoost(150.0);
    editor.setTransitionDuration(1.0);
    editor.setExportFPS(60);
    fixture.tickAt(5.0);
    EXPECT_EQ(frames.count(), 0);
}

TEST(FramesChangedOnAudioLoad, TheGrownStoreIsAnnouncedBeforeAnyChangeShowsIt)
{
    ProjectFixtures::ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 0);
    FrameCountWatch watch(editor);
    ASSERT_TRUE(project.loadAudioAndWait(project.writeTone(QStringLiteral("tone.wav"), 2.0)));
    EXPECT_GT(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_TRUE(watch.unannounced().empty());
}
