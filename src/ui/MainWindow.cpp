#include "ui/MainWindow.h"

#include "ui/AppCommands.h"
#include "ui/ContentView.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QMenuBar>

MainWindow::MainWindow(EditorEnvironment environment, EditorHolder* delegate, QWidget* parent)
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
    addAction(m_commands->quitAction());
    m_contentView->connectCommands(*m_commands);
    // "Kilépés" takes the same way out as the window's close button: closing the last window
    // quits, and quitting autosaves.
    connect(m_commands, &AppCommands::quit, this, &QWidget::close);
    setCentralWidget(m_contentView);
    // Buttons are polished just before they first show, wherever in the window they live
    // (thumbnails come and go); see eventFilter.
    qApp->installEventFilter(this);
}

MainWindow::~MainWindow()
{
    qApp->removeEventFilter(this);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Space plays and pauses wherever the pointer clicked last: a button of the window must not
    // keep the keyboard focus after a click, or the next Space would press it again (reopening
    // a chooser). Buttons are still reachable with Tab; text fields and sliders keep theirs.
    if (event->type() == QEvent::Polish) {
        auto* button = qobject_cast<QAbstractButton*>(watched);
        if (button && button->window() == this && (button->focusPolicy() & Qt::ClickFocus))
            button->setFocusPolicy(Qt::TabFocus);
    }
    return QMainWindow::eventFilter(watched, event);
}

VideoEditorViewModel& MainWindow::editor() const
{
    return m_contentView->viewModel();
}
