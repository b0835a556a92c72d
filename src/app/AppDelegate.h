// The application's life around its one window: fills the screen's usable area shortly after
// start, holds the editor object of the window so that it can autosave when the application
// quits, and quits when the last window closes. Main thread only; owned by main().
#pragma once

#include <QObject>
#include <QPointer>

#include "editor/VideoEditorViewModel.h"
#include "ui/EditorHolder.h"

class QWidget;

class AppDelegate : public QObject, public EditorHolder {
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);

    // The editor of the window; ContentView registers its own when it appears.
    VideoEditorViewModel* viewModel() const { return m_viewModel; }
    void setViewModel(VideoEditorViewModel* viewModel) override { m_viewModel = viewModel; }

    // Resizes `window` to the available geometry of its screen 0.1 s from now.
    void applicationDidFinishLaunching(QWidget* window);
    // The geometry step itself; does nothing when the window or its screen is gone.
    static void fillAvailableScreen(QWidget* window);
    // Runs once when the application is about to quit.
    void applicationWillTerminate();
    // Closing the last window quits the application.
    static constexpr bool applicationShouldTerminateAfterLastWindowClosed() { return true; }

signals:
    // Emitted by applicationWillTerminate() after the final autosave was asked for.
    void terminating();

private:
    QPointer<VideoEditorViewModel> m_viewModel;
};
