// Dialogs for running without a window: alerts are written to standard error as one line
// each and remembered, questions take their last (cancelling) answer, and file choosers are
// cancelled. Main thread only.
#pragma once

#include "support/Dialogs.h"

#include <QObject>

#include <optional>

class StderrDialogs : public QObject, public Dialogs {
    Q_OBJECT

public:
    struct Alert {
        AlertStyle style;
        QString message;
        QString informativeText;
    };

    const std::optional<Alert>& lastAlert() const { return m_lastAlert; }

    void alert(AlertStyle style, const QString& message, const QString& informativeText) override;
    int question(AlertStyle style, const QString& message, const QString& informativeText,
                 const QStringList& buttons) override;
    void chooseSaveFile(const SaveFileRequest& request,
                        std::function<void(std::optional<QString>)> done) override;
    void chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done) override;

signals:
    void alertShown();

private:
    std::optional<Alert> m_lastAlert;
};

// Writes one line to standard error at once.
void printErrorLine(const QString& text);
