// The real dialogs of the window: QMessageBox alerts and questions, QFileDialog choosers.
// Main thread only; the choosers are window-modal and answer through their callback.
#pragma once

#include "support/Dialogs.h"

#include <QPointer>

class QWidget;

class QtDialogs : public Dialogs {
public:
    // The dialogs are centred on `parent`, which may be set later.
    explicit QtDialogs(QWidget* parent = nullptr);
    void setParentWidget(QWidget* parent) { m_parent = parent; }

    void alert(AlertStyle style, const QString& message, const QString& informativeText) override;
    int question(AlertStyle style, const QString& message, const QString& informativeText,
                 const QStringList& buttons) override;
    void chooseSaveFile(const SaveFileRequest& request,
                        std::function<void(std::optional<QString>)> done) override;
    void chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done) override;

private:
    QPointer<QWidget> m_parent;
};
