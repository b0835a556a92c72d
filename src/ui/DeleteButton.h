// The "Törlés" push button under each page thumbnail. It runs one action, given by the cell,
// through its coordinator slot. Main thread; owned by its cell.
#pragma once

#include <QPushButton>

#include <functional>

class DeleteButton : public QPushButton {
    Q_OBJECT

public:
    explicit DeleteButton(std::function<void()> action, QWidget* parent = nullptr);

    void setAction(std::function<void()> action) { m_action = std::move(action); }

    // The target of the button's click: runs the action.
    void buttonClicked();

private:
    std::function<void()> m_action;
};
