// Space is the play key of the whole window: a click on a button must not leave the keyboard
// focus on it, or the next Space would press that button again instead of toggling playback.
#include "tests/ui/WindowFixture.h"

#include <QApplication>
#include <QColorDialog>
#include <QPushButton>

namespace {

// Presses Space where a real key press goes: the focused widget, else the active window.
void pressSpace(QWidget* window)
{
    QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : window;
    QTest::keyClick(target, Qt::Key_Space);
    drainEvents();
}

class KeyboardFocusTest : public ::testing::Test, public WindowFixture {
protected:
    void SetUp() override
    {
        show();
        loadAudio(2.0);
        ASSERT_FALSE(editor().isPlaying());
    }

    void clickButton(const QString& name)
    {
        auto* button = find<QPushButton>(name);
        ASSERT_NE(button, nullptr) << name.toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
        drainEvents();
    }
};

} // namespace

TEST_F(KeyboardFocusTest, SpaceTogglesPlaybackAfterTheAddPagesButtonWasClicked)
{
    clickButton(QStringLiteral("addImagesButton"));
    ASSERT_EQ(dialogs().openRequests().size(), 1U); // scripted: cancelled at once
    pressSpace(&window());
    EXPECT_TRUE(editor().isPlaying());
    EXPECT_EQ(dialogs().openRequests().size(), 1U);
    pressSpace(&window());
    EXPECT_FALSE(editor().isPlaying());
}

TEST_F(KeyboardFocusTest, SpaceTogglesPlaybackAfterTheMergeButtonWasClicked)
{
    clickButton(QStringLiteral("mergeButton"));
    pressSpace(&window());
    EXPECT_TRUE(editor().isPlaying());
}

TEST_F(KeyboardFocusTest, SpaceTogglesPlaybackAfterTheColourDialogWasCancelled)
{
    clickButton(QStringLiteral("fillColorButton"));
    auto* dialog = window().findChild<QColorDialog*>(QStringLiteral("fillColorDialog"));
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(dialog->isVisible());
    dialog->reject();
    drainEvents();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    pressSpace(&window());
    EXPECT_TRUE(editor().isPlaying());
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(KeyboardFocusTest, NoPushButtonOfTheWindowTakesFocusWhenClicked)
{
    // Thumbnails (with their delete buttons) are made after the window was shown.
    addPages({makePageImage(40, 60, Qt::red), makePageImage(40, 60, Qt::green)});
    drainEvents();
    ASSERT_NE(find<QPushButton>(QStringLiteral("deleteButton")), nullptr);
    for (QPushButton* button : window().findChildren<QPushButton*>()) {
        if (button->window() == &window() && button->isVisible()) {
            EXPECT_FALSE(button->focusPolicy() & Qt::ClickFocus) << button->objectName().toStdString();
        }
    }
}
