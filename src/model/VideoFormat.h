// The two output formats of a video: landscape 1920 x 1080 and portrait 1080 x 1920.
// Stored and written to project files as their raw strings "16:9" and "9:16".
#pragma once

#include <QSizeF>
#include <QString>

#include <array>
#include <optional>

enum class VideoFormat { landscape, portrait };

inline constexpr std::array<VideoFormat, 2> kAllVideoFormats{VideoFormat::landscape, VideoFormat::portrait};

QString rawValue(VideoFormat format);

// Exactly "16:9" or "9:16"; any other text (including other spacing) gives nothing.
std::optional<VideoFormat> videoFormatFromRawValue(const QString& raw);

// Width x height of the output canvas in pixels.
QSizeF videoFormatSize(VideoFormat format);

double videoFormatAspectRatio(VideoFormat format);
