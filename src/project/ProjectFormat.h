// The project file: one UTF-8 JSON document (".vnk") holding the paths of the media, the
// settings and the page assignment of every frame, but no image or audio data. Pure values
// and their coding; building them from the editor and back is done by the editor's
// persistence functions. Any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
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
    // "4K" or absent (1080p): written only for 4K, so 1080p projects stay as they were.
    std::optional<QString> exportResolution;

    friend bool operator==(const ProjectJSON&, const ProjectJSON&) = default;
};

// Pretty-printed JSON (indented, one member per line), keys in declaration order.
QByteArray encodeProject(const ProjectJSON& project);

// JSON has no form for infinity or NaN, and a file holding one could not be read back: the
// reason naming the first such member, or nothing when every number is finite.
std::optional<QString> nonFiniteMember(const ProjectJSON& project);

// The largest project Vornik reads: 12 hours of frames, four times the longest recording a
// score video is made of, and a file size that such a project stays within as Vornik writes
// it (under 200 bytes a frame). Anything larger is refused before it can take the memory and
// the time it claims.
constexpr int64_t kMaxProjectFrames = int64_t(12) * 3600 * 30;
constexpr int64_t kMaxProjectFileBytes = int64_t(256) * 1024 * 1024;
// Every page of a project is read back into memory as a picture when it opens; a list of more
// pages than a PDF import accepts is not one Vornik made.
constexpr int64_t kMaxProjectPages = 1000;

enum class ProjectDecodeFailure {
    malformed, // not JSON, not a project, a missing key or a wrong type
    tooLarge,  // beyond kMaxProjectFrames, kMaxProjectPages or kMaxProjectFileBytes
};

// Strict on the required keys and on every type, tolerant of key order and unknown keys.
// On failure returns nothing and, when `error` and `failure` are given, says what was wrong.
// Memory stays within the file's bytes plus the decoded values, whatever the file holds.
std::optional<ProjectJSON> decodeProject(const QByteArray& bytes, QString* error = nullptr,
                                         ProjectDecodeFailure* failure = nullptr);
