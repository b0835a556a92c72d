// A Dialogs whose answers are queued in advance and which records every request, in order.
// The tests' stand-in for the real dialogs. Main thread only.
#pragma once

#include "support/Dialogs.h"

#include <deque>
#include <variant>

class ScriptedDialogs : public Dialogs {
public:
    struct Alert {
        AlertStyle style;
        QString message;
        QString informativeText;
    };
    struct Question {
        AlertStyle style;
        QString message;
        QString informativeText;
        QStringList buttons;
    };
    using Request = std::variant<Alert, Question, SaveFileRequest, OpenFileRequest>;

    // Answers, consumed in order. An unanswered question picks its last button (the cancel
    // position); an unanswered chooser is cancelled.
    void queueQuestionAnswer(int buttonPosition);
    void queueSavePath(std::optional<QString> path);
    void queueOpenPaths(QStringList paths);

    const std::vector<Request>& requests() const { return m_requests; }
    std::vector<Alert> alerts() const;
    std::vector<Question> questions() const;
    std::vector<SaveFileRequest> saveRequests() const;
    std::vector<OpenFileRequest> openRequests() const;

    void alert(AlertStyle style, const QString& message, const QString& informativeText) override;
    int question(AlertStyle style, const QString& message, const QString& informativeText,
                 const QStringList& buttons) override;
    void chooseSaveFile(const SaveFileRequest& request,
                        std::function<void(std::optional<QString>)> done) override;
    void chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done) override;

private:
    template <typename T>
    std::vector<T> requestsOfKind() const;

    std::vector<Request> m_requests;
    std::deque<int> m_questionAnswers;
    std::deque<std::optional<QString>> m_savePaths;
    std::deque<QStringList> m_openPaths;
};
