// Project files: the decoder, the encoder's round trip, and the editor's own load of the
// decoded project (settings, pages rebuilt from their files, frames restored, the saved
// position sought).
//
// A project names files anywhere on disk. So that the fuzzer cannot wander through the
// file system, every path is pointed into a folder made at start: a name ending in ".pdf" at
// a small three-page PDF, a picture name at a small PNG, anything else at a file that does
// not exist. The page numbers, pairs, frames and settings stay as the input has them. A
// project that names a recording gets a tiny one (a fifth of a second at 8 kHz), so that the
// audio load runs with the settings as decoded: silences, boost, then the frames restored
// into the store the load made and the saved position sought. Without one, the frames are
// restored into a store of a length that follows the input instead.
#include "FuzzSupport.h"

#include "audio/DefaultAudioPlayerFactory.h"
#include "audio/FloatWavWriter.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "project/ProjectFormat.h"
#include "project/ProjectMapping.h"
#include "tests/support/EditorTestAccess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QThreadPool>

#include <algorithm>
#include <cmath>

namespace {

QTemporaryDir* workFolder = nullptr;
QString pdfPath;
QString picturePath;
QString missingPath;
QString recordingPath;

constexpr size_t kMaxFrames = 4096;

void writeFixtures()
{
    QImage picture(24, 16, QImage::Format_RGB32);
    picture.fill(QColor(200, 40, 40));
    picturePath = workFolder->filePath(QStringLiteral("page.png"));
    if (!picture.save(picturePath, "PNG"))
        fuzzCheckFailed("cannot write the picture the project's pages point at");

    pdfPath = workFolder->filePath(QStringLiteral("score.pdf"));
    QPdfWriter writer(pdfPath);
    writer.setPageSize(QPageSize(QSizeF(40.0, 60.0), QPageSize::Point));
    writer.setResolution(72);
    QPainter painter(&writer);
    for (int page = 0; page < 3; ++page) {
        if (page > 0)
            writer.newPage();
        painter.drawText(QPointF(5.0, 30.0), QString::number(page + 1));
    }
    painter.end();
    if (!QFile::exists(pdfPath))
        fuzzCheckFailed("cannot write the PDF the project's pages point at");

    missingPath = workFolder->filePath(QStringLiteral("missing.png"));

    AudioBuffer recording;
    recording.sampleRate = 8000;
    recording.channels.assign(1, std::vector<float>(1600));
    for (size_t i = 0; i < recording.channels[0].size(); ++i)
        recording.channels[0][i] = (i / 8) % 2 == 0 ? 0.25f : -0.25f;
    recordingPath = workFolder->filePath(QStringLiteral("recording.wav"));
    QString error;
    if (!writeFloatWav(recordingPath, recording, &error))
        fuzzCheckFailed("cannot write the recording the project points at");
}

// Loads the project with its recording and checks what every load must give: settings within
// the ranges of the settings sheet, the recording and its silences loaded, the position
// within it.
void loadWithRecording(const QString& projectPath)
{
    EditorEnvironment environment;
    environment.temporaryDirectory = workFolder->path();
    environment.dataDirectory = workFolder->path();
    // A player that only keeps time: the fuzzer has no sound device, and the load needs a
    // player before it publishes the recording.
    environment.audioPlayerFactory = clockAudioPlayerFactory();
    VideoEditorViewModel editor(environment);
    std::optional<bool> finished;
    QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished,
                     [&finished](bool succeeded) { finished = succeeded; });
    editor.loadProjectJSON(projectPath, VideoEditorViewModel::FrameRestore::whenAudioLoaded);
    QElapsedTimer clock;
    clock.start();
    while (!finished && clock.elapsed() < 8000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    if (!finished)
        fuzzCheckFailed("a project with its recording did not finish loading");
    const auto within = [](double value, double low, double high) { return value >= low && value <= high; };
    if (!within(editor.startSilenceDuration(), 0.0, kMaxSilenceSeconds) ||
        !within(editor.endSilenceDuration(), 0.0, kMaxSilenceSeconds) ||
        !within(editor.transitionDuration(), 0.0, kMaxTransitionSeconds) ||
        !within(editor.volumeBoost(), kMinVolumeBoost, kMaxVolumeBoost))
        fuzzCheckFailed("a setting from the file was used outside the settings sheet's range");
    if (!editor.audioURL())
        fuzzCheckFailed("the tiny recording did not load");
    const double expected = 0.2 + editor.startSilenceDuration() + editor.endSilenceDuration();
    if (std::abs(editor.duration() - expected) > 1e-3)
        fuzzCheckFailed("the loaded length is not the recording with its silences");
    if (!within(editor.currentTime(), 0.0, editor.duration()))
        fuzzCheckFailed("the saved position was sought outside the recording");
    QThreadPool::globalInstance()->waitForDone();
}

QString sandboxed(const QString& path)
{
    const QString lower = path.toLower();
    if (lower.endsWith(QStringLiteral(".pdf")))
        return pdfPath;
    for (const char* suffix : {".png", ".jpg", ".jpeg"}) {
        if (lower.endsWith(QLatin1String(suffix)))
            return picturePath;
    }
    return missingPath;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initialiseFuzzTarget(argc, argv);
    const QString base =
            QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QDir::tempPath();
    workFolder = new QTemporaryDir(base + QStringLiteral("/vornik-fuzz-project-XXXXXX"));
    if (!workFolder->isValid())
        fuzzCheckFailed("no temporary folder for the project files");
    writeFixtures();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QString error;
    const std::optional<ProjectJSON> decoded = decodeProject(fuzzInput(data, size), &error);
    if (!decoded) {
        if (error.isEmpty())
            fuzzCheckFailed("a project file failed to decode without saying why");
        return 0;
    }

    // Whatever Vornik reads, it writes back so that it reads the same again.
    const std::optional<ProjectJSON> again = decodeProject(encodeProject(*decoded), &error);
    if (!again)
        fuzzCheckFailed("a decoded project, encoded again, does not decode");
    if (!(*again == *decoded))
        fuzzCheckFailed("a decoded project, encoded again, decodes differently");

    ProjectJSON project = *decoded;
    const bool namesRecording = project.audioPath || project.originalAudioPath;
    project.audioPath.reset();
    project.originalAudioPath.reset();
    if (namesRecording)
        project.originalAudioPath = recordingPath;
    for (ImagePathInfo& info : project.imagePaths)
        info.path = sandboxed(info.path);
    if (project.frames.size() > kMaxFrames)
        project.frames.resize(kMaxFrames);
    const QString projectPath = workFolder->filePath(QStringLiteral("project.vnk"));
    {
        QFile file(projectPath);
        const QByteArray bytes = encodeProject(project);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            fuzzCheckFailed("cannot write the project file to the temporary folder");
    }

    if (namesRecording) {
        loadWithRecording(projectPath);
    } else {
        EditorEnvironment environment;
        environment.temporaryDirectory = workFolder->path();
        environment.dataDirectory = workFolder->path();
        VideoEditorViewModel editor(environment);
        std::optional<bool> finished;
        QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished,
                         [&finished](bool succeeded) { finished = succeeded; });
        editor.loadProjectJSON(projectPath);
        if (finished != true)
            fuzzCheckFailed("a project without a recording did not finish loading");
        if (editor.images().size() > project.imagePaths.size())
            fuzzCheckFailed("the load made more pages than the file names");

        // The frames as the recording's load would have made them: a few more or fewer than
        // the file has, as after a recording of another length.
        const int64_t frameCount = std::max<int64_t>(
                0, static_cast<int64_t>(project.frames.size() + size % 5) - int64_t(size % 3));
        Frames& frames = editor.getFrameManager();
        const double duration = static_cast<double>(frameCount) / VideoEditorViewModel::FPS;
        frames.ensureFrameCount(duration, VideoEditorViewModel::FPS);
        editor.setDuration(duration);
        EditorTestAccess::restoreProjectFrames(editor, project);

        const int64_t restored =
                std::min(frames.getFrameCount(), static_cast<int64_t>(project.frames.size()));
        for (int64_t index = 0; index < restored; ++index) {
            const FrameJSON& entry = project.frames[static_cast<size_t>(index)];
            const std::shared_ptr<FrameData> record = frames.getFrame(index);
            std::optional<int> page = entry.imageIndex;
            if (page && *page < 0)
                page.reset();
            if (record->assignedImageIndex != page || record->bgImageX != entry.x ||
                record->bgImageY != entry.y || record->bgImageWidth != entry.w ||
                record->bgImageHeight != entry.h)
                fuzzCheckFailed("a restored frame differs from its entry in the file");
            const bool hasPicture = page && static_cast<size_t>(*page) < editor.images().size();
            if (hasPicture != (record->bgImage.has_value() && !record->bgImage->isNull()))
                fuzzCheckFailed("a restored frame's picture does not match its page index");
        }
        if (editor.currentTime() < 0.0 || editor.currentTime() > duration)
            fuzzCheckFailed("the saved position was sought outside the recording");
    }
    // Whatever the load queued for later is run or dropped now, not piled up across inputs.
    QCoreApplication::processEvents();
    return 0;
}
