// Hooks for driving the real program from scripts/run-e2e, active only when their
// environment variables are set:
//   VORNIK_E2E_PAGES      page image files, separated by ':', added after the window opens
//   VORNIK_E2E_AUDIO      a recording loaded after the pages
//   VORNIK_E2E_GEOMETRY   a file rewritten every 250 ms with "objectName x y" lines, the
//                         screen position of the centre of each visible window button, so
//                         the script can click them without guessing the layout
//   VORNIK_E2E_DROPS      a file of "objectName path" lines; each new line drops that file
//                         onto that widget through real drag-enter and drop events
//   VORNIK_TEST_FAULT     the name of a background job's step ("audioPipeline",
//                         "decodeBlock", "loudness", "exportFrame", "mux") that throws, to
//                         follow that job's failure path; "STEP:alloc" throws std::bad_alloc
// They are built only when the build option VORNIK_TEST_HOOKS is on (the tests, CI and
// scripts/run-e2e turn it on); otherwise TestHooksDisabled.cpp defines both functions as
// doing nothing. Main thread only.
#pragma once

#include "support/FaultHook.h"

class MainWindow;

void installTestHooks(MainWindow& window);

// The hook VORNIK_TEST_FAULT asks for; none when it is not set.
FaultHook faultHookFromEnvironment();
