#include "ui/QtDialogs.h"

#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <vector>

namespace {

QMessageBox::Icon iconFor(AlertStyle style)
{
    switch (style) {
    case AlertStyle::informational:
        return QMessageBox::Information;
    case AlertStyle::warning:
        return QMessageBox::Warning;
    case AlertStyle::critical:
        return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

// "QuickTime film (*.mov);;MPEG-4 film (*.mp4)"; with `includeAll`, a last "all files" entry.
QStringList nameFilters(const std::vector<FileType>& types, bool includeAll)
{
    QStringList filters;
    for (const FileType& type : types) {
        QStringList patterns;
        for (const QString& extension : type.extensions)
            patterns << QStringLiteral("*.") + extension;
        filters << QStringLiteral("%1 (%2)").arg(type.name, patterns.join(QLatin1Char(' ')));
    }
    if (includeAll || filters.isEmpty())
        filters << QStringLiteral("Minden fájl (*)");
    return filters;
}

// The chooser's title bar carries the prompt too: Qt's chooser has no message line of its own,
// and a prompt that is only passed along would never be read.
QString chooserTitle(const QString& title, const QString& message)
{
    if (message.isEmpty())
        return title;
    if (title.isEmpty())
        return message;
    return title + QStringLiteral(" – ") + message;
}

// Qt's own chooser, not the desktop's: it follows the application's dark palette and its
// Hungarian texts. The prompt, when there is one, goes in a line above everything else.
void prepareChooser(QFileDialog* dialog, const QString& message)
{
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    auto* grid = qobject_cast<QGridLayout*>(dialog->layout());
    if (message.isEmpty() || !grid)
        return;
    struct Placed {
        QLayoutItem* item;
        int row, column, rowSpan, columnSpan;
    };
    std::vector<Placed> placed;
    while (grid->count() > 0) {
        Placed entry{};
        grid->getItemPosition(0, &entry.row, &entry.column, &entry.rowSpan, &entry.columnSpan);
        entry.item = grid->takeAt(0);
        placed.push_back(entry);
    }
    for (const Placed& entry : placed)
        grid->addItem(entry.item, entry.row + 1, entry.column, entry.rowSpan, entry.columnSpan);
    auto* prompt = new QLabel(message, dialog);
    prompt->setObjectName(QStringLiteral("chooserPrompt"));
    grid->addWidget(prompt, 0, 0, 1, grid->columnCount());
}

} // namespace

QtDialogs::QtDialogs(QWidget* parent)
    : m_parent(parent)
{}

void QtDialogs::alert(AlertStyle style, const QString& message, const QString& informativeText)
{
    QMessageBox box(iconFor(style), QStringLiteral("Vornik"), message, QMessageBox::NoButton, m_parent);
    box.setObjectName(QStringLiteral("alertBox"));
    box.setInformativeText(informativeText);
    box.setDefaultButton(box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole));
    box.exec();
}

int QtDialogs::question(AlertStyle style, const QString& message, const QString& informativeText,
                        const QStringList& buttons)
{
    QMessageBox box(iconFor(style), QStringLiteral("Vornik"), message, QMessageBox::NoButton, m_parent);
    box.setObjectName(QStringLiteral("questionBox"));
    box.setInformativeText(informativeText);
    std::vector<QAbstractButton*> added;
    for (const QString& title : buttons)
        added.push_back(box.addButton(title, QMessageBox::ActionRole));
    box.exec();
    for (size_t i = 0; i < added.size(); ++i) {
        if (box.clickedButton() == added[i])
            return static_cast<int>(i);
    }
    // Closed without a button (Escape): the last button, which is always the cancel choice.
    return static_cast<int>(buttons.size()) - 1;
}

void QtDialogs::chooseSaveFile(const SaveFileRequest& request,
                               std::function<void(std::optional<QString>)> done)
{
    auto* dialog = new QFileDialog(m_parent, chooserTitle(request.title, request.message));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setObjectName(QStringLiteral("saveFileDialog"));
    prepareChooser(dialog, request.message);
    dialog->setNameFilters(nameFilters(request.allowedTypes, false));
    // A name typed without an extension gets the first offered one; a typed extension is kept.
    if (!request.allowedTypes.empty() && !request.allowedTypes.front().extensions.isEmpty())
        dialog->setDefaultSuffix(request.allowedTypes.front().extensions.front());
    dialog->selectFile(request.proposedName);
    if (!request.canCreateDirectories)
        dialog->setOption(QFileDialog::ReadOnly);
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, done](int result) {
        const QStringList files = dialog->selectedFiles();
        if (result == QDialog::Accepted && !files.isEmpty())
            done(files.front());
        else
            done(std::nullopt);
    });
    dialog->open();
}

void QtDialogs::chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done)
{
    auto* dialog = new QFileDialog(m_parent, chooserTitle(request.title, request.message));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("openFileDialog"));
    prepareChooser(dialog, request.message);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(request.allowsMultipleSelection ? QFileDialog::ExistingFiles
                                                        : QFileDialog::ExistingFile);
    dialog->setNameFilters(nameFilters(request.allowedTypes, request.allowsOtherFileTypes));
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, done](int result) {
        done(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
    });
    dialog->open();
}
