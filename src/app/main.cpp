// Vornik's entry point: the application object and its one window.
#include "ui/MainWindow.h"
#include "ui/QtDialogs.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vornik"));
    QApplication::setApplicationDisplayName(QStringLiteral("Vornik"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));

    QtDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    MainWindow window(environment);
    dialogs.setParentWidget(&window);
    window.show();
    return QApplication::exec();
}
