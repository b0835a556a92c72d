// Vornik's entry point: the command line decides between the window (with the autosave or a
// given project) and the window-less modes (export, demo, version, help).
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/ExportRunner.h"
#include "app/QtTranslations.h"
#include "app/StderrDialogs.h"
#include "app/TestHooks.h"
#include "audio/DefaultAudioPlayerFactory.h"
#include "media/FfmpegLogging.h"
#include "support/LargeAllocations.h"
#include "ui/ContentView.h"
#include "ui/DarkTheme.h"
#include "ui/MainWindow.h"
#include "ui/QtDialogs.h"

#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

void setUpApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("Vornik"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Vornik"));
    QGuiApplication::setDesktopFileName(QStringLiteral("hu.vornik.Vornik"));
    // Scanned score pages are large: an A4 page scanned at 600 dpi in colour needs about
    // 140 MB decoded, more than Qt's default limit. Far larger images are still refused.
    QImageReader::setAllocationLimit(1024);
    limitFfmpegLoggingToErrors();
}

int runWindow(int argc, char* argv[], const CommandLineOptions& options)
{
    QApplication app(argc, argv);
    setUpApplication();
    applyDarkTheme(app);
    installQtTranslations(app);

    AppDelegate delegate;
    QtDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    environment.audioPlayerFactory = defaultAudioPlayerFactory();
    environment.faultHook = faultHookFromEnvironment();
    MainWindow window(environment, &delegate);
    if (!options.projectPath.isEmpty())
        window.contentView().setProjectToOpen(QFileInfo(options.projectPath).absoluteFilePath());
    dialogs.setParentWidget(&window);
    window.show();
    delegate.applicationDidFinishLaunching(&window);
    installTestHooks(window);
    return QApplication::exec();
}

// In the window-less modes the exit code is all a calling script sees: a stop on a
// programming error ends in a reason on standard error and code 1, as every other failure
// does, instead of an abort signal. Other messages go where Qt sends them.
QtMessageHandler g_defaultMessageHandler = nullptr;

void exitOnFatalMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type != QtFatalMsg) {
        if (g_defaultMessageHandler)
            g_defaultMessageHandler(type, context, message);
        else
            printErrorLine(qFormatLogMessage(type, context, message));
        return;
    }
    printErrorLine(QStringLiteral("Hiba: belső hiba, a program leállt: %1").arg(message));
    std::_Exit(1);
}

int runWithoutWindow(int argc, char* argv[], const CommandLineOptions& options)
{
    g_defaultMessageHandler = qInstallMessageHandler(exitOnFatalMessage);
    // No display is needed: the offscreen platform renders pages and PDFs just as well.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    setUpApplication();
    return options.mode == CommandLineMode::exportVideo ? runExportMode(options) : runDemoMode(options);
}

} // namespace

int main(int argc, char* argv[])
{
    // A file-size limit or a full disk must end in an error message, not kill the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // Freed pictures and encoder planes go back to the system instead of staying with us.
    returnLargeBlocksToTheSystem();

    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLineOptions options = parseCommandLine(arguments);
    switch (options.mode) {
    case CommandLineMode::help:
        std::fputs(commandLineHelp().toLocal8Bit().constData(), stdout);
        return 0;
    case CommandLineMode::version:
        std::puts("Vornik 1.0");
        return 0;
    case CommandLineMode::invalid:
        printErrorLine(QStringLiteral("Hiba: %1 (súgó: vornik --help)").arg(options.error));
        return 1;
    case CommandLineMode::exportVideo:
    case CommandLineMode::demo:
        return runWithoutWindow(argc, argv, options);
    case CommandLineMode::window:
        break;
    }
    return runWindow(argc, argv, options);
}
