#include "ui/QtDialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

struct SeenBox {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString text;
    QString informativeText;
    QStringList buttons;
};

// Answers the next modal message box by pressing the button at `press`, noting what it showed.
void answerNextBox(SeenBox* seen, int press)
{
    QTimer::singleShot(0, [seen, press] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        seen->icon = box->icon();
        seen->text = box->text();
        seen->informativeText = box->informativeText();
        for (QAbstractButton* button : box->buttons())
            seen->buttons << button->text();
        box->buttons().at(press)->click();
    });
}

} // namespace

TEST(QtDialogsTest, AlertHasOneOkButtonAndTheIconOfItsStyle)
{
    QtDialogs dialogs;
    const std::pair<AlertStyle, QMessageBox::Icon> styles[] = {
            {AlertStyle::informational, QMessageBox::Information},
            {AlertStyle::warning, QMessageBox::Warning},
            {AlertStyle::critical, QMessageBox::Critical}};
    for (const auto& [style, icon] : styles) {
        SeenBox seen;
        answerNextBox(&seen, 0);
        dialogs.alert(style, QStringLiteral("Export kész!"), QStringLiteral("részletek"));
        EXPECT_EQ(seen.icon, icon);
        EXPECT_EQ(seen.text, QStringLiteral("Export kész!"));
        EXPECT_EQ(seen.informativeText, QStringLiteral("részletek"));
        EXPECT_EQ(seen.buttons, QStringList({QStringLiteral("OK")}));
    }
}

TEST(QtDialogsTest, QuestionReturnsThePositionOfThePressedButton)
{
    QtDialogs dialogs;
    SeenBox seen;
    answerNextBox(&seen, 1);
    const QStringList buttons = {QStringLiteral("Egyesével"), QStringLiteral("Párosával"),
                                 QStringLiteral("Mégse")};
    EXPECT_EQ(dialogs.question(AlertStyle::informational, QStringLiteral("PDF"), QString(), buttons), 1);
    EXPECT_EQ(seen.buttons.size(), 3);
}

TEST(QtDialogsTest, SaveChooserHasTitleProposedNameAndFilters)
{
    QtDialogs dialogs;
    SaveFileRequest request;
    request.title = QStringLiteral("Videó exportálása");
    request.proposedName = QStringLiteral("video.mov");
    request.allowedTypes = {{QStringLiteral("QuickTime film"), {QStringLiteral("mov")}}};
    std::optional<QString> answer = QStringLiteral("not called");
    dialogs.chooseSaveFile(request, [&answer](std::optional<QString> path) { answer = path; });
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!dialog) {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QStringLiteral("saveFileDialog"))
                dialog = qobject_cast<QFileDialog*>(widget);
        }
    }
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Videó exportálása"));
    EXPECT_EQ(dialog->nameFilters(), QStringList({QStringLiteral("QuickTime film (*.mov)")}));
    EXPECT_EQ(dialog->defaultSuffix(), QStringLiteral("mov"));
    EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
    EXPECT_TRUE(dialog->selectedFiles().value(0).endsWith(QStringLiteral("video.mov")));
    dialog->reject();
    QCoreApplication::processEvents();
    EXPECT_FALSE(answer.has_value());
}

namespace {

QFileDialog* openChooser(const QString& objectName)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == objectName && widget->isVisible())
            return qobject_cast<QFileDialog*>(widget);
    }
    return nullptr;
}

} // namespace

TEST(QtDialogsTest, TheSaveChoosersPromptIsShownInItsTitle)
{
    QtDialogs dialogs;
    SaveFileRequest request;
    request.title = QStringLiteral("Videó exportálása");
    request.message = QStringLiteral("Videó fájl mentése (MOV/MP4)");
    request.proposedName = QStringLiteral("video.mov");
    dialogs.chooseSaveFile(request, [](std::optional<QString>) {});
    QFileDialog* dialog = openChooser(QStringLiteral("saveFileDialog"));
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->windowTitle().contains(QStringLiteral("Videó exportálása")));
    EXPECT_TRUE(dialog->windowTitle().contains(QStringLiteral("Videó fájl mentése (MOV/MP4)")));
    auto* prompt = dialog->findChild<QLabel*>(QStringLiteral("chooserPrompt"));
    ASSERT_NE(prompt, nullptr);
    EXPECT_TRUE(prompt->isVisible());
    EXPECT_EQ(prompt->text(), QStringLiteral("Videó fájl mentése (MOV/MP4)"));
    // Above the file list: the prompt is the first thing in the chooser.
    EXPECT_LT(prompt->mapTo(dialog, QPoint(0, 0)).y(), 20);
    dialog->reject();
    QCoreApplication::processEvents();
}

TEST(QtDialogsTest, TheOpenChoosersPromptIsShownInItsTitleAndItsFirstFilterIsSelected)
{
    QtDialogs dialogs;
    OpenFileRequest request;
    request.title = QStringLiteral("Hangfájl megnyitása");
    request.message = QStringLiteral("Válassz egy hangfájlt");
    request.allowedTypes = {{QStringLiteral("Hang"), {QStringLiteral("wav"), QStringLiteral("mp3")}},
                            {QStringLiteral("WAV"), {QStringLiteral("wav")}}};
    dialogs.chooseOpenFiles(request, [](const QStringList&) {});
    QFileDialog* dialog = openChooser(QStringLiteral("openFileDialog"));
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->windowTitle().contains(QStringLiteral("Válassz egy hangfájlt")));
    auto* prompt = dialog->findChild<QLabel*>(QStringLiteral("chooserPrompt"));
    ASSERT_NE(prompt, nullptr);
    EXPECT_TRUE(prompt->isVisible());
    EXPECT_EQ(prompt->text(), QStringLiteral("Válassz egy hangfájlt"));
    EXPECT_EQ(dialog->selectedNameFilter(), QStringLiteral("Hang (*.wav *.mp3)"));
    dialog->reject();
    QCoreApplication::processEvents();
}
