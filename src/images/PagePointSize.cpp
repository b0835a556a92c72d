#include "images/PagePointSize.h"

#include <QStringList>

#include <cmath>

namespace {

const QString kPointSizeKey = QStringLiteral("VornikPointSize");

} // namespace

QSizeF pagePointSize(const QImage& image)
{
    const QString text = image.text(kPointSizeKey);
    if (!text.isEmpty()) {
        const QStringList parts = text.split(QLatin1Char(' '));
        bool widthOk = false;
        bool heightOk = false;
        const double width = parts.value(0).toDouble(&widthOk);
        const double height = parts.value(1).toDouble(&heightOk);
        if (parts.size() == 2 && widthOk && heightOk && std::isfinite(width) && std::isfinite(height) &&
            width > 0.0 && height > 0.0)
            return {width, height};
    }
    return image.deviceIndependentSize();
}

void setPagePointSize(QImage& image, QSizeF points)
{
    image.setText(kPointSizeKey, QString::number(points.width(), 'g', 17) + QLatin1Char(' ') +
                                         QString::number(points.height(), 'g', 17));
}
