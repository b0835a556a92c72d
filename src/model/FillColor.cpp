#include "model/FillColor.h"

#include <QRgba64>

#include <algorithm>
#include <cmath>

std::optional<FillColorComponents> fillColorComponents(const QColor& color)
{
    const QColor srgb = color.toRgb();
    if (!srgb.isValid())
        return std::nullopt;
    const QRgba64 value = srgb.rgba64();
    const auto unit = [](quint16 component) { return double(component) / 65535.0; };
    return FillColorComponents{unit(value.red()), unit(value.green()), unit(value.blue())};
}

QColor colorFromComponents(const FillColorComponents& components)
{
    const auto sixteenBits = [](double value) {
        return quint16(std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0) * 65535.0 + 0.5);
    };
    return QColor(QRgba64::fromRgba64(sixteenBits(components.red), sixteenBits(components.green),
                                      sixteenBits(components.blue), 65535));
}
