// Vornik's command line: which mode to run and with what. Parsing is a pure function so the
// rules can be tested without starting anything.
#pragma once

#include <QString>
#include <QStringList>

enum class CommandLineMode { window, exportVideo, demo, version, help, invalid };

struct CommandLineOptions {
    CommandLineMode mode = CommandLineMode::window;
    QString projectPath; // window (optional) and export
    QString outputPath;  // export
    QString demoDirectory;
    int exportFps = 30;
    QString error; // why the arguments are invalid
};

// `arguments` without the program name.
CommandLineOptions parseCommandLine(const QStringList& arguments);

// The Hungarian usage text printed by --help.
QString commandLineHelp();
