// The questions Vornik asks the user: alerts, the three-button question, and the file
// choosers. The editor only talks to this interface; the window provides the real dialogs,
// the command line writes alerts to standard error, and tests script the answers.
// Called on the main thread only.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

enum class AlertStyle { informational, warning, critical };

// One entry of a file chooser's type list, e.g. {"QuickTime film", {"mov"}}.
struct FileType {
    QString name;
    QStringList extensions; // lower-case, without the dot
};

struct SaveFileRequest {
    QString title;
    QString proposedName;
    QString message;
    std::vector<FileType> allowedTypes;
    bool canCreateDirectories = true;
};

struct OpenFileRequest {
    QString title;
    QString message;
    std::vector<FileType> allowedTypes;
    bool allowsMultipleSelection = false;
    bool canChooseDirectories = false;
    bool allowsOtherFileTypes = false;
};

class Dialogs {
public:
    virtual ~Dialogs() = default;

    // A modal alert with one "OK" button.
    virtual void alert(AlertStyle style, const QString& message, const QString& informativeText) = 0;

    // A modal question; returns the position of the pressed button (0 for the first).
    virtual int question(AlertStyle style, const QString& message, const QString& informativeText,
                         const QStringList& buttons) = 0;

    // Non-modal save chooser; `done` receives the chosen absolute path, or nothing on cancel.
    virtual void chooseSaveFile(const SaveFileRequest& request,
                                std::function<void(std::optional<QString>)> done) = 0;

    // Non-modal open chooser; `done` receives the chosen absolute paths (empty on cancel).
    virtual void chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done) = 0;
};
