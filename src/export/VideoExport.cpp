#include "export/VideoExport.h"

#include "export/BoundedQueue.h"
#include "media/PictureConverter.h"
#include "support/ExceptionText.h"
#include "support/Log.h"

#include <atomic>
#include <exception>
#include <thread>

namespace {

const QString kRule = QString(40, QLatin1Char('='));

struct QueuedPicture {
    VideoPicture picture; // null when the frame could not be made
    bool skipped = false; // not made because the writer has already failed
};

bool isCalledOff(const VideoExportJob& job)
{
    return job.ticket && job.ticket->isCancelled();
}

// Renders and converts frames 0...n-1 in order into `queue`; stops when the queue closes.
void producePictures(const VideoExportJob& job, BoundedQueue<QueuedPicture>& queue,
                     const std::atomic<bool>& writerFailed, std::atomic<int64_t>& rendered,
                     std::atomic<int64_t>& reused)
{
    // Made here, on the render thread, which is the only one to use its documents.
    PdfPageRasteriser pdfPages(job.scale > 1 ? job.pdfPages : std::vector<PdfPageOrigin>());
    PageRasteriser fromSource;
    if (job.scale > 1 && !job.pdfPages.empty())
        fromSource = [&pdfPages](const QImage& page, QSize size) { return pdfPages.render(page, size); };
    SnapshotRenderer renderer(job.frames, job.transitionDuration, job.exportFPS, job.scale,
                              std::move(fromSource));
    PictureConverter converter(job.width, job.height);
    QImage canvas(job.width, job.height, QImage::Format_ARGB32_Premultiplied);
    VideoPicture previous;
    const int64_t count = renderer.frameCount();
    for (int64_t i = 0; i < count; ++i) {
        QueuedPicture item;
        faultPoint(job.faultHook, "exportFrame");
        if (writerFailed.load(std::memory_order_relaxed)) {
            item.skipped = true;
        } else if (previous && renderer.samePictureAsPrevious(i)) {
            item.picture = previous;
            reused.fetch_add(1, std::memory_order_relaxed);
        } else {
            if (!canvas.isNull() && renderer.render(i, canvas))
                item.picture = converter.convert(canvas);
            rendered.fetch_add(1, std::memory_order_relaxed);
            previous = item.picture;
        }
        if (!queue.push(std::move(item)))
            return;
    }
}

} // namespace

VideoExportResult runVideoExport(const VideoExportJob& job,
                                 const std::function<void(int64_t, int64_t)>& progress,
                                 const std::function<void()>& finishing)
{
    VideoExportResult result;
    const int64_t frameCount = static_cast<int64_t>(job.frames.size());
    logLine(kRule);
    logLine(QStringLiteral("[Export] VIDEÓ EXPORT KEZDÉS"));
    logLine(QStringLiteral("[Export] Célfile: %1").arg(job.destination));
    logLine(QStringLiteral("[Export] Frame count: %1").arg(frameCount));
    logLine(QStringLiteral("[Export] FPS: %1").arg(job.exportFPS));
    logLine(kRule);

    logLine(QStringLiteral("[Export] Writer létrehozása..."));
    // The video is written under a temporary name beside the destination: an existing file
    // there is replaced only by a finished video, never by a broken or half-written one. A
    // destination that is a folder, or a folder that takes no new file, fails the start.
    QString partialError;
    std::shared_ptr<PartialVideoFile> partial = PartialVideoFile::create(job.destination, &partialError);
    VideoWriter writer(partial ? partial->path() : QString(), job.width, job.height, job.exportFPS,
                       job.encoding);
    QString createError;
    if (!writer.prepare(&createError)) {
        result.threw = true;
        result.exceptionLog = createError;
        result.exceptionText = createError;
        return result;
    }
    logLine(QStringLiteral("[Export] Video track OK"));

    logLine(QStringLiteral("[Export] Writer startWriting..."));
    if (!partial || !writer.startWriting()) {
        const QString reason = partial ? writer.errorText() : partialError;
        result.failureLine = QStringLiteral("[Export] FATAL: startWriting() failed! Error: %1")
                                     .arg(reason.isEmpty() ? QStringLiteral("nil") : reason);
        logLine(result.failureLine);
        result.threw = true;
        result.exceptionLog = QStringLiteral("Error Domain=ExportError Code=-1 \"(null)\"");
        result.exceptionText = QStringLiteral("A művelet nem hajtható végre. (ExportError hiba: -1.)");
        return result;
    }
    const auto status = [&writer] { return static_cast<int>(writer.status()); };
    logLine(QStringLiteral("[Export] Writer startWriting OK, status: %1").arg(status()));
    logLine(QStringLiteral("[Export] Writer session started, status: %1").arg(status()));
    if (!writer.errorText().isEmpty())
        logLine(QStringLiteral("[Export] Writer error after session: %1").arg(writer.errorText()));

    logLine(QStringLiteral("[Export] Frame loop kezdés, total: %1").arg(frameCount));
    // A 4K picture is 12 MB: the render thread keeps only one ready ahead of the encoder.
    BoundedQueue<QueuedPicture> queue(job.scale > 1 ? 1 : 3);
    std::atomic<bool> writerFailed = false;
    std::atomic<int64_t> rendered = 0;
    std::atomic<int64_t> reused = 0;
    // The render thread never ends in an exception: it keeps it for this thread and closes
    // the queue, which ends the frame loop.
    std::exception_ptr renderError;
    std::thread producer([&] {
        try {
            producePictures(job, queue, writerFailed, rendered, reused);
        } catch (...) {
            renderError = std::current_exception();
        }
        queue.close();
    });
    for (int64_t i = 0; i < frameCount;) {
        if (isCalledOff(job))
            break;
        std::optional<QueuedPicture> next = queue.pop();
        if (!next)
            break;
        QueuedPicture& item = *next;
        if (!item.skipped && !item.picture) {
            logLine(QStringLiteral("[Export] ERROR: Failed to create pixel buffer for frame %1").arg(i));
            ++i;
            continue;
        }
        const bool appended = !item.skipped && writer.append(item.picture, i);
        if (!appended) {
            if (writer.status() == VideoWriterStatus::failed)
                writerFailed.store(true, std::memory_order_relaxed);
            if (i == 0)
                logLine(QStringLiteral("[Export] ERROR: Failed to append first pixel buffer!"));
        }
        ++i;
        if (i % 100 == 0 || i == frameCount) {
            const double share = static_cast<double>(i) / static_cast<double>(frameCount);
            progress(i, frameCount);
            logLine(QStringLiteral("[Export] %1/%2 (%3%)")
                            .arg(i)
                            .arg(frameCount)
                            .arg(static_cast<int64_t>(share * 100.0)));
        }
    }
    queue.close();
    producer.join();
    result.picturesRendered = rendered.load();
    result.picturesReused = reused.load();
    if (renderError || isCalledOff(job)) {
        // Nothing of a failed or called-off export stays: the temporary file goes (the
        // writer, destroyed first, closes it), the destination keeps what it had.
        result.cancelled = !renderError;
        if (renderError) {
            result.threw = true;
            result.exceptionLog = describeException(renderError);
            result.exceptionText = result.exceptionLog;
        }
        if (partial)
            partial->discard();
        return result;
    }

    logLine(QStringLiteral("[Export] Frame írás kész!"));
    logLine(QStringLiteral("[Export] Writer finishWriting..."));
    finishing();
    writer.finishWriting();

    logLine(kRule);
    logLine(QStringLiteral("[Export] KÉSZ! Status: %1").arg(status()));
    if (!writer.errorText().isEmpty()) {
        result.failureLine = QStringLiteral("[Export] Error: %1").arg(writer.errorText());
        logLine(result.failureLine);
    }
    logLine(kRule);
    result.status = writer.status();
    result.writerError = writer.errorText();
    if (result.status == VideoWriterStatus::completed)
        result.video = std::move(partial);
    else
        partial->discard();
    return result;
}
