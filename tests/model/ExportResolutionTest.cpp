#include "model/ExportResolution.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

TEST(ExportResolution, BuildsFromExactlyTheTwoRawValues)
{
    EXPECT_EQ(rawValue(ExportResolution::hd1080), QStringLiteral("1080p"));
    EXPECT_EQ(rawValue(ExportResolution::uhd4K), QStringLiteral("4K"));
    EXPECT_EQ(exportResolutionFromRawValue(QStringLiteral("1080p")), ExportResolution::hd1080);
    EXPECT_EQ(exportResolutionFromRawValue(QStringLiteral("4K")), ExportResolution::uhd4K);
    EXPECT_FALSE(exportResolutionFromRawValue(QStringLiteral("4k")).has_value());
    EXPECT_FALSE(exportResolutionFromRawValue(QStringLiteral("2160p")).has_value());
    EXPECT_FALSE(exportResolutionFromRawValue(QString()).has_value());
}

TEST(ExportResolution, FourKDoublesBothSidesOfEitherCanvas)
{
    EXPECT_EQ(exportScale(ExportResolution::hd1080), 1);
    EXPECT_EQ(exportScale(ExportResolution::uhd4K), 2);
    EXPECT_EQ(exportPixelSize(QSizeF(1920, 1080), ExportResolution::hd1080), QSize(1920, 1080));
    EXPECT_EQ(exportPixelSize(QSizeF(1920, 1080), ExportResolution::uhd4K), QSize(3840, 2160));
    EXPECT_EQ(exportPixelSize(QSizeF(1080, 1920), ExportResolution::uhd4K), QSize(2160, 3840));
}

TEST(ExportResolution, EditorStartsAt1080pAndPublishesEveryChange)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    EXPECT_EQ(editor.exportResolution(), ExportResolution::hd1080);
    QSignalSpy resolutionSpy(&editor, &VideoEditorViewModel::exportResolutionChanged);
    QSignalSpy changedSpy(&editor, &VideoEditorViewModel::changed);
    editor.setExportResolution(ExportResolution::uhd4K);
    EXPECT_EQ(editor.exportResolution(), ExportResolution::uhd4K);
    editor.setExportResolution(ExportResolution::uhd4K);
    EXPECT_EQ(resolutionSpy.count(), 2);
    EXPECT_EQ(changedSpy.count(), 2);
}

TEST(ExportResolution, FourKLeavesTheCanvasAndTheFrameStoreAlone)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    editor.setExportResolution(ExportResolution::uhd4K);
    EXPECT_EQ(editor.videoSize(), QSizeF(1920, 1080));
    editor.setVideoFormat(VideoFormat::portrait);
    EXPECT_EQ(editor.videoSize(), QSizeF(1080, 1920));
    editor.getFrameManager().ensureFrameCount(1.0, VideoEditorViewModel::FPS);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 30);
}
