// The application's one window. It owns the editor object for its whole life.
#pragma once

#include "editor/VideoEditorViewModel.h"

#include <QMainWindow>

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(EditorEnvironment environment, QWidget* parent = nullptr);

    VideoEditorViewModel& editor() { return *m_editor; }

private:
    VideoEditorViewModel* m_editor;
};
