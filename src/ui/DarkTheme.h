// Vornik's one look: the Fusion style with a complete dark palette, set on the application so
// that every top-level window matches the main window (the audio settings sheet, alerts, the
// about box, file choosers, the colour dialog, menus and tooltips). Main thread, at start-up.
#pragma once

#include <QPalette>

class QApplication;

// Every colour role of every group set: active and inactive alike, disabled text greyed.
QPalette darkPalette();

// Fusion style and darkPalette() for the whole application.
void applyDarkTheme(QApplication& application);
