#include "model/ExportResolution.h"

QString rawValue(ExportResolution resolution)
{
    switch (resolution) {
    case ExportResolution::hd1080:
        return QStringLiteral("1080p");
    case ExportResolution::uhd4K:
        return QStringLiteral("4K");
    }
    Q_UNREACHABLE();
}

std::optional<ExportResolution> exportResolutionFromRawValue(const QString& raw)
{
    for (ExportResolution resolution : kAllExportResolutions) {
        if (rawValue(resolution) == raw)
            return resolution;
    }
    return std::nullopt;
}

int exportScale(ExportResolution resolution)
{
    return resolution == ExportResolution::uhd4K ? 2 : 1;
}

QSize exportPixelSize(QSizeF canvasSize, ExportResolution resolution)
{
    const int scale = exportScale(resolution);
    return QSize(static_cast<int>(canvasSize.width()) * scale, static_cast<int>(canvasSize.height()) * scale);
}
