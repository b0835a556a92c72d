#include "app/AppDelegate.h"

#include "editor/VideoEditorViewModel.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <QWidget>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
{
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        app->setQuitOnLastWindowClosed(applicationShouldTerminateAfterLastWindowClosed());
        connect(app, &QCoreApplication::aboutToQuit, this, &AppDelegate::applicationWillTerminate);
    }
}

void AppDelegate::applicationDidFinishLaunching(QWidget* window)
{
    QPointer<QWidget> target(window);
    QTimer::singleShot(100, this, [target] { fillAvailableScreen(target); });
}

void AppDelegate::fillAvailableScreen(QWidget* window)
{
    if (!window)
        return;
    QScreen* screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    window->setGeometry(screen->availableGeometry());
}

void AppDelegate::applicationWillTerminate()
{
    if (m_viewModel) {
        m_viewModel->autoSaveProject();
        // A running export or load is called off: its temporary files go, the destination
        // keeps what it had, and quitting waits for it at most two seconds.
        m_viewModel->cancelBackgroundJobs(VideoEditorViewModel::kJobShutdownWaitMs);
    }
    emit terminating();
}
