#include "app/AppDelegate.h"
#include "editor/VideoEditorViewModel.h"
#include "support/Log.h"
#include "support/ScriptedDialogs.h"

#include <gtest/gtest.h>

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
