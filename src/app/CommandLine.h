// Vornik's command line: which mode to run and with what. Parsing is a pure function so the
// rules can be tested without starting anything.
#pragma once

#include "model/ExportResolution.h"

#include <QString>
#include <QStringList>

#include <optional>

enum class CommandLineMode { window, exportVideo, demo, version, help, invalid };

struct CommandLineOptions {
    CommandLineMode mode = CommandLineMode::window;
    QString projectPath; // window (optional) and export
    QString outputPath;  // export
    QString demoDirectory;
    int exportFps = 30;
    // --resolution: overrides the project file's own; none keeps it.
    std::optional<ExportResolution> exportResolution;
    QString error; // why the arguments are invalid
};

// `arguments` without the program name.
CommandLineOptions parseCommandLine(const QStringList& arguments);

// The Hungarian usage text printed by --help.
QString commandLineHelp();
