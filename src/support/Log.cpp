#include "support/Log.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {

// The captures alive at the moment. Logging is the one process-wide sink of the program:
// standard output is global, and a capture only mirrors it for the test that created it.
std::mutex& logMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<LogCapture*>& activeCaptures()
{
    static std::vector<LogCapture*> captures;
    return captures;
}

} // namespace

void logLine(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    std::lock_guard lock(logMutex());
    std::fwrite(utf8.constData(), 1, static_cast<size_t>(utf8.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    for (LogCapture* capture : activeCaptures())
        capture->append(text);
}

LogCapture::LogCapture()
{
    std::lock_guard lock(logMutex());
    activeCaptures().push_back(this);
}

LogCapture::~LogCapture()
{
    std::lock_guard lock(logMutex());
    auto& captures = activeCaptures();
    captures.erase(std::remove(captures.begin(), captures.end(), this), captures.end());
}

void LogCapture::append(const QString& text)
{
    m_lines.append(text);
}

QStringList LogCapture::lines() const
{
    std::lock_guard lock(logMutex());
    return m_lines;
}

QStringList LogCapture::linesStartingWith(const QString& prefix) const
{
    QStringList result;
    for (const QString& line : lines()) {
        if (line.startsWith(prefix))
            result.append(line);
    }
    return result;
}

bool LogCapture::contains(const QString& line) const
{
    return lines().contains(line);
}

void LogCapture::clear()
{
    std::lock_guard lock(logMutex());
    m_lines.clear();
}
