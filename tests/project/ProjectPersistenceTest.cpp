// The editor's project files: save, load, new project, autosave and autoload, and bad files.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "project/ProjectFormat.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PdfFixtures.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ProjectFixtures.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>

#include <csignal>
#include <limits>
#include <string>
#include <sys/resource.h>

using ProjectFixtures::ProjectEditor;
using ProjectFixtures::readFile;
using ProjectFixtures::writeFile;

namespace {

ImagePathInfo pathInfo(const QString& path, std::optional<int> pageNumber = std::nullopt,
                       std::optional<int> pairedPageNumber = std::nullopt);

class ProjectPersistence : public ::testing::Test {
protected:
    ProjectEditor project;
    VideoEditorViewModel& editor = project.editor();

    QString file(const QString& name) const { return project.file(name); }

    // Writes a project document and returns its path.
    QString writeProject(const QString& name, const ProjectJSON& document)
    {
        return writeFile(file(name), encodeProject(document));
    }

    // A project that names two picture files and nothing else.
    ProjectJSON twoPictureProject()
    {
        ProjectJSON document;
        document.imagePaths = {pathInfo(project.writePng(QStringLiteral("p1.png"), 40, 30, Qt::red)),
                               pathInfo(project.writePng(QStringLiteral("p2.png"), 30, 40, Qt::blue))};
        document.startSilence = 1.0;
        document.endSilence = 2.0;
        return document;
    }

    // Loads with the restore tied to the end of the audio load and waits for the whole load.
    bool loadAndWait(const QString& path)
    {
        std::optional<bool> outcome;
        const auto connection = QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished,
                                                 [&](bool succeeded) { outcome = succeeded; });
        editor.loadProjectJSON(path, VideoEditorViewModel::FrameRestore::whenAudioLoaded);
        waitUntil([&] { return outcome.has_value(); }, 60000);
        QObject::disconnect(connection);
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        return outcome.value_or(false);
    }

    // Some content the bad-file tests expect to survive.
    void populate()
    {
        editor.setImages(makePageItems({makePageImage(50, 50, Qt::green), makePageImage(60, 40, Qt::gray)}));
        editor.setStartSilenceDuration(2.0);
        editor.setTransitionDuration(0.8);
        editor.setVideoFormat(VideoFormat::portrait);
        editor.setSelectedImageIndex(1);
    }

    void expectPopulated()
    {
        ASSERT_EQ(editor.images().size(), 2u);
        EXPECT_EQ(editor.images()[0].url(), QStringLiteral("/pages/page1.png"));
        EXPECT_EQ(editor.startSilenceDuration(), 2.0);
        EXPECT_EQ(editor.transitionDuration(), 0.8);
        EXPECT_EQ(editor.videoFormat(), VideoFormat::portrait);
        EXPECT_EQ(editor.selectedImageIndex(), 1);
    }
};

ImagePathInfo pathInfo(const QString& path, std::optional<int> pageNumber,
                       std::optional<int> pairedPageNumber)
{
    return ImagePathInfo{path, pageNumber, pairedPageNumber};
}

QByteArray replaced(QByteArray text, const QString& from, const QString& to)
{
    return text.replace(from.toUtf8(), to.toUtf8());
}

} // namespace

// ---- Saving ----

TEST_F(ProjectPersistence, SaveWritesThePrettyDocumentAndLogsItsSize)
{
    populate();
    const QString path = file(QStringLiteral("saved.vnk"));
    LogCapture log;
    ASSERT_TRUE(editor.saveProjectToFileSync(path));

    const QByteArray bytes = readFile(path);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Save] Projekt mentve (JSON): ") + path +
                                       QStringLiteral(" (%1 byte)").arg(bytes.size())});
    EXPECT_TRUE(bytes.contains("\n  \"imagePaths\": ["));
    const std::optional<ProjectJSON> decoded = decodeProject(bytes);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->imagePaths.size(), 2u);
    EXPECT_EQ(decoded->startSilence, 2.0);
    EXPECT_EQ(decoded->transitionDuration, 0.8);
    EXPECT_EQ(decoded->volumeBoost, 100.0);
    EXPECT_EQ(decoded->videoFormat, QStringLiteral("9:16"));
    EXPECT_EQ(decoded->fillColorR, 1.0);
    EXPECT_EQ(decoded->fillColorG, 1.0);
    EXPECT_EQ(decoded->fillColorB, 1.0);
    // Saving an unchanged project again gives the same bytes.
    ASSERT_TRUE(editor.saveProjectToFileSync(file(QStringLiteral("again.vnk"))));
    EXPECT_EQ(readFile(file(QStringLiteral("again.vnk"))), bytes);
}

TEST_F(ProjectPersistence, ProjectWithoutAudioWritesNeitherAudioPath)
{
    populate();
    const QString path = file(QStringLiteral("silent.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(path));
    const QByteArray bytes = readFile(path);
    EXPECT_FALSE(bytes.contains("audioPath"));
    EXPECT_FALSE(bytes.contains("originalAudioPath"));
    EXPECT_TRUE(bytes.startsWith("{\n  \"imagePaths\""));
}

TEST_F(ProjectPersistence, FrameWithoutAPageIsWrittenWithItsRectangleOnly)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.1);
    editor.setStartSilenceDuration(0.0);
    editor.setEndSilenceDuration(0.0);
    ASSERT_TRUE(project.loadAudioAndWait(tone));
    editor.setImages(makePageItems({makePageImage(100, 100, Qt::red)}));
    EditorTestAccess::assignImageWithIndex(editor, editor.images()[0].image(), 1, 0);

    const QString path = file(QStringLiteral("frames.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(path));
    const QByteArray bytes = readFile(path);
    EXPECT_TRUE(bytes.contains(
            "    {\n      \"x\": 0,\n      \"y\": 0,\n      \"w\": 1920,\n      \"h\": 1080\n    }"));
    const std::optional<ProjectJSON> decoded = decodeProject(bytes);
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->frames.size(), 3u);
    EXPECT_FALSE(decoded->frames[0].imageIndex.has_value());
    EXPECT_EQ(decoded->frames[1].imageIndex, 0);
    EXPECT_EQ(decoded->frames[1].w, 1080);
    EXPECT_EQ(decoded->audioPath, editor.audioURL());
    EXPECT_EQ(decoded->originalAudioPath, tone);
}

TEST_F(ProjectPersistence, SaveProjectAsksForADestinationAndShowsTheOverlayUntilTheNextTurn)
{
    populate();
    const QString path = file(QStringLiteral("chosen.vnk"));
    project.dialogs().queueSavePath(path);
    LogCapture log;
    editor.saveProject();

    const std::vector<SaveFileRequest> requests = project.dialogs().saveRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].title, QStringLiteral("Projekt mentése"));
    EXPECT_EQ(requests[0].proposedName, QStringLiteral("project.vnk"));
    ASSERT_EQ(requests[0].allowedTypes.size(), 1u);
    EXPECT_EQ(requests[0].allowedTypes[0].extensions, QStringList{QStringLiteral("vnk")});
    EXPECT_TRUE(requests[0].canCreateDirectories);
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Save] Projekt mentve (JSON): ")).size(), 1);
    EXPECT_TRUE(editor.isSavingProject());
    EXPECT_EQ(editor.savingProgress(), 0.5);

    drainEvents();
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_EQ(editor.savingProgress(), 1.0);
}

TEST_F(ProjectPersistence, SaveTellsOfTheOverlayShownThenOfItsBarAndOfBothAgainWhenItGoes)
{
    populate();
    project.dialogs().queueSavePath(file(QStringLiteral("order.vnk")));
    std::vector<std::string> heard;
    QObject::connect(&editor, &VideoEditorViewModel::isSavingProjectChanged, &editor,
                     [&] { heard.push_back(editor.isSavingProject() ? "shown" : "hidden"); });
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressChanged, &editor,
                     [&] { heard.push_back("progress " + std::to_string(editor.savingProgress())); });
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressTextChanged, &editor,
                     [&] { heard.push_back("text"); });
    editor.saveProject();
    EXPECT_EQ(heard, (std::vector<std::string>{"shown", "progress 0.500000"}));
    drainEvents();
    EXPECT_EQ(heard, (std::vector<std::string>{"shown", "progress 0.500000", "hidden", "progress 1.000000"}));
}

TEST_F(ProjectPersistence, CancelledSaveDoesNothingAndSaveAsAsksAsWell)
{
    populate();
    LogCapture log;
    editor.saveProject();
    editor.saveProjectAs();
    drainEvents();
    EXPECT_EQ(project.dialogs().saveRequests().size(), 2u);
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_EQ(editor.savingProgress(), 0.0);
}

TEST_F(ProjectPersistence, FailedWriteKeepsThePreviousFileIntact)
{
    populate();
    const QString path = file(QStringLiteral("kept.vnk"));
    const QByteArray previous = QByteArrayLiteral("{\"previous\": true}\n");
    ASSERT_FALSE(writeFile(path, previous).isEmpty());

    // A disk that fills up during the write: the process may not write files longer than
    // 16 bytes (this holds for root too), and the signal for that is ignored so the write
    // fails with an error instead.
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = 16;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    LogCapture log;
    const bool written = editor.saveProjectToFileSync(path);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_FALSE(written);
    EXPECT_EQ(readFile(path), previous);
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("[Save] Hiba: "))) << log.lines()[0].toStdString();
    EXPECT_GT(log.lines()[0].size(), QStringLiteral("[Save] Hiba: ").size());
    // Nothing half-written is left beside it.
    EXPECT_EQ(QDir(project.file(QString())).entryList({QStringLiteral("kept.vnk*")}, QDir::Files),
              QStringList{QStringLiteral("kept.vnk")});
}

TEST_F(ProjectPersistence, ANumberThatIsNotFiniteFailsTheSaveAndKeepsThePreviousFile)
{
    populate();
    const QString path = file(QStringLiteral("finite.vnk"));
    const QByteArray previous = QByteArrayLiteral("{\"previous\": true}\n");
    ASSERT_FALSE(writeFile(path, previous).isEmpty());
    for (const double bad :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        editor.setEndSilenceDuration(bad);
        LogCapture log;
        EXPECT_FALSE(editor.saveProjectToFileSync(path));
        EXPECT_EQ(readFile(path), previous);
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("[Save] Hiba: ")))
                << log.lines()[0].toStdString();
        EXPECT_TRUE(log.lines()[0].contains(QStringLiteral("endSilence"))) << log.lines()[0].toStdString();
    }
    editor.setEndSilenceDuration(1.0);
    EXPECT_TRUE(editor.saveProjectToFileSync(path));
    EXPECT_NE(readFile(path), previous);
}

TEST_F(ProjectPersistence, DestinationThatIsAFolderIsReportedAndLeftAlone)
{
    populate();
    const QString path = file(QStringLiteral("folder.vnk"));
    ASSERT_TRUE(QDir().mkpath(path));
    ASSERT_FALSE(writeFile(path + QStringLiteral("/inside.txt"), "keep").isEmpty());
    LogCapture log;
    EXPECT_FALSE(editor.saveProjectToFileSync(path));
    ASSERT_EQ(log.linesStartingWith(QStringLiteral("[Save] Hiba: ")).size(), 1);
    EXPECT_TRUE(QFileInfo(path).isDir());
    EXPECT_EQ(readFile(path + QStringLiteral("/inside.txt")), QByteArrayLiteral("keep"));

    LogCapture missing;
    EXPECT_FALSE(editor.saveProjectToFileSync(file(QStringLiteral("no/such/folder/x.vnk"))));
    EXPECT_EQ(missing.linesStartingWith(QStringLiteral("[Save] Hiba: ")).size(), 1);
}

// ---- Loading: the dialog and bad files ----

TEST_F(ProjectPersistence, LoadDialogAsksForAProjectFileAndLoadsIt)
{
    const QString path = writeProject(QStringLiteral("dialog.vnk"), twoPictureProject());
    project.dialogs().queueOpenPaths({path});
    LogCapture log;
    editor.loadProjectDialog();

    const std::vector<OpenFileRequest> requests = project.dialogs().openRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].title, QStringLiteral("Projekt betöltése"));
    ASSERT_EQ(requests[0].allowedTypes.size(), 1u);
    EXPECT_EQ(requests[0].allowedTypes[0].extensions, QStringList{QStringLiteral("vnk")});
    EXPECT_FALSE(requests[0].allowsMultipleSelection);
    EXPECT_FALSE(requests[0].canChooseDirectories);
    EXPECT_TRUE(requests[0].allowsOtherFileTypes);
    EXPECT_EQ(editor.images().size(), 2u);
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[Load] Projekt betöltés: ") + path,
                                        QStringLiteral("[Load] Projekt betöltve (audio nélkül): 2 kép")}));

    // Cancelling the chooser loads nothing.
    LogCapture cancelled;
    editor.loadProjectDialog();
    EXPECT_TRUE(cancelled.lines().isEmpty());
}

TEST_F(ProjectPersistence, FilesThatAreNotProjectsChangeNothing)
{
    populate();
    ProjectJSON wrong = twoPictureProject();
    QByteArray missingKey = encodeProject(wrong);
    missingKey.replace("\"startSilence\"", "\"startSilenceX\"");
    ProjectJSON oneFrameProject;
    oneFrameProject.frames = {FrameJSON{7, 0, 0, 1, 1}};
    const std::vector<std::pair<QString, QByteArray>> files{
            {QStringLiteral("empty.vnk"), QByteArray()},
            {QStringLiteral("text.vnk"), QByteArrayLiteral("Ez nem JSON.")},
            {QStringLiteral("array.vnk"), QByteArrayLiteral("[1, 2, 3]")},
            {QStringLiteral("shape.vnk"), QByteArrayLiteral("{\"imagePaths\": {}, \"frames\": []}")},
            {QStringLiteral("missing.vnk"), missingKey},
            {QStringLiteral("hugeindex.vnk"),
             replaced(encodeProject(oneFrameProject), QStringLiteral("\"imageIndex\": 7"),
                      QStringLiteral("\"imageIndex\": 99999999999"))},
            {QStringLiteral("truncated.vnk"), encodeProject(wrong).left(40)},
    };
    for (const auto& [name, bytes] : files) {
        const QString path = file(name);
        ASSERT_FALSE(writeFile(path, bytes).isEmpty());
        {
            LogCapture log;
            editor.loadProject(path);
            EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Load] Ismeretlen formátum, skip")})
                    << name.toStdString();
        }
        {
            LogCapture log;
            std::optional<bool> finished;
            const auto connection = QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished,
                                                     [&](bool ok) { finished = ok; });
            editor.loadProjectJSON(path);
            QObject::disconnect(connection);
            EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[Load] Projekt betöltés: ") + path,
                                                QStringLiteral("[Load] Hiba: nem sikerült beolvasni")}))
                    << name.toStdString();
            EXPECT_EQ(finished, false);
        }
        expectPopulated();
    }
    LogCapture log;
    editor.loadProject(file(QStringLiteral("does-not-exist.vnk")));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Load] Ismeretlen formátum, skip")});
    expectPopulated();
}

TEST_F(ProjectPersistence, PageIndicesThatNameNoPageAreNeverUsedAsIndices)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.2);
    ProjectJSON document = twoPictureProject();
    document.imagePaths.pop_back();
    document.startSilence = 0.0;
    document.endSilence = 0.0;
    document.originalAudioPath = tone;
    document.frames = {{-3, 1, 2, 3, 4}, {2147483647, 5, 6, 7, 8}, {5, 0, 0, 10, 10}, {0, 0, 0, 40, 30}};
    const QString path = writeProject(QStringLiteral("indices.vnk"), document);

    ASSERT_TRUE(loadAndWait(path));
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(frames.getFrameCount(), 6);
    EXPECT_FALSE(frames.getFrame(0)->assignedImageIndex.has_value());
    EXPECT_FALSE(frames.getFrame(0)->bgImage.has_value());
    EXPECT_EQ(frames.getFrame(1)->assignedImageIndex, 2147483647);
    EXPECT_FALSE(frames.getFrame(1)->bgImage.has_value());
    EXPECT_EQ(frames.getFrame(2)->assignedImageIndex, 5);
    EXPECT_FALSE(frames.getFrame(2)->bgImage.has_value());
    EXPECT_EQ(frames.getFrame(3)->assignedImageIndex, 0);
    EXPECT_TRUE(frames.getFrame(3)->bgImage.has_value());

    // The rest of the editor copes with such frames.
    for (int64_t frame = 0; frame < 6; ++frame) {
        (void)editor.colorForFrame(frame);
        (void)EditorTestAccess::calculateTransitionInfo(editor, frame);
        EXPECT_TRUE(EditorTestAccess::createSimplePixelBuffer(editor, frame, QSizeF(108, 192)).has_value())
                << frame;
        editor.seekTo(static_cast<double>(frame) / 30.0);
    }
    editor.jumpToNextPage();
    editor.jumpToPreviousPage();
    editor.jumpToLastPage();
    editor.recalculatePlacementsForFormat();
    EXPECT_EQ(frames.getFrame(1)->bgImageWidth, 7);
}

TEST_F(ProjectPersistence, PagesWhoseFilesAreMissingAreDropped)
{
    const QString pdf = file(QStringLiteral("two.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(pdf, 2, QSizeF(100, 150)));
    ProjectJSON document = twoPictureProject();
    document.imagePaths.insert(document.imagePaths.begin() + 1,
                               {pathInfo(file(QStringLiteral("gone.png"))),
                                pathInfo(file(QStringLiteral("gone.pdf")), 1), pathInfo(pdf, 3),
                                pathInfo(pdf, 2, 5), pathInfo(pdf), pathInfo(pdf, 2)});
    const QString path = writeProject(QStringLiteral("missing.vnk"), document);
    LogCapture log;
    editor.loadProjectJSON(path);
    ASSERT_EQ(editor.images().size(), 3u);
    EXPECT_EQ(editor.images()[0].url(), document.imagePaths[0].path);
    EXPECT_EQ(editor.images()[1].url(), pdf);
    EXPECT_EQ(editor.images()[1].pageNumber, 2);
    EXPECT_EQ(editor.images()[2].url(), document.imagePaths.back().path);
    EXPECT_TRUE(log.contains(QStringLiteral("[Load] Projekt betöltve (audio nélkül): 3 kép")));
    EXPECT_EQ(editor.getFrameManager().images().size(), 3);
}

TEST_F(ProjectPersistence, AMillionFramesLoadAndOnlyThoseTheStoreHasAreRestored)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 1.0);
    ProjectJSON document = twoPictureProject();
    document.startSilence = 0.0;
    document.endSilence = 0.0;
    document.originalAudioPath = tone;
    document.frames.assign(1000000, FrameJSON{1, 3, 4, 5, 6});
    const QString path = writeProject(QStringLiteral("million.vnk"), document);
    document.frames.clear();

    LogCapture log;
    ASSERT_TRUE(loadAndWait(path));
    EXPECT_TRUE(log.contains(QStringLiteral("[Load] Projekt betöltve: 2 kép, 1000000 frame")));
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 30);
    for (int64_t frame = 0; frame < 30; ++frame) {
        const auto record = editor.getFrameManager().getFrame(frame);
        EXPECT_EQ(record->assignedImageIndex, 1);
        EXPECT_EQ(record->bgImageWidth, 5);
    }
}

// ---- Loading: settings, pages, audio ----

TEST_F(ProjectPersistence, FileWithoutTransitionAndBoostLoadsTheirDefaults)
{
    editor.setTransitionDuration(2.0);
    editor.setVolumeBoost(300.0);
    ProjectJSON document = twoPictureProject();
    editor.loadProjectJSON(writeProject(QStringLiteral("old.vnk"), document));
    EXPECT_EQ(editor.transitionDuration(), 0.5);
    EXPECT_EQ(editor.volumeBoost(), 100.0);
    EXPECT_EQ(editor.startSilenceDuration(), 1.0);
    EXPECT_EQ(editor.endSilenceDuration(), 2.0);
}

TEST_F(ProjectPersistence, UnknownVideoFormatKeepsTheCurrentOne)
{
    editor.setVideoFormat(VideoFormat::portrait);
    ProjectJSON document = twoPictureProject();
    document.videoFormat = QStringLiteral("4:3");
    editor.loadProjectJSON(writeProject(QStringLiteral("format.vnk"), document));
    EXPECT_EQ(editor.videoFormat(), VideoFormat::portrait);
    EXPECT_EQ(editor.images().size(), 2u);

    document.videoFormat = QStringLiteral("16:9");
    editor.loadProjectJSON(writeProject(QStringLiteral("format2.vnk"), document));
    EXPECT_EQ(editor.videoFormat(), VideoFormat::landscape);
}

TEST_F(ProjectPersistence, FourKIsSavedAfterTheColourAnd1080pLeavesTheKeyOut)
{
    populate();
    const QString hd = file(QStringLiteral("hd.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(hd));
    EXPECT_FALSE(readFile(hd).contains("exportResolution"));

    editor.setExportResolution(ExportResolution::uhd4K);
    const QString uhd = file(QStringLiteral("uhd.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(uhd));
    const QByteArray bytes = readFile(uhd);
    EXPECT_TRUE(bytes.contains("\"fillColorB\": 1.0,\n  \"exportResolution\": \"4K\"\n}"))
            << bytes.toStdString();

    editor.setExportResolution(ExportResolution::hd1080);
    ASSERT_TRUE(loadAndWait(uhd));
    EXPECT_EQ(editor.exportResolution(), ExportResolution::uhd4K);
    ASSERT_TRUE(loadAndWait(hd));
    EXPECT_EQ(editor.exportResolution(), ExportResolution::hd1080);
}

TEST_F(ProjectPersistence, FileWithoutTheResolutionLoadsAs1080pAndAnUnknownOneIsIgnored)
{
    editor.setExportResolution(ExportResolution::uhd4K);
    ProjectJSON document = twoPictureProject();
    editor.loadProjectJSON(writeProject(QStringLiteral("old.vnk"), document));
    EXPECT_EQ(editor.exportResolution(), ExportResolution::hd1080);

    editor.setExportResolution(ExportResolution::uhd4K);
    document.exportResolution = QStringLiteral("8K");
    editor.loadProjectJSON(writeProject(QStringLiteral("future.vnk"), document));
    EXPECT_EQ(editor.exportResolution(), ExportResolution::uhd4K);
    EXPECT_EQ(editor.images().size(), 2u);

    editor.setExportResolution(ExportResolution::hd1080);
    document.exportResolution = QStringLiteral("4K");
    editor.loadProjectJSON(writeProject(QStringLiteral("uhd.vnk"), document));
    EXPECT_EQ(editor.exportResolution(), ExportResolution::uhd4K);
}

TEST_F(ProjectPersistence, ColourIsSetWhenAllThreeComponentsArePresent)
{
    const QColor before = editor.fillColor();
    ProjectJSON document = twoPictureProject();
    document.fillColorR = 0.0;
    document.fillColorG = 0.5;
    editor.loadProjectJSON(writeProject(QStringLiteral("partial.vnk"), document));
    EXPECT_EQ(editor.fillColor(), before);

    document.fillColorB = 1.0;
    editor.loadProjectJSON(writeProject(QStringLiteral("full.vnk"), document));
    EXPECT_EQ(editor.fillColor().rgba64(), QColor::fromRgbF(0.0f, 0.5f, 1.0f).rgba64());
    EXPECT_EQ(editor.getFrameManager().defaultFillColor().rgba64(), editor.fillColor().rgba64());
}

TEST_F(ProjectPersistence, AColourIsSavedWithTheNumbersItWasLoadedWith)
{
    ProjectJSON document = twoPictureProject();
    document.fillColorR = 0.2;
    document.fillColorG = 0.3;
    document.fillColorB = 0.7;
    editor.loadProjectJSON(writeProject(QStringLiteral("colour.vnk"), document));
    const QString saved = file(QStringLiteral("colour-again.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(saved));
    const std::optional<ProjectJSON> again = decodeProject(readFile(saved));
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->fillColorR, 0.2);
    EXPECT_EQ(again->fillColorG, 0.3);
    EXPECT_EQ(again->fillColorB, 0.7);
    EXPECT_TRUE(readFile(saved).contains("\"fillColorR\": 0.2,"));

    // A colour chosen afterwards is written from the colour itself.
    editor.setFillColor(QColor(255, 0, 0));
    ASSERT_TRUE(editor.saveProjectToFileSync(saved));
    const std::optional<ProjectJSON> chosen = decodeProject(readFile(saved));
    ASSERT_TRUE(chosen.has_value());
    EXPECT_EQ(chosen->fillColorR, 1.0);
    EXPECT_EQ(chosen->fillColorG, 0.0);
}

TEST_F(ProjectPersistence, SettingsOutsideTheSheetsRangesAreClampedAndLogged)
{
    ProjectJSON document = twoPictureProject();
    document.startSilence = -1.0;
    document.endSilence = 1e308;
    document.transitionDuration = 1e20;
    document.volumeBoost = 0.0;
    LogCapture log;
    editor.loadProjectJSON(writeProject(QStringLiteral("clamped.vnk"), document));
    EXPECT_EQ(editor.startSilenceDuration(), 0.0);
    EXPECT_EQ(editor.endSilenceDuration(), 10.0);
    EXPECT_EQ(editor.transitionDuration(), 3.0);
    EXPECT_EQ(editor.volumeBoost(), 25.0);
    const QString tail = QStringLiteral(" a megengedett tartományon kívül esik, ");
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Load] Figyelmeztetés: ")),
              (QStringList{QStringLiteral("[Load] Figyelmeztetés: startSilence értéke (-1.0)") + tail +
                                   QStringLiteral("0.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: endSilence értéke (1e+308)") + tail +
                                   QStringLiteral("10.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: transitionDuration értéke (1e+20)") + tail +
                                   QStringLiteral("3.0 lesz helyette"),
                           QStringLiteral("[Load] Figyelmeztetés: volumeBoost értéke (0.0)") + tail +
                                   QStringLiteral("25.0 lesz helyette")}));
}

TEST_F(ProjectPersistence, SavedPdfPairComesBackAsOneMergedPageWithBothNumbers)
{
    const QString pdf = file(QStringLiteral("score.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(pdf, 3, QSizeF(100, 150)));
    project.dialogs().queueQuestionAnswer(1);
    editor.addPDF(pdf);
    ASSERT_EQ(editor.images().size(), 2u);
    const QImage pair = editor.images()[0].image();
    const QString path = file(QStringLiteral("pair.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(path));

    editor.newProject();
    editor.loadProjectJSON(path);
    ASSERT_EQ(editor.images().size(), 2u);
    EXPECT_EQ(editor.images()[0].pageNumber, 1);
    EXPECT_EQ(editor.images()[0].pairedPageNumber, 2);
    EXPECT_EQ(editor.images()[0].image(), pair);
    EXPECT_EQ(editor.images()[0].image().deviceIndependentSize(), QSizeF(200, 150));
    EXPECT_EQ(editor.images()[1].pageNumber, 3);
    EXPECT_FALSE(editor.images()[1].pairedPageNumber.has_value());
}

TEST_F(ProjectPersistence, WithTheAudioMovedAwayOnlyThePagesLoad)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.5);
    ProjectJSON document = twoPictureProject();
    document.originalAudioPath = tone;
    document.audioPath = file(QStringLiteral("rendered.wav"));
    document.frames.assign(30, FrameJSON{0, 0, 0, 10, 10});
    const QString path = writeProject(QStringLiteral("moved.vnk"), document);
    ASSERT_TRUE(QFile::remove(tone));

    LogCapture log;
    editor.loadProjectJSON(path);
    EXPECT_EQ(editor.images().size(), 2u);
    EXPECT_FALSE(editor.isLoadingAudio());
    // Longer than the restore delay: nothing more happens.
    EXPECT_FALSE(waitUntil([&] { return log.lines().size() > 1; }, 1500));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Load] Projekt betöltés: ") + path});
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_FALSE(editor.audioURL().has_value());
}

TEST_F(ProjectPersistence, ProjectSavedWithoutAudioLogsTheNoAudioLine)
{
    LogCapture log;
    const QString path = writeProject(QStringLiteral("noaudio.vnk"), twoPictureProject());
    editor.loadProjectJSON(path);
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[Load] Projekt betöltés: ") + path,
                                        QStringLiteral("[Load] Projekt betöltve (audio nélkül): 2 kép")}));
}

TEST_F(ProjectPersistence, BothPathsLoadTheUsersFileSoSilencesAreNotDoubled)
{
    const QString original = project.writeTone(QStringLiteral("take.wav"), 1.0);
    const QString rendered = project.writeTone(QStringLiteral("audio_with_silence_OLD.wav"), 4.0);
    ProjectJSON document = twoPictureProject();
    document.originalAudioPath = original;
    document.audioPath = rendered;
    ASSERT_TRUE(loadAndWait(writeProject(QStringLiteral("both.vnk"), document)));
    EXPECT_EQ(editor.originalAudioURL(), original);
    EXPECT_EQ(editor.duration(), 4.0); // 1 s start silence + 1 s + 2 s end silence
    ASSERT_TRUE(editor.audioURL().has_value());
    EXPECT_NE(*editor.audioURL(), rendered);

    // Without the user's file the rendered one is loaded.
    document.originalAudioPath.reset();
    ASSERT_TRUE(loadAndWait(writeProject(QStringLiteral("rendered.vnk"), document)));
    EXPECT_EQ(editor.originalAudioURL(), rendered);
    EXPECT_EQ(editor.duration(), 7.0);
}

TEST_F(ProjectPersistence, WindowLoadRestoresTheFramesAFixedSecondAfterStarting)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.2);
    ProjectJSON document = twoPictureProject();
    document.startSilence = 0.0;
    document.endSilence = 0.0;
    document.originalAudioPath = tone;
    document.currentTime = 0.1;
    document.frames.assign(6, FrameJSON{1, 1, 2, 3, 4});
    const QString path = writeProject(QStringLiteral("delay.vnk"), document);

    LogCapture log;
    QElapsedTimer clock;
    clock.start();
    editor.loadProject(path);
    const QString done = QStringLiteral("[Load] Projekt betöltve: 2 kép, 6 frame");
    ASSERT_TRUE(waitUntil([&] { return log.contains(done); }, 30000));
    // A timer may fire a little early, never by a tenth of its interval.
    EXPECT_GE(clock.elapsed(), 900);
    const QStringList lines = log.lines();
    EXPECT_LT(lines.indexOf(QStringLiteral("[Audio] Betöltés kész: 0.2 mp, frame-ek száma: 6")),
              lines.indexOf(done));
    EXPECT_EQ(editor.getFrameManager().getFrame(5)->assignedImageIndex, 1);
    EXPECT_EQ(editor.currentTime(), 0.1);
    EXPECT_FALSE(editor.selectedImageIndex().has_value() && *editor.selectedImageIndex() != 1);
}

TEST_F(ProjectPersistence, APendingRestoreDoesNotReachTheProjectThatReplacedIt)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.2);
    ProjectJSON document = twoPictureProject();
    document.originalAudioPath = tone;
    document.frames.assign(6, FrameJSON{1, 1, 2, 3, 4});
    const QString path = writeProject(QStringLiteral("stale.vnk"), document);
    LogCapture log;
    editor.loadProjectJSON(path);
    editor.newProject();
    // The load's audio still arrives (an audio load is never called off), but past the restore
    // delay no frame has been given the old project's pages.
    EXPECT_FALSE(waitUntil(
            [&] { return !log.linesStartingWith(QStringLiteral("[Load] Projekt betöltve")).isEmpty(); },
            2000));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    for (int64_t frame = 0; frame < editor.getFrameManager().getFrameCount(); ++frame)
        EXPECT_FALSE(editor.getFrameManager().getFrame(frame)->assignedImageIndex.has_value()) << frame;
}

// ---- New project ----

TEST_F(ProjectPersistence, NewProjectEmptiesTheProjectAndKeepsTheSettings)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 0.5);
    ASSERT_TRUE(project.loadAudioAndWait(tone));
    populate();
    editor.setVolumeBoost(150.0);
    editor.setSelectedImageIndices({0, 1});
    editor.startRecording();
    ASSERT_TRUE(editor.isRecording());

    LogCapture log;
    editor.newProject();
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[New] Új projekt létrehozva")});
    EXPECT_TRUE(editor.images().empty());
    EXPECT_FALSE(editor.audioURL().has_value());
    EXPECT_FALSE(editor.originalAudioURL().has_value());
    EXPECT_EQ(editor.currentTime(), 0.0);
    EXPECT_EQ(editor.duration(), 0.0);
    EXPECT_TRUE(editor.waveformData().empty());
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_EQ(editor.startSilenceDuration(), 2.0);
    EXPECT_EQ(editor.transitionDuration(), 0.8);
    EXPECT_EQ(editor.volumeBoost(), 150.0);
    EXPECT_EQ(editor.videoFormat(), VideoFormat::portrait);

    // Nothing is left to autosave, and applying new silences has no recording to rebuild.
    LogCapture after;
    editor.autoSaveProject();
    editor.reloadAudioWithNewSilence();
    EXPECT_EQ(after.lines(),
              (QStringList{QStringLiteral("[AutoSave] Nincs mit menteni"),
                           QStringLiteral("[Audio] Nincs eredeti audio URL az újratöltéshez")}));
}

// ---- Autosave and autoload ----

TEST_F(ProjectPersistence, AutoSavePathIsInTheDataFolderWhichIsCreated)
{
    ASSERT_FALSE(QFileInfo::exists(project.dataDirectory()));
    EXPECT_EQ(editor.getAutoSavePath(), project.dataDirectory() + QStringLiteral("/autosave.vnk"));
    EXPECT_TRUE(QFileInfo(project.dataDirectory()).isDir());
}

TEST_F(ProjectPersistence, TwoChangesOneSecondApartGiveOneAutosaveTwoSecondsAfterTheSecond)
{
    populate();
    LogCapture log;
    const QString line = QStringLiteral("[AutoSave] Mentés ide: ") + editor.getAutoSavePath();
    const auto saves = [&] { return log.lines().count(line); };
    QElapsedTimer clock;
    clock.start();
    editor.scheduleAutoSave();
    EXPECT_FALSE(waitUntil([&] { return saves() > 0; }, 1000));
    const qint64 secondRequest = clock.elapsed();
    editor.scheduleAutoSave();
    ASSERT_TRUE(waitUntil([&] { return saves() > 0; }, 15000));
    const qint64 savedAt = clock.elapsed();
    EXPECT_GE(savedAt - secondRequest, 1900);
    EXPECT_GE(savedAt, 2900);
    // And no second save follows.
    EXPECT_FALSE(waitUntil([&] { return saves() > 1; }, 2500));
    EXPECT_EQ(saves(), 1);
    EXPECT_TRUE(
            log.linesStartingWith(QStringLiteral("[Save] Projekt mentve (JSON): ") + editor.getAutoSavePath())
                    .size() == 1);
    EXPECT_TRUE(decodeProject(readFile(editor.getAutoSavePath())).has_value());
}

TEST_F(ProjectPersistence, EmptyProjectIsNeverAutosavedAndTheEarlierFileStays)
{
    const QString path = editor.getAutoSavePath();
    const QByteArray earlier = encodeProject(twoPictureProject());
    ASSERT_FALSE(writeFile(path, earlier).isEmpty());
    LogCapture log;
    editor.autoSaveProject();
    editor.scheduleAutoSave();
    ASSERT_TRUE(waitUntil([&] { return log.lines().size() >= 2; }, 15000));
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[AutoSave] Nincs mit menteni"),
                                        QStringLiteral("[AutoSave] Nincs mit menteni")}));
    EXPECT_EQ(readFile(path), earlier);
}

TEST_F(ProjectPersistence, AutoLoadReadsTheAutosaveWhenThereIsOne)
{
    {
        LogCapture log;
        editor.autoLoadProject();
        EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[AutoLoad] Nincs mentett projekt")});
    }
    populate();
    editor.autoSaveProject();
    editor.newProject();
    LogCapture log;
    editor.autoLoadProject();
    const QString path = editor.getAutoSavePath();
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[AutoLoad] Betöltés innen: ") + path,
                                        QStringLiteral("[Load] Projekt betöltés: ") + path,
                                        QStringLiteral("[Load] Projekt betöltve (audio nélkül): 0 kép")}));
    // The made-up page files do not exist; the settings came back.
    EXPECT_EQ(editor.startSilenceDuration(), 2.0);
    EXPECT_EQ(editor.videoFormat(), VideoFormat::portrait);
}

// ---- The whole round trip ----

TEST_F(ProjectPersistence, RoundTripRestoresTheSameProject)
{
    const QString tone = project.writeTone(QStringLiteral("tone.wav"), 2.0);
    const QString pdf = file(QStringLiteral("score.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(pdf, 3, QSizeF(120, 160)));
    editor.addImage(project.writePng(QStringLiteral("a.png"), 800, 600, Qt::red));
    editor.addImage(project.writePng(QStringLiteral("b.png"), 600, 800, Qt::blue));
    project.dialogs().queueQuestionAnswer(0);
    editor.addPDF(pdf);
    project.dialogs().queueQuestionAnswer(1);
    editor.addPDF(pdf);
    ASSERT_EQ(editor.images().size(), 7u);

    editor.setStartSilenceDuration(1.0);
    editor.setEndSilenceDuration(1.0);
    editor.setTransitionDuration(1.2);
    editor.setVolumeBoost(150.0);
    editor.setVideoFormat(VideoFormat::portrait);
    const QColor colour = QColor::fromRgbF(0.2f, 0.4f, 0.6f);
    editor.setFillColor(colour);
    editor.updateFillColor(colour);
    ASSERT_TRUE(project.loadAudioAndWait(tone));
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 120);
    const int pages[] = {0, 5, 2, 6};
    for (int64_t frame = 0; frame < 100; ++frame) {
        const int page = pages[frame / 25];
        EditorTestAccess::assignImageWithIndex(editor, editor.images()[static_cast<size_t>(page)].image(),
                                               frame, page);
    }
    editor.seekTo(2.5);

    const std::vector<ImageItem> imagesBefore = editor.images();
    std::vector<std::shared_ptr<FrameData>> framesBefore;
    for (int64_t frame = 0; frame < 120; ++frame)
        framesBefore.push_back(std::make_shared<FrameData>(*editor.getFrameManager().getFrame(frame)));
    const QString firstAudio = *editor.audioURL();
    const QString path = file(QStringLiteral("round.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(path));
    const QByteArray first = readFile(path);

    editor.newProject();
    editor.setTransitionDuration(0.5);
    editor.setVolumeBoost(100.0);
    editor.setVideoFormat(VideoFormat::landscape);
    editor.setFillColor(Qt::white);
    editor.updateFillColor(Qt::white);
    ASSERT_TRUE(loadAndWait(path));

    EXPECT_EQ(editor.startSilenceDuration(), 1.0);
    EXPECT_EQ(editor.endSilenceDuration(), 1.0);
    EXPECT_EQ(editor.transitionDuration(), 1.2);
    EXPECT_EQ(editor.volumeBoost(), 150.0);
    EXPECT_EQ(editor.videoFormat(), VideoFormat::portrait);
    EXPECT_EQ(editor.fillColor().rgba64(), colour.rgba64());
    EXPECT_EQ(editor.originalAudioURL(), tone);
    EXPECT_EQ(editor.duration(), 4.0);
    EXPECT_EQ(editor.currentTime(), 2.5);

    ASSERT_EQ(editor.images().size(), imagesBefore.size());
    for (size_t i = 0; i < imagesBefore.size(); ++i) {
        const ImageItem& before = imagesBefore[i];
        const ImageItem& after = editor.images()[i];
        EXPECT_EQ(after.url(), before.url()) << i;
        EXPECT_EQ(after.pageNumber, before.pageNumber) << i;
        EXPECT_EQ(after.pairedPageNumber, before.pairedPageNumber) << i;
        EXPECT_EQ(after.image(), before.image()) << i;
        EXPECT_EQ(after.image().devicePixelRatio(), before.image().devicePixelRatio()) << i;
        EXPECT_NE(after.id(), before.id()) << i;
    }
    ASSERT_EQ(editor.getFrameManager().getFrameCount(), 120);
    for (int64_t frame = 0; frame < 120; ++frame) {
        const FrameData& before = *framesBefore[static_cast<size_t>(frame)];
        const FrameData& after = *editor.getFrameManager().getFrame(frame);
        EXPECT_EQ(after.assignedImageIndex, before.assignedImageIndex) << frame;
        EXPECT_EQ(after.bgImageX, before.bgImageX) << frame;
        EXPECT_EQ(after.bgImageY, before.bgImageY) << frame;
        EXPECT_EQ(after.bgImageWidth, before.bgImageWidth) << frame;
        EXPECT_EQ(after.bgImageHeight, before.bgImageHeight) << frame;
        EXPECT_EQ(after.bgImage.has_value(), before.bgImage.has_value()) << frame;
        if (after.bgImage && before.bgImage) {
            EXPECT_EQ(*after.bgImage, *before.bgImage) << frame;
        }
        EXPECT_EQ(after.bgColor.rgba64(), before.bgColor.rgba64()) << frame;
        EXPECT_EQ(after.audioDatas, before.audioDatas) << frame;
    }

    // Saved again, the file is the same text; only the rendered audio has a new name.
    const QString secondAudio = *editor.audioURL();
    EXPECT_NE(secondAudio, firstAudio);
    const QString second = file(QStringLiteral("round2.vnk"));
    ASSERT_TRUE(editor.saveProjectToFileSync(second));
    EXPECT_EQ(readFile(second), replaced(first, firstAudio, secondAudio));
}

TEST_F(ProjectPersistence, LoadingEndsARecordingInProgress)
{
    ASSERT_TRUE(project.loadAudioAndWait(project.writeTone(QStringLiteral("tone.wav"), 0.2)));
    populate();
    editor.startRecording();
    ASSERT_TRUE(editor.isRecording());
    editor.loadProjectJSON(writeProject(QStringLiteral("other.vnk"), twoPictureProject()));
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_EQ(editor.audioPlayer(), nullptr);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_TRUE(editor.selectedImageIndices().empty());
}
