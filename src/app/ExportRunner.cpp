#include "app/ExportRunner.h"

#include "app/StderrDialogs.h"
#include "app/TestHooks.h"
#include "audio/AudioPlayer.h"
#include "audio/DefaultAudioPlayerFactory.h"
#include "editor/VideoEditorViewModel.h"
#include "project/DemoProject.h"
#include "project/ProjectFormat.h"
#include "project/ProjectMapping.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>
#include <new>

namespace {

// Runs the event loop until `done` is true.
void waitFor(const bool& done)
{
    while (!done)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
}

// The percentage at the start of the progress text ("40%\n100/250 frame" gives 40).
int percentOf(const QString& progressText)
{
    const qsizetype sign = progressText.indexOf(QLatin1Char('%'));
    bool ok = false;
    const int percent = sign > 0 ? progressText.left(sign).toInt(&ok) : 0;
    return ok ? percent : -1;
}

void printReasons(const QStringList& reasons)
{
    for (const QString& line : reasons)
        printErrorLine(line);
}

int exportProject(const CommandLineOptions& options);

} // namespace

int runExportMode(const CommandLineOptions& options)
{
    // Whatever goes wrong ends in a reason on standard error and exit code 1.
    try {
        return exportProject(options);
    } catch (const std::bad_alloc&) {
        printErrorLine(QStringLiteral("Hiba: elfogyott a memória az exportálás közben"));
    } catch (const std::exception& exception) {
        printErrorLine(QStringLiteral("Hiba: váratlan hiba az exportálás közben: %1")
                               .arg(QString::fromLocal8Bit(exception.what())));
    }
    return 1;
}

namespace {

int exportProject(const CommandLineOptions& options)
{
    const QString projectPath = QFileInfo(options.projectPath).absoluteFilePath();
    QFile file(projectPath);
    if (!file.open(QIODevice::ReadOnly)) {
        printErrorLine(QStringLiteral("Hiba: a projektfájl nem nyitható meg: %1 (%2)")
                               .arg(projectPath, file.errorString()));
        return 1;
    }
    QString reason;
    const std::optional<ProjectJSON> project = decodeProject(file.readAll(), &reason);
    if (!project) {
        printErrorLine(QStringLiteral("Hiba: a fájl nem olvasható Vornik projektként: %1 (%2)")
                               .arg(projectPath, reason));
        return 1;
    }
    const std::optional<QString> audioPath =
            project->originalAudioPath ? project->originalAudioPath : project->audioPath;
    if (!audioPath) {
        printErrorLine(QStringLiteral("Hiba: a projektnek nincs hangfelvétele, így nincs mit exportálni: %1")
                               .arg(projectPath));
        return 1;
    }
    if (!QFileInfo(*audioPath).isFile()) {
        // The window's warning, then why nothing can be exported.
        printErrorLine(missingRecordingTitle() + QStringLiteral(" ") + missingRecordingText(*audioPath));
        printErrorLine(QStringLiteral("Hiba: a projekt hangfelvétele nem található: %1").arg(*audioPath));
        return 1;
    }

    // The export never touches the user's autosave: the editor's data folder is a scratch one.
    QTemporaryDir scratch;
    StderrDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    environment.dataDirectory = scratch.path();
    environment.faultHook = faultHookFromEnvironment();
    environment.audioPlayerFactory = clockAudioPlayerFactory();
    VideoEditorViewModel editor(environment);
    // Why a load or the export failed, as the editor tells it (the log on standard output
    // has the same lines among the others).
    QStringList reasons;
    const auto keepReason = [&reasons](const QString& line) { reasons.append(line); };
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFailed, &editor, keepReason);
    QObject::connect(&editor, &VideoEditorViewModel::exportFailed, &editor, keepReason);

    bool audioLoaded = false;
    bool projectLoaded = false;
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, &editor,
                     [&audioLoaded](bool succeeded) { audioLoaded = succeeded; });
    QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished, &editor,
                     [&projectLoaded](bool) { projectLoaded = true; });
    editor.loadProjectJSON(projectPath, VideoEditorViewModel::FrameRestore::whenAudioLoaded);
    waitFor(projectLoaded);
    if (!audioLoaded || !editor.audioURL()) {
        printErrorLine(QStringLiteral("Hiba: a projekt hangfelvétele nem tölthető be: %1").arg(*audioPath));
        printReasons(reasons);
        return 1;
    }

    editor.setExportFPS(options.exportFps);
    if (options.exportResolution)
        editor.setExportResolution(*options.exportResolution);
    int lastReported = -1;
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressTextChanged, &editor, [&] {
        const int percent = percentOf(editor.savingProgressText());
        if (percent >= 0 && percent / 10 > lastReported / 10) {
            lastReported = percent;
            printErrorLine(QStringLiteral("Exportálás: %1%").arg(percent));
        }
    });
    bool finished = false;
    QObject::connect(&dialogs, &StderrDialogs::alertShown, &dialogs, [&finished] { finished = true; });
    editor.exportVideoFile(QFileInfo(options.outputPath).absoluteFilePath());
    waitFor(finished);
    // The alert is on standard error already; a failure adds the log's reasons after it.
    const AlertStyle style = dialogs.lastAlert() ? dialogs.lastAlert()->style : AlertStyle::critical;
    if (style != AlertStyle::informational)
        printReasons(reasons);
    return style == AlertStyle::informational ? 0 : style == AlertStyle::warning ? 2 : 1;
}

} // namespace

int runDemoMode(const CommandLineOptions& options)
{
    QString error;
    const std::optional<DemoProject> demo = writeDemoProject(options.demoDirectory, &error);
    if (!demo) {
        printErrorLine(QStringLiteral("Hiba: a bemutató projekt nem írható ide: %1 (%2)")
                               .arg(options.demoDirectory, error));
        return 1;
    }
    std::printf("%s\n", demo->projectPath.toLocal8Bit().constData());
    return 0;
}
