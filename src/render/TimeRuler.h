// The time ruler above the waveform: how far apart its ticks are and how they are labelled.
// Pure functions of the view width and the recording's duration; any thread.
#pragma once

#include <QString>

#include <vector>

// Seconds between two ticks: the first of 0.25, 0.5, 1, 2, 5, 10 and 30 s whose spacing is
// at least 60 points (30 s when none is); a spacing of 40 points or less is widened to
// 60 points' worth of time. Zero when the width or the duration is not positive.
double timeRulerInterval(double width, double duration);

// The times of the ticks: every multiple of the interval from 0 up to the duration.
std::vector<double> timeRulerTicks(double width, double duration);

// "mm:ss" of the whole seconds of a tick time.
QString timeRulerLabel(double seconds);
