// Conversions from double that the program relies on being exact about: a time or a
// duration that is not finite, or does not fit, is a programming error and stops the
// program with a clear message instead of producing a wrong frame number.
#pragma once

#include <cstdint>

// Truncates toward zero. Stops the program for NaN, infinity or a value outside the
// signed 64-bit range.
int64_t toInt64Checked(double value);

// floor(value) and ceil(value) converted with toInt64Checked.
int64_t floorToInt64Checked(double value);
int64_t ceilToInt64Checked(double value);

// Rounds to the nearest whole number, halves away from zero (2.5 -> 3, -2.5 -> -3),
// then converts with toInt64Checked.
int64_t roundToInt64Checked(double value);

// A count of audio sample frames: truncates toward zero; values in (-1, 0) become 0.
// Stops the program for NaN, infinity, a value at most -1 or at least 2^32.
uint32_t toFrameCountChecked(double value);
