// The editor's project-file members: saving through the save chooser, the atomic write,
// loading (pages, settings, recording, then the frames), a new project, and the autosave
// with its two-second debounce. Main thread; the only background part is the audio load
// that a project load starts.
#include "editor/VideoEditorViewModel.h"
#include "project/ProjectFileReading.h"
#include "project/ProjectFormat.h"
#include "project/ProjectMapping.h"
#include "project/ProjectPages.h"
#include "support/Dialogs.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>
#include <QStandardPaths>

#include <memory>

namespace {

// The window restores the frames this long after the audio load started; a short recording
// has finished loading by then.
constexpr int kFrameRestoreDelayMs = 1000;

const QString kProjectExtension = QStringLiteral("vnk");

FileType projectFileType()
{
    return FileType{QStringLiteral("Vornik projekt"), {kProjectExtension}};
}

// Unbuffered, so that a write the disk cut short is seen here: through a buffer, a partly
// written flush would pass for success and a truncated file would replace the good one.
bool writeAll(QSaveFile& file, const QByteArray& bytes)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const qint64 written = file.write(bytes.constData() + done, bytes.size() - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

} // namespace

void VideoEditorViewModel::saveProject()
{
    if (!m_environment.dialogs)
        return;
    const SaveFileRequest request{QStringLiteral("Projekt mentése"),
                                  QStringLiteral("project.vnk"),
                                  QString(),
                                  {projectFileType()},
                                  true};
    m_environment.dialogs->chooseSaveFile(request, [editor = QPointer(this)](std::optional<QString> path) {
        if (!editor || !path)
            return;
        editor->setIsSavingProject(true);
        editor->setSavingProgress(0.5);
        editor->saveProjectToFileSync(*path);
        // The overlay goes away in a later turn of the event loop, after it had a chance to show.
        QMetaObject::invokeMethod(
                editor.data(),
                [editor] {
                    if (!editor)
                        return;
                    editor->setIsSavingProject(false);
                    editor->setSavingProgress(1.0);
                },
                Qt::QueuedConnection);
    });
}

void VideoEditorViewModel::saveProjectAs()
{
    saveProject();
}

bool VideoEditorViewModel::saveProjectToFileSync(const QString& destURL)
{
    ProjectJSON project;
    project.audioPath = m_audioURL;
    project.originalAudioPath = m_originalAudioURL;
    project.imagePaths = imagePathsToJSON(m_images);
    project.frames = framesToJSON(m_frameManager);
    project.duration = m_duration;
    project.currentTime = m_currentTime;
    project.startSilence = m_startSilenceDuration;
    project.endSilence = m_endSilenceDuration;
    project.transitionDuration = m_transitionDuration;
    project.volumeBoost = m_volumeBoost;
    project.videoFormat = rawValue(m_videoFormat);
    putFillColor(project, m_fillColor);
    const QByteArray bytes = encodeProject(project);

    // Written beside the destination and renamed over it only when complete: a crash or a
    // full disk in the middle leaves the previous file whole.
    QSaveFile file(destURL);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || !writeAll(file, bytes) ||
        !file.commit()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        logLine(QStringLiteral("[Save] Hiba: ") + reason);
        return false;
    }
    logLine(QStringLiteral("[Save] Projekt mentve (JSON): ") + destURL + QStringLiteral(" (") +
            QString::number(bytes.size()) + QStringLiteral(" byte)"));
    return true;
}

void VideoEditorViewModel::loadProjectDialog()
{
    if (!m_environment.dialogs)
        return;
    const OpenFileRequest request{
            QStringLiteral("Projekt betöltése"), QString(), {projectFileType()}, false, false, true};
    m_environment.dialogs->chooseOpenFiles(request, [editor = QPointer(this)](const QStringList& paths) {
        if (editor && !paths.isEmpty())
            editor->loadProject(paths.first());
    });
}

void VideoEditorViewModel::loadProject(const QString& url)
{
    const ProjectFileRead read = readProjectFile(url);
    if (!read.project) {
        logLine(read.failure == ProjectDecodeFailure::tooLarge
                        ? projectTooLargeLogLine(read)
                        : QStringLiteral("[Load] Ismeretlen formátum, skip"));
        return;
    }
    loadProjectJSON(url);
}

void VideoEditorViewModel::loadProjectJSON(const QString& url, FrameRestore restore)
{
    logLine(QStringLiteral("[Load] Projekt betöltés: ") + url);
    ProjectFileRead read = readProjectFile(url);
    if (!read.project) {
        logLine(read.failure == ProjectDecodeFailure::tooLarge
                        ? projectTooLargeLogLine(read)
                        : QStringLiteral("[Load] Hiba: nem sikerült beolvasni"));
        emit projectLoadFinished(false);
        return;
    }
    const auto project = std::make_shared<const ProjectJSON>(std::move(*read.project));
    const uint64_t generation = ++m_projectGeneration;

    // The old project goes: playback, pages, recording, position, waveform and frames. A
    // recording in progress ends too: it would write the old pages into the new frames.
    pause();
    if (m_isRecording)
        setIsRecording(false);
    cancelAudioJobs();
    setImages({});
    updateFrameManagerImages();
    setAudioURL(std::nullopt);
    adoptRenderedAudio(nullptr);
    setOriginalAudioURL(std::nullopt);
    m_audioPlayer.reset();
    setDuration(0.0);
    setCurrentTime(0.0);
    setWaveformData({});
    m_frameManager.clear();
    setSelectedImageIndices({});

    const ProjectSettings settings = projectSettings(*project);
    setStartSilenceDuration(settings.startSilence);
    setEndSilenceDuration(settings.endSilence);
    setTransitionDuration(settings.transitionDuration);
    setVolumeBoost(settings.volumeBoost);
    if (settings.videoFormat)
        setVideoFormat(*settings.videoFormat);
    if (settings.fillColor) {
        setFillColor(*settings.fillColor);
        // The frames made by the audio load take the store's default colour.
        updateFillColor(*settings.fillColor);
    }

    setImages(rebuildProjectPages(project->imagePaths));
    updateFrameManagerImages();

    const std::optional<QString> audioPath = projectAudioPath(*project);
    if (!audioPath) {
        logLine(QStringLiteral("[Load] Projekt betöltve (audio nélkül): ") +
                QString::number(m_images.size()) + QStringLiteral(" kép"));
        setSelectedImageIndex(std::nullopt);
        emit projectLoadFinished(true);
        return;
    }
    if (!QFileInfo(*audioPath).isFile()) {
        // A recording that was moved away: the project opens with its pages only.
        setSelectedImageIndex(std::nullopt);
        emit projectLoadFinished(true);
        return;
    }

    loadAudio(*audioPath);
    const auto restoreIfCurrent = [this, project, generation] {
        if (generation == m_projectGeneration)
            restoreProjectFrames(*project);
    };
    if (restore == FrameRestore::afterFixedDelay) {
        QTimer::singleShot(kFrameRestoreDelayMs, this, restoreIfCurrent);
    } else {
        connect(
                this, &VideoEditorViewModel::audioLoadFinished, this,
                [restoreIfCurrent](bool) { restoreIfCurrent(); }, Qt::SingleShotConnection);
    }
    setSelectedImageIndex(std::nullopt);
}

void VideoEditorViewModel::restoreProjectFrames(const ProjectJSON& project)
{
    restoreFrames(m_frameManager, project.frames, m_images);
    announceChange();
    seekTo(project.currentTime);
    logLine(QStringLiteral("[Load] Projekt betöltve: ") + QString::number(m_images.size()) +
            QStringLiteral(" kép, ") + QString::number(project.frames.size()) + QStringLiteral(" frame"));
    emit projectLoadFinished(true);
}

void VideoEditorViewModel::newProject()
{
    ++m_projectGeneration;
    pause();
    cancelAudioJobs();
    setImages({});
    updateFrameManagerImages();
    setAudioURL(std::nullopt);
    adoptRenderedAudio(nullptr);
    // The user's file goes too, so that applying new silences cannot bring it back.
    setOriginalAudioURL(std::nullopt);
    m_audioPlayer.reset();
    setCurrentTime(0.0);
    setDuration(0.0);
    setWaveformData({});
    m_frameManager.clear();
    setIsRecording(false);
    setSelectedImageIndex(std::nullopt);
    setSelectedImageIndices({});
    logLine(QStringLiteral("[New] Új projekt létrehozva"));
}

QString VideoEditorViewModel::getAutoSavePath() const
{
    QString folder = m_environment.dataDirectory;
    if (folder.isEmpty()) {
        const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        if (base.isEmpty())
            qFatal("Nincs felhasználói adatkönyvtár az automatikus mentéshez");
        folder = base + QStringLiteral("/Vornik");
    }
    // A folder that cannot be made shows up as a failed save, which is logged there.
    (void)QDir().mkpath(folder);
    return QDir(folder).filePath(QStringLiteral("autosave.vnk"));
}

void VideoEditorViewModel::autoSaveProject()
{
    if (!m_audioURL && m_images.empty()) {
        logLine(QStringLiteral("[AutoSave] Nincs mit menteni"));
        return;
    }
    const QString path = getAutoSavePath();
    logLine(QStringLiteral("[AutoSave] Mentés ide: ") + path);
    saveProjectToFileSync(path);
}

void VideoEditorViewModel::autoLoadProject()
{
    const QString path = getAutoSavePath();
    if (!QFileInfo::exists(path)) {
        logLine(QStringLiteral("[AutoLoad] Nincs mentett projekt"));
        return;
    }
    logLine(QStringLiteral("[AutoLoad] Betöltés innen: ") + path);
    loadProjectJSON(path);
}
