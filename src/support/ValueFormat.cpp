#include "support/ValueFormat.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

QString formatDouble(double value)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    if (value == 0.0)
        return std::signbit(value) ? QStringLiteral("-0.0") : QStringLiteral("0.0");

    // Shortest round-trip digits in scientific form, e.g. "1.001e+01".
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
    const std::string scientific(buffer, result.ptr);

    const bool negative = scientific.front() == '-';
    const size_t ePos = scientific.find('e');
    std::string digits;
    for (size_t i = negative ? 1 : 0; i < ePos; ++i) {
        if (scientific[i] != '.')
            digits += scientific[i];
    }
    const int exponent = std::atoi(scientific.c_str() + ePos + 1);

    std::string text = negative ? "-" : "";
    if (exponent < -4 || exponent >= 16) {
        text += digits.substr(0, 1);
        if (digits.size() > 1)
            text += "." + digits.substr(1);
        text += exponent < 0 ? "e-" : "e+";
        const int magnitude = std::abs(exponent);
        if (magnitude < 10)
            text += "0";
        text += std::to_string(magnitude);
    } else if (exponent < 0) {
        text += "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
    } else {
        const size_t integerDigits = static_cast<size_t>(exponent) + 1;
        if (digits.size() <= integerDigits) {
            text += digits + std::string(integerDigits - digits.size(), '0') + ".0";
        } else {
            text += digits.substr(0, integerDigits) + "." + digits.substr(integerDigits);
        }
    }
    return QString::fromStdString(text);
}

QString formatFixed(double value, int decimals)
{
    return QString::asprintf("%.*f", decimals, value);
}
