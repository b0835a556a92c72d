#include "model/VideoFormat.h"

QString rawValue(VideoFormat format)
{
    switch (format) {
    case VideoFormat::landscape:
        return QStringLiteral("16:9");
    case VideoFormat::portrait:
        return QStringLiteral("9:16");
    }
    Q_UNREACHABLE();
}

std::optional<VideoFormat> videoFormatFromRawValue(const QString& raw)
{
    for (VideoFormat format : kAllVideoFormats) {
        if (rawValue(format) == raw)
            return format;
    }
    return std::nullopt;
}

QSizeF videoFormatSize(VideoFormat format)
{
    switch (format) {
    case VideoFormat::landscape:
        return QSizeF(1920, 1080);
    case VideoFormat::portrait:
        return QSizeF(1080, 1920);
    }
    Q_UNREACHABLE();
}

double videoFormatAspectRatio(VideoFormat format)
{
    const QSizeF size = videoFormatSize(format);
    return size.width() / size.height();
}
