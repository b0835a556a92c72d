#include "ui/DeleteButton.h"

#include "ui/SidebarIcons.h"

DeleteButton::DeleteButton(std::function<void()> action, QWidget* parent)
    : QPushButton(sidebarIcon(QStringLiteral("xmark")), QStringLiteral("Törlés"), parent)
    , m_action(std::move(action))
{
    setObjectName(QStringLiteral("deleteButton"));
    // The thumbnail under it reacts to clicks as well; the button keeps its own click.
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QPushButton::clicked, this, &DeleteButton::buttonClicked);
}

void DeleteButton::buttonClicked()
{
    if (m_action)
        m_action();
}
