// Vornik's log: every call writes one line to standard output and flushes it at once,
// so the lines of a background export appear while it runs. Safe to call from any thread.
// Tests install a LogCapture to read back the lines written while it is alive.
#pragma once

#include <QString>
#include <QStringList>

void logLine(const QString& text);

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const;
    // Lines that start with the given text, in the order they were written.
    QStringList linesStartingWith(const QString& prefix) const;
    bool contains(const QString& line) const;
    void clear();

private:
    friend void logLine(const QString& text);
    void append(const QString& text);

    QStringList m_lines;
};
