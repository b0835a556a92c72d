// The video export: every frame of a snapshot rendered, converted and written to an H.264
// QuickTime file. A render thread works ahead of the encoder through a small queue; a frame
// that looks exactly like its predecessor re-sends the previous converted picture. The file
// is written under a temporary name beside the destination and handed back unplaced.
// runVideoExport runs on a background thread and reports through callbacks.
#pragma once

#include "export/PartialVideoFile.h"
#include "export/VideoWriter.h"
#include "images/PdfPageRasteriser.h"
#include "render/FrameSnapshot.h"
#include "support/FaultHook.h"
#include "support/JobToken.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct VideoExportJob {
    std::vector<FrameSnapshot> frames;
    QString destination;
    // The output size: the canvas times `scale` (1 at 1080p, 2 at 4K).
    int width = 1920;
    int height = 1080;
    int scale = 1;
    // Where the PDF pages came from, so that above 1080p they are drawn afresh at the size
    // they are shown.
    std::vector<PdfPageOrigin> pdfPages;
    int exportFPS = 30;
    double transitionDuration = 0.5;
    // The benchmark's reference path encodes every frame; the export encodes only changes.
    VideoEncoding encoding = VideoEncoding::changesOnly;
    // Called off (the window closes): the export stops at its next frame, removes its
    // temporary file and reports `cancelled`.
    std::shared_ptr<const JobToken> ticket;
    // Test hook: "exportFrame" before each frame is rendered (on the render thread).
    FaultHook faultHook;
};

struct VideoExportResult {
    VideoWriterStatus status = VideoWriterStatus::unknown;
    QString writerError;   // the writer's error text, empty when it has none
    bool threw = false;    // the writer could not be created or started
    QString exceptionLog;  // for "[Export] EXCEPTION: "
    QString exceptionText; // for the alert
    QString failureLine;   // the log line that says why the video failed, when one was written
    int64_t picturesRendered = 0;
    int64_t picturesReused = 0;
    bool cancelled = false; // the ticket was called off; nothing was written
    // The finished video under its temporary name, for the caller to mux and put in place;
    // null unless the status is completed (a failed file is already removed).
    std::shared_ptr<PartialVideoFile> video;
};

// Writes the job's frames with the log lines of the export; `progress(written, total)` is
// called after every 100th frame and after the last one, on the calling thread, right
// before its log line. `finishing()` is called when the frames are all written and the
// file is being closed. An exception on the render thread ends the export as a failure to
// create the writer would (`threw`, with its text); the render thread itself never throws.
VideoExportResult runVideoExport(const VideoExportJob& job,
                                 const std::function<void(int64_t, int64_t)>& progress,
                                 const std::function<void()>& finishing);
