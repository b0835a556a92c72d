#include "support/CheckedConversions.h"

#include <QtGlobal>

#include <cmath>

int64_t toInt64Checked(double value)
{
    if (!std::isfinite(value))
        qFatal("Double value cannot be converted to Int because it is either infinite or NaN");
    // 2^63 is exactly representable; every double below it and above -2^63 - 1 fits.
    constexpr double kLimit = 9223372036854775808.0;
    if (value >= kLimit)
        qFatal("Double value cannot be converted to Int because the result would be greater than Int.max");
    if (value < -kLimit)
        qFatal("Double value cannot be converted to Int because the result would be less than Int.min");
    return static_cast<int64_t>(value);
}

int64_t floorToInt64Checked(double value)
{
    return toInt64Checked(std::floor(value));
}

int64_t ceilToInt64Checked(double value)
{
    return toInt64Checked(std::ceil(value));
}

int64_t roundToInt64Checked(double value)
{
    // std::round rounds halves away from zero.
    return toInt64Checked(std::round(value));
}

uint32_t toFrameCountChecked(double value)
{
    if (!std::isfinite(value))
        qFatal("Double value cannot be converted to UInt32 because it is either infinite or NaN");
    if (value <= -1.0)
        qFatal("Double value cannot be converted to UInt32 because the result would be less than UInt32.min");
    constexpr double kLimit = 4294967296.0;
    if (value >= kLimit)
        qFatal("Double value cannot be converted to UInt32 because the result would be greater than "
               "UInt32.max");
    if (value < 0.0)
        return 0;
    return static_cast<uint32_t>(value);
}
