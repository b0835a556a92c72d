#include "editor/ExportProgress.h"

ExportProgress::Assigned ExportProgress::begin(double progress, std::optional<QString> text)
{
    m_shown = true;
    m_progress = progress;
    if (text)
        m_text = std::move(*text);
    return {true, true, text.has_value()};
}

ExportProgress::Assigned ExportProgress::advance(double progress, QString text)
{
    m_progress = progress;
    m_text = std::move(text);
    return {false, true, true};
}

ExportProgress::Assigned ExportProgress::describe(QString text)
{
    m_text = std::move(text);
    return {false, false, true};
}

ExportProgress::Assigned ExportProgress::finish(std::optional<double> progress)
{
    m_shown = false;
    if (progress)
        m_progress = *progress;
    return {true, progress.has_value(), false};
}
