// The pieces of the project file that map one to one onto editor state: the frame records,
// the colour, the settings with their defaults for older files, the audio to load. Pure
// functions on plain values, any thread; the editor's persistence members apply the results.
#pragma once

#include "model/ExportResolution.h"
#include "model/FillColor.h"
#include "model/Frames.h"
#include "model/ImageItem.h"
#include "model/VideoFormat.h"
#include "project/ProjectFormat.h"

#include <QStringList>

#include <optional>
#include <vector>

// One entry per frame of the store, in frame order: its page index and its rectangle.
std::vector<FrameJSON> framesToJSON(const Frames& frames);

// One entry per page, in list order: its file and its PDF page numbers.
std::vector<ImagePathInfo> imagePathsToJSON(const std::vector<ImageItem>& images);

// The resolution member: "4K", or nothing for 1080p.
std::optional<QString> exportResolutionToJSON(ExportResolution resolution);

// Writes the three colour members, exactly as held.
void putFillColor(ProjectJSON& project, const FillColorComponents& color);

// The settings a loaded file gives the editor. Members the file lacks take the defaults of
// older files (transition 0.5 s, boost 100); format and colour stay none when the file has
// no usable value, and the editor then keeps its own. Silences, transition and boost are
// brought into the ranges the audio settings sheet offers (a value that is not finite
// counts as outside them), each such change with its warning line for the log.
struct ProjectSettings {
    double startSilence = 0.0;
    double endSilence = 0.0;
    double transitionDuration = 0.5;
    double volumeBoost = 100.0;
    std::optional<VideoFormat> videoFormat;
    std::optional<FillColorComponents> fillColor;
    // 1080p for a file without the key; none for a value Vornik does not know (the editor
    // then keeps its own, as for the format).
    std::optional<ExportResolution> exportResolution = ExportResolution::hd1080;
    QStringList warnings;
};
ProjectSettings projectSettings(const ProjectJSON& project);

// The ranges of the audio settings sheet.
constexpr double kMaxSilenceSeconds = 10.0;
constexpr double kMaxTransitionSeconds = 3.0;
constexpr double kMinVolumeBoost = 25.0;
constexpr double kMaxVolumeBoost = 1000.0;

// The saved position within the recording's `duration`: a position before the start or past
// the end (or not finite) becomes the nearest end.
double restoredPosition(double savedTime, double duration);

// The recording to load: the user's own file when the project names it, so that the
// silences are rendered afresh from it instead of being added to an already rendered file.
std::optional<QString> projectAudioPath(const ProjectJSON& project);

// The warning shown once when a project's recording is missing or cannot be read: its title
// and its text naming the recording's path.
QString missingRecordingTitle();
QString missingRecordingText(const QString& path);

// Writes the file's page indices and rectangles into the frames the store has now (entries
// past its end are skipped) and gives each frame the picture of its page. A page index that
// names no page keeps the index but no picture; a negative one is dropped, since it can
// never name a page. Returns how many frames were written.
int64_t restoreFrames(Frames& frames, const std::vector<FrameJSON>& entries,
                      const std::vector<ImageItem>& images);
