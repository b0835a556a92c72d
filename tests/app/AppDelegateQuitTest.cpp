#include "app/AppDelegate.h"
#include "editor/VideoEditorViewModel.h"
#include "project/ProjectFormat.h"
#include "support/Log.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUuid>

namespace {

class QuitAutosave : public testing::Test {
protected:
    QuitAutosave()
        : editor(environment())
    {
        delegate.setViewModel(&editor);
    }

    EditorEnvironment environment()
    {
        EditorEnvironment result;
        result.dialogs = &dialogs;
        result.dataDirectory = data.path();
        return result;
    }

    QTemporaryDir data;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor;
    AppDelegate delegate;
};

} // namespace

TEST_F(QuitAutosave, QuittingWithAnEmptyProjectWritesNoAutosave)
{
    LogCapture log;
    delegate.applicationWillTerminate();
    EXPECT_TRUE(log.contains(QStringLiteral("[AutoSave] Nincs mit menteni")));
    EXPECT_FALSE(QFileInfo::exists(editor.getAutoSavePath()));
}

TEST_F(QuitAutosave, QuittingWithPagesWritesTheAutosave)
{
    QImage page(100, 140, QImage::Format_RGB32);
    page.fill(Qt::white);
    std::vector<ImageItem> images;
    images.emplace_back(QUuid::createUuid(), page, data.filePath(QStringLiteral("oldal.png")));
    editor.setImages(std::move(images));
    LogCapture log;
    delegate.applicationWillTerminate();
    EXPECT_TRUE(log.contains(QStringLiteral("[AutoSave] Mentés ide: ") + editor.getAutoSavePath()));
    EXPECT_TRUE(QFileInfo::exists(editor.getAutoSavePath()));
}

TEST_F(QuitAutosave, QuittingAProjectWhoseRecordingIsMissingKeepsItsFramesAndPaths)
{
    // A project whose recording and pages were on a drive that is not there now.
    ProjectJSON document;
    document.imagePaths = {ImagePathInfo{data.filePath(QStringLiteral("usb/oldal.png")), {}, {}}};
    document.originalAudioPath = data.filePath(QStringLiteral("usb/felvetel.mp3"));
    document.audioPath = data.filePath(QStringLiteral("audio_with_silence_X.wav"));
    for (int frame = 0; frame < 90; ++frame)
        document.frames.push_back(FrameJSON{frame < 45 ? 0 : 1, 10, 0, 500, 1080});
    const QString path = data.filePath(QStringLiteral("project.vnk"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encodeProject(document));
    file.close();

    editor.loadProjectJSON(path);
    ASSERT_EQ(dialogs.alerts().size(), 1u);
    EXPECT_EQ(dialogs.alerts()[0].message, QStringLiteral("Hiányzó hangfelvétel"));
    delegate.applicationWillTerminate();

    QFile saved(editor.getAutoSavePath());
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const std::optional<ProjectJSON> autosave = decodeProject(saved.readAll());
    ASSERT_TRUE(autosave.has_value());
    EXPECT_EQ(autosave->originalAudioPath, document.originalAudioPath);
    EXPECT_EQ(autosave->audioPath, document.audioPath);
    ASSERT_EQ(autosave->frames.size(), 90u);
    for (size_t frame = 0; frame < 90; ++frame) {
        EXPECT_EQ(autosave->frames[frame].imageIndex, frame < 45 ? 0 : 1) << frame;
        EXPECT_EQ(autosave->frames[frame].w, 500) << frame;
    }
}
