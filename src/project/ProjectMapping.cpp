#include "project/ProjectMapping.h"

#include <algorithm>

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

void putFillColor(ProjectJSON& project, const QColor& color)
{
    const QColor srgb = color.toRgb();
    if (!srgb.isValid())
        return;
    project.fillColorR = srgb.redF();
    project.fillColorG = srgb.greenF();
    project.fillColorB = srgb.blueF();
}

ProjectSettings projectSettings(const ProjectJSON& project)
{
    ProjectSettings settings;
    settings.startSilence = project.startSilence;
    settings.endSilence = project.endSilence;
    settings.transitionDuration = project.transitionDuration.value_or(0.5);
    settings.volumeBoost = project.volumeBoost.value_or(100.0);
    if (project.videoFormat)
        settings.videoFormat = videoFormatFromRawValue(*project.videoFormat);
    if (project.fillColorR && project.fillColorG && project.fillColorB) {
        // Components outside 0...1 do not come from Vornik; they are brought into range
        // rather than turned into an invalid colour.
        const auto unit = [](double value) { return std::clamp(value, 0.0, 1.0); };
        settings.fillColor = QColor::fromRgbF(static_cast<float>(unit(*project.fillColorR)),
                                              static_cast<float>(unit(*project.fillColorG)),
                                              static_cast<float>(unit(*project.fillColorB)), 1.0f);
    }
    return settings;
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
