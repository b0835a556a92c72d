#include "tests/ui/WindowFixture.h"

#include "model/Frames.h"
#include "ui/ControlButton.h"
#include "ui/ControlButtons.h"
#include "ui/MediaButton.h"

#include <QAbstractButton>
#include <QLabel>

namespace {

struct Media {
    MediaButton* toStart;
    MediaButton* play;
    MediaButton* stop;
    MediaButton* record;
};

Media mediaButtons(WindowFixture& fixture)
{
    Media media{fixture.find<MediaButton>(QStringLiteral("toStartButton")),
                fixture.find<MediaButton>(QStringLiteral("playButton")),
                fixture.find<MediaButton>(QStringLiteral("stopButton")),
                fixture.find<MediaButton>(QStringLiteral("recordButton"))};
    EXPECT_TRUE(media.toStart && media.play && media.stop && media.record);
    return media;
}

QStringList visiblePageButtonTitles(WindowFixture& fixture)
{
    QStringList titles;
    auto* row = fixture.find<QWidget>(QStringLiteral("pageButtons"));
    if (!row || !row->isVisible())
        return titles;
    for (auto* button : row->findChildren<ControlButton*>()) {
        if (button->isVisible())
            titles << button->text();
    }
    return titles;
}

QString labelText(WindowFixture& fixture, const QString& name)
{
    auto* label = fixture.find<QLabel>(name);
    return label ? label->text() : QString();
}

} // namespace

TEST(ControlButtonsTest, WithoutAudioEveryMediaButtonIsDisabledAndGrey)
{
    WindowFixture fixture;
    fixture.show();
    const Media media = mediaButtons(fixture);
    QColor grey(Qt::gray);
    grey.setAlphaF(0.3f);
    for (MediaButton* button : {media.toStart, media.play, media.stop, media.record}) {
        EXPECT_FALSE(button->isEnabled()) << button->objectName().toStdString();
        EXPECT_EQ(button->fillColor(), grey);
        EXPECT_EQ(button->symbolColor(), QColor(Qt::gray));
        // The middle of the drawn circle is the grey fill, not the button's own colour.
        const QImage picture = button->grab().toImage();
        const QColor edge = picture.pixelColor(picture.width() / 2, 3);
        EXPECT_NEAR(edge.red(), edge.blue(), 8);
    }
    EXPECT_FALSE(fixture.find<QWidget>(QStringLiteral("timePanel"))->isVisible());
    EXPECT_TRUE(visiblePageButtonTitles(fixture).isEmpty());
    EXPECT_FALSE(fixture.find<ControlButton>(QStringLiteral("exportButton"))->isEnabled());
}

TEST(ControlButtonsTest, WithAudioButNoPagesPlayStopAndToStartWorkButRecordAndExportDoNot)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(4.0);
    const Media media = mediaButtons(fixture);
    EXPECT_TRUE(media.toStart->isEnabled());
    EXPECT_TRUE(media.play->isEnabled());
    EXPECT_TRUE(media.stop->isEnabled());
    EXPECT_FALSE(media.record->isEnabled());
    EXPECT_FALSE(fixture.find<ControlButton>(QStringLiteral("exportButton"))->isEnabled());

    QTest::mouseClick(media.play, Qt::LeftButton);
    EXPECT_TRUE(fixture.editor().isPlaying());
    EXPECT_EQ(media.play->iconName(), QStringLiteral("pause.fill"));
    QTest::mouseClick(media.stop, Qt::LeftButton);
    EXPECT_FALSE(fixture.editor().isPlaying());
    fixture.editor().seekTo(2.5);
    QTest::mouseClick(media.toStart, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(fixture.editor().currentTime(), 0.0);

    // Clicks on a disabled button do nothing.
    QTest::mouseClick(media.record, Qt::LeftButton);
    EXPECT_FALSE(fixture.editor().isRecording());
}

TEST(ControlButtonsTest, WithAudioAndPagesRecordAndExportAreEnabled)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(2.0);
    fixture.addPages({makePageImage(80, 100, Qt::red)});
    EXPECT_TRUE(mediaButtons(fixture).record->isEnabled());
    EXPECT_TRUE(fixture.find<ControlButton>(QStringLiteral("exportButton"))->isEnabled());
    EXPECT_EQ(fixture.find<ControlButton>(QStringLiteral("exportButton"))->text(),
              QStringLiteral("Videó exportálása"));
}

TEST(ControlButtonsTest, WhileRecordingPlayShowsPauseAndRecordShowsFilledAndPlayEndsTheRecording)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(4.0);
    fixture.addPages({makePageImage(80, 100, Qt::red), makePageImage(80, 100, Qt::blue)});
    const Media media = mediaButtons(fixture);
    EXPECT_EQ(media.record->iconName(), QStringLiteral("record.circle"));
    QTest::mouseClick(media.record, Qt::LeftButton);
    ASSERT_TRUE(fixture.editor().isRecording());
    EXPECT_TRUE(fixture.editor().isPlaying());
    EXPECT_EQ(media.play->iconName(), QStringLiteral("pause.fill"));
    EXPECT_EQ(media.record->iconName(), QStringLiteral("record.circle.fill"));

    QTest::mouseClick(media.play, Qt::LeftButton);
    EXPECT_FALSE(fixture.editor().isRecording());
    EXPECT_FALSE(fixture.editor().isPlaying());
    EXPECT_EQ(media.play->iconName(), QStringLiteral("play.fill"));
    EXPECT_EQ(media.record->iconName(), QStringLiteral("record.circle"));
}

TEST(ControlButtonsTest, PressingRecordWhileRecordingEndsTheRecording)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(4.0);
    fixture.addPages({makePageImage(80, 100, Qt::red)});
    auto* record = mediaButtons(fixture).record;
    QTest::mouseClick(record, Qt::LeftButton);
    ASSERT_TRUE(fixture.editor().isRecording());
    QTest::mouseClick(record, Qt::LeftButton);
    EXPECT_FALSE(fixture.editor().isRecording());
    EXPECT_FALSE(fixture.editor().isPlaying());
}

TEST(ControlButtonsTest, PageButtonRowFollowsRecordingPlayingAndStopped)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(4.0);
    fixture.addPages({makePageImage(80, 100, Qt::red), makePageImage(80, 100, Qt::blue)});
    drainEvents();
    EXPECT_EQ(visiblePageButtonTitles(fixture),
              QStringList({QStringLiteral("Előző oldalhoz"), QStringLiteral("Következő oldalhoz"),
                           QStringLiteral("Utolsó oldalhoz")}));

    fixture.editor().play();
    drainEvents();
    EXPECT_EQ(visiblePageButtonTitles(fixture), QStringList({QStringLiteral("Vissza 3 mp")}));
    fixture.editor().pause();

    fixture.editor().startRecording();
    drainEvents();
    EXPECT_EQ(visiblePageButtonTitles(fixture),
              QStringList({QStringLiteral("Előző oldal"), QStringLiteral("Következő oldal")}));

    // "Következő oldal" moves the recording to the second page.
    QTest::mouseClick(fixture.find<ControlButton>(QStringLiteral("nextPageDuringRecordingButton")),
                      Qt::LeftButton);
    EXPECT_EQ(fixture.editor().currentAssignmentIndex(), 1);
    fixture.editor().stopRecording();
    drainEvents();
    EXPECT_EQ(visiblePageButtonTitles(fixture).size(), 3);
}

TEST(ControlButtonsTest, TimeStringTruncatesToMinutesAndSeconds)
{
    EXPECT_EQ(ControlButtons::timeString(59.99), QStringLiteral("00:59"));
    EXPECT_EQ(ControlButtons::timeString(60.0), QStringLiteral("01:00"));
    EXPECT_EQ(ControlButtons::timeString(0.0), QStringLiteral("00:00"));
    EXPECT_EQ(ControlButtons::timeString(3725.9), QStringLiteral("62:05"));
}

TEST(ControlButtonsDeathTest, TimeStringOfNaNStopsTheProgram)
{
    EXPECT_DEATH(ControlButtons::timeString(std::nan("")), "");
}

TEST(ControlButtonsTest, AtTenSecondsOfATenPointZeroOneSecondFileTheCounterShowsFrame300Of301)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(10.01);
    fixture.editor().seekTo(10.0);
    drainEvents();
    EXPECT_EQ(labelText(fixture, QStringLiteral("frameCounter")), QStringLiteral("Frame: 300 / 301"));
    EXPECT_EQ(labelText(fixture, QStringLiteral("currentTimeLabel")), QStringLiteral("00:10"));
    EXPECT_EQ(labelText(fixture, QStringLiteral("durationLabel")), QStringLiteral("00:10"));
    EXPECT_TRUE(fixture.find<QWidget>(QStringLiteral("timePanel"))->isVisible());
}

TEST(ControlButtonsTest, FormatPickerSwitchesTheOutputFormatAndRefitsTheFrames)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(2.0);
    fixture.addPages({makePageImage(100, 100, Qt::red)});
    fixture.editor().startRecording();
    fixture.editor().playbackTick();
    fixture.editor().stopRecording();
    auto* portrait = fixture.find<QAbstractButton>(QStringLiteral("format9x16"));
    ASSERT_NE(portrait, nullptr);
    EXPECT_TRUE(fixture.find<QAbstractButton>(QStringLiteral("format16x9"))->isChecked());
    QTest::mouseClick(portrait, Qt::LeftButton);
    EXPECT_EQ(fixture.editor().videoFormat(), VideoFormat::portrait);
    EXPECT_TRUE(portrait->isChecked());
    const auto frame = fixture.editor().getFrameManager().getFrame(0);
    ASSERT_NE(frame, nullptr);
    ASSERT_TRUE(frame->assignedImageIndex.has_value());
    // A square page fills the width of the 1080-wide portrait canvas.
    EXPECT_EQ(frame->bgImageWidth, 1080);
}

TEST(ControlButtonsTest, FpsPickerSetsTheExportRate)
{
    WindowFixture fixture;
    fixture.show();
    EXPECT_TRUE(fixture.find<QAbstractButton>(QStringLiteral("fps30"))->isChecked());
    QTest::mouseClick(fixture.find<QAbstractButton>(QStringLiteral("fps60")), Qt::LeftButton);
    EXPECT_EQ(fixture.editor().exportFPS(), 60);
    QTest::mouseClick(fixture.find<QAbstractButton>(QStringLiteral("fps24")), Qt::LeftButton);
    EXPECT_EQ(fixture.editor().exportFPS(), 24);
    EXPECT_EQ(fixture.find<QWidget>(QStringLiteral("fpsPicker"))->width(), 150);
    EXPECT_EQ(fixture.find<QWidget>(QStringLiteral("formatPicker"))->width(), 120);
}

TEST(ControlButtonsTest, ResolutionPickerOffers1080pAnd4KBesideTheOtherSettings)
{
    WindowFixture fixture;
    fixture.show();
    auto* hd = fixture.find<QAbstractButton>(QStringLiteral("resolution1080p"));
    auto* uhd = fixture.find<QAbstractButton>(QStringLiteral("resolution4K"));
    ASSERT_NE(hd, nullptr);
    ASSERT_NE(uhd, nullptr);
    EXPECT_EQ(hd->text(), QStringLiteral("1080p"));
    EXPECT_EQ(uhd->text(), QStringLiteral("4K"));
    EXPECT_TRUE(hd->isChecked());
    EXPECT_FALSE(uhd->isChecked());
    EXPECT_EQ(fixture.find<QWidget>(QStringLiteral("resolutionPicker"))->width(), 120);

    // The label stands right before its picker, in the row of "Formátum:" and "FPS:".
    QWidget* picker = fixture.find<QWidget>(QStringLiteral("resolutionPicker"));
    QWidget* row = picker->parentWidget();
    QStringList labels;
    for (QLabel* label : row->findChildren<QLabel*>(Qt::FindDirectChildrenOnly))
        labels << label->text();
    EXPECT_TRUE(labels.contains(QStringLiteral("Formátum:")));
    EXPECT_TRUE(labels.contains(QStringLiteral("FPS:")));
    EXPECT_TRUE(labels.contains(QStringLiteral("Felbontás:")));
    auto* resolutionLabel = fixture.find<QLabel>(QStringLiteral("resolutionLabel"));
    ASSERT_NE(resolutionLabel, nullptr);
    EXPECT_EQ(resolutionLabel->text(), QStringLiteral("Felbontás:"));
    EXPECT_LT(resolutionLabel->geometry().right(), picker->geometry().left());
    EXPECT_GT(picker->geometry().left(),
              fixture.find<QWidget>(QStringLiteral("fpsPicker"))->geometry().right());

    QTest::mouseClick(uhd, Qt::LeftButton);
    EXPECT_EQ(fixture.editor().exportResolution(), ExportResolution::uhd4K);
    EXPECT_TRUE(uhd->isChecked());
    // The canvas the frames are placed on does not change.
    EXPECT_EQ(fixture.editor().videoSize(), QSizeF(1920, 1080));
    QTest::mouseClick(hd, Qt::LeftButton);
    EXPECT_EQ(fixture.editor().exportResolution(), ExportResolution::hd1080);
    EXPECT_TRUE(hd->isChecked());

    // A resolution set elsewhere (a loaded project) shows in the picker.
    fixture.editor().setExportResolution(ExportResolution::uhd4K);
    EXPECT_TRUE(uhd->isChecked());
    EXPECT_FALSE(hd->isChecked());
}

TEST(ControlButtonsTest, MediaAndControlButtonsHaveTheirSizes)
{
    WindowFixture fixture;
    fixture.show();
    const Media media = mediaButtons(fixture);
    EXPECT_EQ(media.toStart->size(), QSize(60, 60));
    EXPECT_EQ(media.play->size(), QSize(70, 70));
    EXPECT_EQ(media.stop->size(), QSize(60, 60));
    EXPECT_EQ(media.record->size(), QSize(70, 70));
    auto* exportButton = fixture.find<ControlButton>(QStringLiteral("exportButton"));
    EXPECT_GE(exportButton->width(), 120);
    EXPECT_GE(exportButton->height(), 44);
}
