// The small symbol pictures of the sidebar, the waveform strip and the audio settings sheet,
// compiled into the program from resources/sidebar_icons.qrc. Main thread.
#pragma once

#include <QIcon>
#include <QString>

// The icon named after its file in resources/icons without ".svg", e.g. "xmark".
QIcon sidebarIcon(const QString& name);
