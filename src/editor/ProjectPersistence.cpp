// The editor's project-file members: saving through the save chooser, the atomic write,
// loading (pages, settings, recording, then the frames), a new project, and the autosave
// with its two-second debounce. Main thread; the only background part is the audio load
// that a project load starts. A project's frames are never given up: they wait for its
// recording to load, and while the recording is missing they are saved back as loaded.
#include "audio/AudioPlayer.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
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
#include <QTimer>

#include <memory>

namespace {

// The window restores the frames no sooner than this after the audio load started, and never
// before the recording has loaded.
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
        editor->publishProgress(editor->m_exportProgress.begin(0.5));
        editor->saveProjectToFileSync(*path);
        // The overlay goes away in a later turn of the event loop, after it had a chance to show.
        QMetaObject::invokeMethod(
                editor.data(),
                [editor] {
                    if (!editor)
                        return;
                    editor->publishProgress(editor->m_exportProgress.finish(1.0));
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
    project.imagePaths = imagePathsToJSON(m_pages.pages());
    // While a loaded project's frames wait for its recording (still loading, or missing), the
    // file gets them, with the recording they belong to, as they were loaded.
    const ProjectJSON* waiting = m_keptRecording    ? m_keptRecording.get()
                                 : m_pendingRestore ? m_pendingRestore->project.get()
                                                    : nullptr;
    if (waiting) {
        project.audioPath = waiting->audioPath;
        project.originalAudioPath = waiting->originalAudioPath;
        project.frames = waiting->frames;
        project.duration = waiting->duration;
        project.currentTime = waiting->currentTime;
    } else {
        project.audioPath = m_audioURL;
        project.originalAudioPath = m_audio.originalURL();
        project.frames = framesToJSON(*m_frameManager);
        project.duration = m_duration;
        project.currentTime = m_currentTime;
    }
    project.startSilence = m_startSilenceDuration;
    project.endSilence = m_endSilenceDuration;
    project.transitionDuration = m_transitionDuration;
    project.volumeBoost = m_volumeBoost;
    project.videoFormat = rawValue(m_videoFormat);
    putFillColor(project, m_fillColorComponents);
    project.exportResolution = exportResolutionToJSON(m_exportResolution);
    // Such a file could not be opened again; the previous one is kept instead.
    if (const std::optional<QString> reason = nonFiniteMember(project)) {
        logLine(QStringLiteral("[Save] Hiba: ") + *reason);
        return false;
    }
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
    // What an earlier project kept or still waited for goes with it.
    m_pendingRestore.reset();
    m_keptRecording.reset();

    // The old project goes: playback, pages, recording, position, waveform and frames. A
    // recording in progress ends too: it would write the old pages into the new frames.
    pause();
    if (m_isRecording)
        setIsRecording(false);
    cancelAudioJobs();
    setImages({});
    updateFrameManagerImages();
    setAudioURL(std::nullopt);
    m_audio.forgetRecording();
    m_playback.setPlayer(nullptr);
    setDuration(0.0);
    setCurrentTime(0.0);
    setWaveformData({});
    m_frameManager->clear();
    emit framesChanged();
    setSelectedImageIndices({});

    const ProjectSettings settings = projectSettings(*project);
    for (const QString& warning : settings.warnings)
        logLine(warning);
    setStartSilenceDuration(settings.startSilence);
    setEndSilenceDuration(settings.endSilence);
    setTransitionDuration(settings.transitionDuration);
    setVolumeBoost(settings.volumeBoost);
    if (settings.videoFormat)
        setVideoFormat(*settings.videoFormat);
    if (settings.exportResolution)
        setExportResolution(*settings.exportResolution);
    if (settings.fillColor) {
        setFillColorComponents(*settings.fillColor);
        // The frames made by the audio load take the store's default colour.
        updateFillColor(m_fillColor);
    }

    setImages(rebuildProjectPages(project->imagePaths));
    updateFrameManagerImages();

    const std::optional<QString> audioPath = projectAudioPath(*project);
    if (!audioPath) {
        logLine(QStringLiteral("[Load] Projekt betöltve (audio nélkül): ") + QString::number(m_pages.size()) +
                QStringLiteral(" kép"));
        setSelectedImageIndex(std::nullopt);
        emit projectLoadFinished(true);
        return;
    }
    if (!QFileInfo::exists(*audioPath)) {
        // A recording that was moved away: the project opens with its pages, and its frames
        // wait for the recording to be loaded again.
        setSelectedImageIndex(std::nullopt);
        keepMissingRecording(project);
        emit projectLoadFinished(true);
        return;
    }

    // From here until the frames are back no autosave is written: it would replace the
    // user's page turns with the empty frames of a recording still loading.
    m_pendingRestore =
            PendingProjectRestore{project, generation, restore == FrameRestore::whenAudioLoaded, false};
    loadAudio(*audioPath);
    if (restore == FrameRestore::afterFixedDelay) {
        QTimer::singleShot(kFrameRestoreDelayMs, this, [this, generation] {
            if (!m_pendingRestore || m_pendingRestore->generation != generation)
                return;
            m_pendingRestore->delayPassed = true;
            finishProjectRestoreWhenReady();
        });
    }
    setSelectedImageIndex(std::nullopt);
}

void VideoEditorViewModel::handleRecordingLoadFinished(bool succeeded)
{
    if (m_pendingRestore) {
        if (succeeded) {
            m_pendingRestore->recordingLoaded = true;
            finishProjectRestoreWhenReady();
            return;
        }
        // The recording would not load: nothing is restored or logged, and the frames wait
        // for the user to load the recording again, as when it is missing.
        const std::shared_ptr<const ProjectJSON> project = m_pendingRestore->project;
        endProjectRestore();
        keepMissingRecording(project);
        emit projectLoadFinished(true);
        return;
    }
    if (succeeded && m_keptRecording) {
        // The recording the project was missing (or another the user chose) takes the kept
        // page turns, as a project load would have given them.
        const std::shared_ptr<const ProjectJSON> kept = std::move(m_keptRecording);
        m_keptRecording.reset();
        restoreProjectFrames(*kept);
    }
}

void VideoEditorViewModel::finishProjectRestoreWhenReady()
{
    if (!m_pendingRestore || !m_pendingRestore->delayPassed || !m_pendingRestore->recordingLoaded)
        return;
    const std::shared_ptr<const ProjectJSON> project = m_pendingRestore->project;
    // The wait ends before the restore so that saves from here on write the restored frames.
    m_pendingRestore.reset();
    restoreProjectFrames(*project);
    endProjectRestore();
    emit projectLoadFinished(true);
}

void VideoEditorViewModel::endProjectRestore()
{
    m_pendingRestore.reset();
    if (m_autoSaveDeferred) {
        m_autoSaveDeferred = false;
        scheduleAutoSave();
    }
}

void VideoEditorViewModel::keepMissingRecording(std::shared_ptr<const ProjectJSON> project)
{
    const QString path = projectAudioPath(*project).value_or(QString());
    m_keptRecording = std::move(project);
    if (m_environment.dialogs) {
        m_environment.dialogs->alert(AlertStyle::warning, missingRecordingTitle(),
                                     missingRecordingText(path));
    }
}

void VideoEditorViewModel::restoreProjectFrames(const ProjectJSON& project)
{
    restoreFrames(*m_frameManager, project.frames, m_pages.pages());
    announceChange();
    seekTo(restoredPosition(project.currentTime, m_duration));
    logLine(QStringLiteral("[Load] Projekt betöltve: ") + QString::number(m_pages.size()) +
            QStringLiteral(" kép, ") + QString::number(project.frames.size()) + QStringLiteral(" frame"));
}

void VideoEditorViewModel::newProject()
{
    ++m_projectGeneration;
    // The frames a loaded project kept or still waited for go with it.
    m_pendingRestore.reset();
    m_keptRecording.reset();
    m_autoSaveDeferred = false;
    pause();
    cancelAudioJobs();
    setImages({});
    updateFrameManagerImages();
    setAudioURL(std::nullopt);
    // The user's file goes with the rendered one, so that applying new silences cannot bring
    // it back.
    m_audio.forgetRecording();
    m_playback.setPlayer(nullptr);
    setCurrentTime(0.0);
    setDuration(0.0);
    setWaveformData({});
    m_frameManager->clear();
    emit framesChanged();
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
    if (m_pendingRestore) {
        // Written once the loading project's frames are back.
        m_autoSaveDeferred = true;
        return;
    }
    if (!m_audioURL && m_pages.empty() && !m_keptRecording) {
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
