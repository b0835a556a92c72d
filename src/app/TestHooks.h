// Hooks for driving the real program from scripts/run-e2e, active only when their
// environment variables are set:
//   VORNIK_E2E_PAGES      page image files, separated by ':', added after the window opens
//   VORNIK_E2E_AUDIO      a recording loaded after the pages
//   VORNIK_E2E_GEOMETRY   a file rewritten every 250 ms with "objectName x y" lines, the
//                         screen position of the centre of each visible window button, so
//                         the script can click them without guessing the layout
//   VORNIK_E2E_DROPS      a file of "objectName path" lines; each new line drops that file
//                         onto that widget through real drag-enter and drop events
// Main thread only.
#pragma once

class MainWindow;

void installTestHooks(MainWindow& window);
