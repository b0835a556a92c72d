#include "project/ProjectMapping.h"

#include "support/ValueFormat.h"

#include <algorithm>
#include <cmath>

std::vector<FrameJSON> framesToJSON(const Frames& frames)
{
    std::vector<FrameJSON> entries;
    const int64_t count = frames.getFrameCount();
    entries.reserve(static_cast<size_t>(count));
    for (int64_t index = 0; index < count; ++index) {
        const auto record = frames.getFrame(index);
        if (!record)
            continue;
        entries.push_back(FrameJSON{record->assignedImageIndex, record->bgImageX, record->bgImageY,
                                    record->bgImageWidth, record->bgImageHeight});
    }
    return entries;
}

std::vector<ImagePathInfo> imagePathsToJSON(const std::vector<ImageItem>& images)
{
    std::vector<ImagePathInfo> paths;
    paths.reserve(images.size());
    for (const ImageItem& item : images)
        paths.push_back(ImagePathInfo{item.url(), item.pageNumber, item.pairedPageNumber});
    return paths;
}

std::optional<QString> exportResolutionToJSON(ExportResolution resolution)
{
    if (resolution == ExportResolution::hd1080)
        return std::nullopt;
    return rawValue(resolution);
}

void putFillColor(ProjectJSON& project, const FillColorComponents& color)
{
    project.fillColorR = color.red;
    project.fillColorG = color.green;
    project.fillColorB = color.blue;
}

namespace {

// `value` brought into low...high; not finite counts as outside: minus infinity and NaN
// become `low`, plus infinity `high`. A change adds its warning line.
double clampSetting(const char* key, double value, double low, double high, QStringList& warnings)
{
    const double clamped = std::isnan(value) ? low : std::clamp(value, low, high);
    if (clamped != value || !std::isfinite(value))
        warnings << QStringLiteral("[Load] Figyelmeztetés: %1 értéke (%2) a megengedett tartományon kívül "
                                   "esik, %3 lesz helyette")
                            .arg(QString::fromLatin1(key), formatDouble(value), formatDouble(clamped));
    return clamped;
}

} // namespace

ProjectSettings projectSettings(const ProjectJSON& project)
{
    ProjectSettings settings;
    QStringList& warnings = settings.warnings;
    settings.startSilence =
            clampSetting("startSilence", project.startSilence, 0.0, kMaxSilenceSeconds, warnings);
    settings.endSilence = clampSetting("endSilence", project.endSilence, 0.0, kMaxSilenceSeconds, warnings);
    settings.transitionDuration = clampSetting("transitionDuration", project.transitionDuration.value_or(0.5),
                                               0.0, kMaxTransitionSeconds, warnings);
    settings.volumeBoost = clampSetting("volumeBoost", project.volumeBoost.value_or(100.0), kMinVolumeBoost,
                                        kMaxVolumeBoost, warnings);
    if (project.videoFormat)
        settings.videoFormat = videoFormatFromRawValue(*project.videoFormat);
    if (project.exportResolution)
        settings.exportResolution = exportResolutionFromRawValue(*project.exportResolution);
    if (project.fillColorR && project.fillColorG && project.fillColorB) {
        // Components outside 0...1 do not come from Vornik; they are brought into range
        // rather than turned into an invalid colour. Those within it are kept as they are.
        const auto unit = [](double value) { return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0); };
        settings.fillColor = FillColorComponents{unit(*project.fillColorR), unit(*project.fillColorG),
                                                 unit(*project.fillColorB)};
    }
    return settings;
}

double restoredPosition(double savedTime, double duration)
{
    const double end = std::max(0.0, duration);
    return std::isnan(savedTime) ? 0.0 : std::clamp(savedTime, 0.0, end);
}

std::optional<QString> projectAudioPath(const ProjectJSON& project)
{
    if (project.originalAudioPath)
        return project.originalAudioPath;
    return project.audioPath;
}

QString missingRecordingTitle()
{
    return QStringLiteral("Hiányzó hangfelvétel");
}

QString missingRecordingText(const QString& path)
{
    return QStringLiteral("A projekt hangfelvétele nem található: ") + path +
           QStringLiteral(". Az oldalváltások megmaradnak; húzd be újra a felvételt.");
}

int64_t restoreFrames(Frames& frames, const std::vector<FrameJSON>& entries,
                      const std::vector<ImageItem>& images)
{
    const int64_t count = std::min(frames.getFrameCount(), static_cast<int64_t>(entries.size()));
    for (int64_t index = 0; index < count; ++index) {
        const FrameJSON& entry = entries[static_cast<size_t>(index)];
        const auto record = frames.getFrame(index);
        std::optional<int> page = entry.imageIndex;
        if (page && *page < 0)
            page.reset();
        record->assignedImageIndex = page;
        record->bgImageX = entry.x;
        record->bgImageY = entry.y;
        record->bgImageWidth = entry.w;
        record->bgImageHeight = entry.h;
        if (page && static_cast<size_t>(*page) < images.size())
            record->bgImage = images[static_cast<size_t>(*page)].image();
    }
    return count;
}
