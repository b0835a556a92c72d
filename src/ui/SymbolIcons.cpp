#include "ui/SymbolIcons.h"

#include <QApplication>
#include <QFile>
#include <QHash>
#include <QPainter>
#include <QStyle>

#include <optional>

// The resources live in a static library: without this nothing would pull them into the program.
static void initWindowIcons()
{
    Q_INIT_RESOURCE(window_icons);
}

namespace {

std::optional<QStyle::StandardPixmap> standardPixmapFor(const QString& symbolName)
{
    static const QHash<QString, QStyle::StandardPixmap> kStandard = {
            {QStringLiteral("backward.end.fill"), QStyle::SP_MediaSkipBackward},
            {QStringLiteral("play.fill"), QStyle::SP_MediaPlay},
            {QStringLiteral("pause.fill"), QStyle::SP_MediaPause},
            {QStringLiteral("stop.fill"), QStyle::SP_MediaStop},
    };
    const auto found = kStandard.constFind(symbolName);
    if (found == kStandard.constEnd())
        return std::nullopt;
    return found.value();
}

} // namespace

QIcon symbolIcon(const QString& symbolName)
{
    static const bool initialised = [] {
        initWindowIcons();
        return true;
    }();
    Q_UNUSED(initialised);

    if (const auto standard = standardPixmapFor(symbolName))
        return QApplication::style()->standardIcon(*standard);
    QString file = symbolName;
    file.replace(QLatin1Char('.'), QLatin1Char('-'));
    const QString path = QStringLiteral(":/window/icons/%1.svg").arg(file);
    if (!QFile::exists(path))
        return {};
    return QIcon(path);
}

QPixmap tintedSymbol(const QString& symbolName, int size, const QColor& color, qreal devicePixelRatio)
{
    const int pixels = qMax(1, qRound(size * devicePixelRatio));
    QPixmap result(pixels, pixels);
    result.fill(Qt::transparent);
    const QIcon icon = symbolIcon(symbolName);
    if (!icon.isNull()) {
        QPainter painter(&result);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(QRect(0, 0, pixels, pixels), icon.pixmap(QSize(pixels, pixels)));
        // Keep only the shape: every covered pixel takes the colour.
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(result.rect(), color);
    }
    result.setDevicePixelRatio(devicePixelRatio);
    return result;
}
