// The resolution of the exported video: 1080p (the canvas itself) or 4K (the canvas drawn at
// twice its scale). Placements, the frame store and every number of the editor stay on the
// 1920 x 1080 / 1080 x 1920 canvas; only the export's pixels differ. Stored and written to
// project files as their raw strings "1080p" and "4K".
#pragma once

#include <QSize>
#include <QSizeF>
#include <QString>

#include <array>
#include <optional>

enum class ExportResolution { hd1080, uhd4K };

inline constexpr std::array<ExportResolution, 2> kAllExportResolutions{ExportResolution::hd1080,
                                                                       ExportResolution::uhd4K};

QString rawValue(ExportResolution resolution);

// Exactly "1080p" or "4K"; any other text gives nothing.
std::optional<ExportResolution> exportResolutionFromRawValue(const QString& raw);

// How many output pixels one canvas pixel becomes: 1 at 1080p, 2 at 4K.
int exportScale(ExportResolution resolution);

// The output size in pixels of a canvas of `canvasSize` at this resolution.
QSize exportPixelSize(QSizeF canvasSize, ExportResolution resolution);
