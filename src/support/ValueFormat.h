// Text forms of numbers in log lines and labels.
#pragma once

#include <QString>

// The shortest text that reads back as the same double, always with a decimal point or an
// exponent: 3.0 -> "3.0", 0.5 -> "0.5", 10.01 -> "10.01", 1e-05 -> "1e-05",
// 1e16 -> "1e+16". Exponent form is used below 1e-4 and from 1e16 on; "inf", "-inf", "nan".
QString formatDouble(double value);

// printf-style fixed decimals, e.g. formatFixed(-3.04, 1) == "-3.0".
QString formatFixed(double value, int decimals);
