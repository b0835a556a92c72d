// The window's root view. Creates and owns the one editor object, lays out the page sidebar
// beside the editing area (preview with its overlay, waveform, control bar) in a resizable
// split, turns the menu commands into editor calls, loads the autosave once, and shows the
// progress overlay above everything while an export or a save runs. Main thread only.
#pragma once

#include "editor/EditorEnvironment.h"
#include "ui/EditorHolder.h"

#include <QWidget>

class AppCommands;
class ControlButtons;
class WaveformView;
class ProgressOverlay;
class ResizableSplitView;
class VideoEditorViewModel;
class VideoPreviewCanvas;
class VideoPreviewOverlay;

class ContentView : public QWidget {
    Q_OBJECT

public:
    // `delegate` may be null (tests without an application shell).
    ContentView(EditorEnvironment environment, EditorHolder* delegate, QWidget* parent = nullptr);
    ~ContentView() override;

    VideoEditorViewModel& viewModel() const { return *m_viewModel; }
    bool didAutoLoad() const { return m_didAutoLoad; }

    // A project file to open when the view first appears, instead of the autosave (the
    // program was started with a project file).
    void setProjectToOpen(const QString& path) { m_projectToOpen = path; }

    // Turns every menu command into its editor call.
    void connectCommands(const AppCommands& commands);

    ResizableSplitView* splitView() const { return m_splitView; }

signals:
    // Emitted each time the autosave is loaded (once per view).
    void autoLoadStarted();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeSidebarPane();
    QWidget* makeWaveformPane();
    QWidget* makeRightPane();
    void connectProjectCommands(const AppCommands& commands);
    void autoLoadProject();

    VideoEditorViewModel* m_viewModel;
    EditorHolder* m_delegate;
    bool m_didAutoLoad = false;
    QString m_projectToOpen;
    ResizableSplitView* m_splitView = nullptr;
    VideoPreviewCanvas* m_canvas = nullptr;
    VideoPreviewOverlay* m_overlay = nullptr;
    ControlButtons* m_controls = nullptr;
    WaveformView* m_waveform = nullptr;
    ProgressOverlay* m_progressOverlay = nullptr;
};
