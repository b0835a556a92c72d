// The window-less modes of the command line: exporting a project to a video, and writing
// the demo project. Each returns the process exit code. Main thread, with a
// QGuiApplication already created (the offscreen platform is enough).
#pragma once

#include "app/CommandLine.h"

// 0: video and sound written; 2: video written, sound could not be added; 1: anything else,
// with one Hungarian line on standard error.
int runExportMode(const CommandLineOptions& options);

// Writes the demo project and prints its project file's path; 1 with a message on failure.
int runDemoMode(const CommandLineOptions& options);
