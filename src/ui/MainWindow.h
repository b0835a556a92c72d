// The application's one window: the menu bar with the commands and ContentView, which owns
// the editor object for the window's whole life. Main thread only.
#pragma once

#include "editor/EditorEnvironment.h"
#include "ui/EditorHolder.h"

#include <QMainWindow>

class AppCommands;
class ContentView;
class VideoEditorViewModel;

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // `delegate` may be null (tests without an application shell).
    explicit MainWindow(EditorEnvironment environment, EditorHolder* delegate = nullptr,
                        QWidget* parent = nullptr);
    ~MainWindow() override;

    VideoEditorViewModel& editor() const;
    ContentView& contentView() const { return *m_contentView; }
    AppCommands& commands() const { return *m_commands; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppCommands* m_commands;
    ContentView* m_contentView;
};
