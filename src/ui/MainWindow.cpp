#include "ui/MainWindow.h"

#include "app/AppCommands.h"
#include "ui/ContentView.h"

#include <QMenuBar>

MainWindow::MainWindow(EditorEnvironment environment, AppDelegate* delegate, QWidget* parent)
    : QMainWindow(parent)
    , m_commands(new AppCommands(this))
    , m_contentView(new ContentView(std::move(environment), delegate, this))
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Vornik"));
    // Without a global menu bar the commands live in the window's own menu bar; its actions
    // belong to the window, so their shortcuts work wherever the focus is inside it.
    m_commands->populateMenuBar(menuBar());
    addActions(m_commands->actions());
    m_contentView->connectCommands(*m_commands);
    setCentralWidget(m_contentView);
}

VideoEditorViewModel& MainWindow::editor() const
{
    return m_contentView->viewModel();
}
