// The rendered recording (silence + boosted audio + silence) on a disk that fills up while it
// is written: loading, reloading with new silences and the synchronous rendering all fail
// with their log lines, leave the partly written WAV where it was written (it is never used),
// keep the recording in use and the project files as they were, and work again once there is
// room.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/FaultFixtures.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTimer>

#include <cerrno>

using FaultFixtures::FileSizeLimit;
using ProjectFixtures::ProjectEditor;
using ProjectFixtures::readFile;

namespace {

// Room for about a tenth of a second of the 44.1 kHz mono float WAV; every rendering here
// lasts seconds.
constexpr rlim_t kRoom = 16 * 1024;

class TemporaryWavFaults : public ::testing::Test {
protected:
    ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();
    QString first;
    QString second;

    void SetUp() override
    {
        editor.setStartSilenceDuration(1.0);
        editor.setEndSilenceDuration(1.0);
        first = project.writeTone(QStringLiteral("first.wav"), 2.0);
        second = project.writeTone(QStringLiteral("second.wav"), 3.0);
        ASSERT_TRUE(project.loadAudioAndWait(first));
        editor.autoSaveTimer()->stop();
        editor.setImages(makePageItems({makePageImage(80, 60, Qt::red)}));
        EditorTestAccess::updateFrameManagerImages(editor);
        for (int64_t frame = 0; frame < 40; ++frame)
            EditorTestAccess::assignImageWithIndex(editor, editor.images()[0].image(), frame, 0);
    }

    // A failed rendering leaves what the disk took of its file where it was written (the
    // recording in use is another file): exactly one file more than `before`, cut short.
    void expectOneCutShortWavBeside(const QStringList& before) const
    {
        QStringList added = renderedFiles();
        for (const QString& name : before)
            added.removeAll(name);
        ASSERT_EQ(added.size(), 1);
        EXPECT_LE(QFileInfo(project.file(added.front())).size(), qint64(kRoom));
        EXPECT_NE(editor.audioURL(), std::optional<QString>(project.file(added.front())));
    }

    // The rendered recordings in the editor's temporary folder.
    QStringList renderedFiles() const
    {
        return QDir(project.file(QString()))
                .entryList({QStringLiteral("audio_with_silence_*")}, QDir::Files | QDir::Hidden, QDir::Name);
    }

    // The recording in use and everything that depends on it.
    struct InUse {
        std::optional<QString> audioURL;
        QByteArray audioBytes;
        double duration = 0.0;
        int64_t frames = 0;
        std::optional<int> page;
        std::vector<float> waveform;
    };

    InUse inUse() const
    {
        InUse state;
        state.audioURL = editor.audioURL();
        state.audioBytes = state.audioURL ? readFile(*state.audioURL) : QByteArray();
        state.duration = editor.duration();
        state.frames = editor.getFrameManager().getFrameCount();
        const auto record = editor.getFrameManager().getFrame(20);
        state.page = record ? record->assignedImageIndex : std::nullopt;
        state.waveform = editor.waveformData();
        return state;
    }

    void expectStillInUse(const InUse& before) const
    {
        const InUse now = inUse();
        EXPECT_EQ(now.audioURL, before.audioURL);
        EXPECT_EQ(now.audioBytes, before.audioBytes);
        EXPECT_EQ(now.duration, before.duration);
        EXPECT_EQ(now.frames, before.frames);
        EXPECT_EQ(now.page, before.page);
        EXPECT_EQ(now.waveform, before.waveform);
        EXPECT_FALSE(editor.isLoadingAudio());
    }
};

TEST_F(TemporaryWavFaults, LoadOnAFullDiskFailsWithTheSilenceErrorRemovesTheCutShortWavAndKeepsTheRecording)
{
    const QString projectPath = project.file(QStringLiteral("saved.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(projectPath));
    editor.autoSaveProject();
    const QByteArray savedProject = readFile(projectPath);
    const QByteArray savedAutosave = readFile(editor.getAutoSavePath());
    const QStringList renderedBefore = renderedFiles();
    ASSERT_EQ(renderedBefore.size(), 1);
    const InUse before = inUse();

    QSignalSpy autosaves(&editor, &VideoEditorViewModel::autoSaveScheduled);
    LogCapture log;
    {
        const FileSizeLimit full(kRoom);
        ASSERT_TRUE(full.active());
        EXPECT_FALSE(project.loadAudioAndWait(second));
    }
    const QStringList writeErrors =
            log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: "));
    ASSERT_EQ(writeErrors.size(), 1);
    // The reason is the disk's own.
    EXPECT_TRUE(writeErrors[0].contains(qt_error_string(EFBIG))) << writeErrors[0].toStdString();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba betöltéskor: Nem sikerült csendet hozzáadni")});
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Temp fájl: ")).isEmpty());
    EXPECT_TRUE(project.dialogs().alerts().empty());

    // Nothing uses the cut-short file: it is gone; the recording in use stays.
    EXPECT_EQ(renderedFiles(), renderedBefore);
    expectStillInUse(before);
    // A failed load asks for no autosave, and neither project file changed.
    EXPECT_EQ(autosaves.count(), 0);
    EXPECT_EQ(readFile(projectPath), savedProject);
    EXPECT_EQ(readFile(editor.getAutoSavePath()), savedAutosave);

    // With room again the same recording loads.
    ASSERT_TRUE(project.loadAudioAndWait(second));
    // The new recording replaces the old one on the disk too.
    EXPECT_EQ(renderedFiles().size(), 1);
    EXPECT_NE(editor.audioURL(), before.audioURL);
    EXPECT_DOUBLE_EQ(editor.duration(), 5.0);
}

TEST_F(TemporaryWavFaults, ReloadOnAFullDiskFailsWithTheSilenceErrorRemovesTheCutShortWavAndKeepsTheRecording)
{
    const QStringList renderedBefore = renderedFiles();
    const InUse before = inUse();
    editor.setStartSilenceDuration(2.0);

    LogCapture log;
    {
        const FileSizeLimit full(kRoom);
        ASSERT_TRUE(full.active());
        EXPECT_FALSE(project.reloadAndWait());
    }
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ")).size(), 1);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba újratöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba újratöltéskor: Nem sikerült csendet hozzáadni")});
    EXPECT_TRUE(project.dialogs().alerts().empty());
    EXPECT_EQ(renderedFiles(), renderedBefore);
    expectStillInUse(before);

    // With room the reload goes through and moves the page one second on.
    ASSERT_TRUE(project.reloadAndWait());
    EXPECT_EQ(renderedFiles().size(), 1);
    EXPECT_DOUBLE_EQ(editor.duration(), 5.0);
    const auto moved = editor.getFrameManager().getFrame(20 + 30);
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->assignedImageIndex, std::optional<int>(0));
}

TEST_F(TemporaryWavFaults, SilenceRenderingOnAFullDiskReturnsNothingAndKeepsTheCutShortWav)
{
    const QStringList renderedBefore = renderedFiles();
    LogCapture log;
    std::optional<QString> rendered;
    {
        const FileSizeLimit full(kRoom);
        ASSERT_TRUE(full.active());
        rendered = EditorTestAccess::addSilenceToAudio(editor, second, 1.0, 2.0);
    }
    EXPECT_FALSE(rendered.has_value());
    const QStringList errors = log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: "));
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors[0].contains(qt_error_string(EFBIG))) << errors[0].toStdString();
    expectOneCutShortWavBeside(renderedBefore);

    rendered = EditorTestAccess::addSilenceToAudio(editor, second, 1.0, 2.0);
    ASSERT_TRUE(rendered.has_value());
    EXPECT_EQ(QFileInfo(*rendered).size(), 58 + 6 * 44100 * 4);
}

} // namespace
