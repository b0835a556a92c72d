// Vornik's entry point: the application object, its delegate and its one window.
#include "app/AppDelegate.h"
#include "app/TestHooks.h"
#include "audio/DefaultAudioPlayerFactory.h"
#include "ui/MainWindow.h"
#include "ui/QtDialogs.h"

#include <QApplication>
#include <QImageReader>

#include <csignal>

int main(int argc, char* argv[])
{
    // A file-size limit or a full disk must end in an error message, not kill the program.
    std::signal(SIGXFSZ, SIG_IGN);

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vornik"));
    QApplication::setApplicationDisplayName(QStringLiteral("Vornik"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));
    QApplication::setDesktopFileName(QStringLiteral("hu.vornik.Vornik"));
    // Scanned score pages are large: an A4 page scanned at 600 dpi in colour needs about
    // 140 MB decoded, more than Qt's default limit. Far larger images are still refused.
    QImageReader::setAllocationLimit(1024);

    AppDelegate delegate;
    QtDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    environment.audioPlayerFactory = defaultAudioPlayerFactory();
    MainWindow window(environment, &delegate);
    dialogs.setParentWidget(&window);
    window.show();
    delegate.applicationDidFinishLaunching(&window);
    installTestHooks(window);
    return QApplication::exec();
}
