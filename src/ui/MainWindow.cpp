#include "ui/MainWindow.h"

#include <QLabel>

MainWindow::MainWindow(EditorEnvironment environment, QWidget* parent)
    : QMainWindow(parent)
    , m_editor(new VideoEditorViewModel(std::move(environment), this))
{
    setWindowTitle(QStringLiteral("Vornik"));
    setMinimumSize(1400, 800);
    auto* placeholder = new QLabel(QStringLiteral("Vornik – kotta videó készítő"), this);
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setObjectName(QStringLiteral("placeholder"));
    setCentralWidget(placeholder);
}
