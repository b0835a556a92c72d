#include "tests/support/ScriptedDialogs.h"

void ScriptedDialogs::queueQuestionAnswer(int buttonPosition)
{
    m_questionAnswers.push_back(buttonPosition);
}

void ScriptedDialogs::queueSavePath(std::optional<QString> path)
{
    m_savePaths.push_back(std::move(path));
}

void ScriptedDialogs::queueOpenPaths(QStringList paths)
{
    m_openPaths.push_back(std::move(paths));
}

template <typename T>
std::vector<T> ScriptedDialogs::requestsOfKind() const
{
    std::vector<T> result;
    for (const Request& request : m_requests) {
        if (const T* item = std::get_if<T>(&request))
            result.push_back(*item);
    }
    return result;
}

std::vector<ScriptedDialogs::Alert> ScriptedDialogs::alerts() const
{
    return requestsOfKind<Alert>();
}

std::vector<ScriptedDialogs::Question> ScriptedDialogs::questions() const
{
    return requestsOfKind<Question>();
}

std::vector<SaveFileRequest> ScriptedDialogs::saveRequests() const
{
    return requestsOfKind<SaveFileRequest>();
}

std::vector<OpenFileRequest> ScriptedDialogs::openRequests() const
{
    return requestsOfKind<OpenFileRequest>();
}

void ScriptedDialogs::alert(AlertStyle style, const QString& message, const QString& informativeText)
{
    m_requests.emplace_back(Alert{style, message, informativeText});
}

int ScriptedDialogs::question(AlertStyle style, const QString& message, const QString& informativeText,
                              const QStringList& buttons)
{
    m_requests.emplace_back(Question{style, message, informativeText, buttons});
    if (m_questionAnswers.empty())
        return static_cast<int>(buttons.size()) - 1;
    const int answer = m_questionAnswers.front();
    m_questionAnswers.pop_front();
    return answer;
}

void ScriptedDialogs::chooseSaveFile(const SaveFileRequest& request,
                                     std::function<void(std::optional<QString>)> done)
{
    m_requests.emplace_back(request);
    std::optional<QString> answer;
    if (!m_savePaths.empty()) {
        answer = m_savePaths.front();
        m_savePaths.pop_front();
    }
    done(answer);
}

void ScriptedDialogs::chooseOpenFiles(const OpenFileRequest& request, std::function<void(QStringList)> done)
{
    m_requests.emplace_back(request);
    QStringList answer;
    if (!m_openPaths.empty()) {
        answer = m_openPaths.front();
        m_openPaths.pop_front();
    }
    done(answer);
}
