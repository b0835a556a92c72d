// What every fuzz target sets up once before the first input: the offscreen Qt application
// that QImage, QPdfDocument and QPainter need, and quiet logs. Qt's and FFmpeg's messages and
// Vornik's own log lines about a broken input are expected by the thousand and would bury
// libFuzzer's status lines; crashes, sanitizer reports and Qt's fatal errors still reach
// standard error.
#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

// Call from LLVMFuzzerInitialize.
void initialiseFuzzTarget(int* argc, char*** argv);

// The input as a QByteArray (a copy, so that nothing can read past the fuzzer's buffer
// without the sanitizer seeing it).
QByteArray fuzzInput(const uint8_t* data, size_t size);

// Stops the run the way a crash does when a property every input must keep is broken; the
// fuzzer then keeps the input.
[[noreturn]] void fuzzCheckFailed(const char* what);
