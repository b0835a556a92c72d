// The project file: one UTF-8 JSON document (".vnk") holding the paths of the media, the
// settings and the page assignment of every frame, but no image or audio data. Pure values
// and their coding; building them from the editor and back is done by the editor's
// persistence functions. Any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

struct ImagePathInfo {
    QString path;
    std::optional<int> pageNumber;       // 1-based PDF page; none for an image file
    std::optional<int> pairedPageNumber; // right-hand PDF page of a side-by-side pair

    friend bool operator==(const ImagePathInfo&, const ImagePathInfo&) = default;
};

struct FrameJSON {
    std::optional<int> imageIndex; // none for a frame without a page
    int x = 0;
    int y = 0;
    int w = 0;
    int h = 0;

    friend bool operator==(const FrameJSON&, const FrameJSON&) = default;
};

// Members in the order they are written. Optional members are left out of the file when
// empty; older files without them stay readable.
struct ProjectJSON {
    std::optional<QString> audioPath;
    std::optional<QString> originalAudioPath;
    std::vector<ImagePathInfo> imagePaths;
    std::vector<FrameJSON> frames;
    double duration = 0.0;
    double currentTime = 0.0;
    double startSilence = 0.0;
    double endSilence = 0.0;
    std::optional<double> transitionDuration;
    std::optional<double> volumeBoost;
    std::optional<QString> videoFormat;
    std::optional<double> fillColorR;
    std::optional<double> fillColorG;
    std::optional<double> fillColorB;

    friend bool operator==(const ProjectJSON&, const ProjectJSON&) = default;
};

// Pretty-printed JSON (indented, one member per line), keys in declaration order.
QByteArray encodeProject(const ProjectJSON& project);

// Strict on the required keys and on every type, tolerant of key order and unknown keys.
// On failure returns nothing and, when `error` is given, says what was wrong.
std::optional<ProjectJSON> decodeProject(const QByteArray& bytes, QString* error = nullptr);
