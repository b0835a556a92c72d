#include "app/StderrDialogs.h"

#include <cstdio>

void printErrorLine(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

void StderrDialogs::alert(AlertStyle style, const QString& message, const QString& informativeText)
{
    QString informative = informativeText;
    informative.replace(QLatin1Char('\n'), QLatin1Char(' '));
    printErrorLine(informative.isEmpty() ? message : message + QStringLiteral(" ") + informative);
    m_lastAlert = Alert{style, message, informativeText};
    emit alertShown();
}

int StderrDialogs::question(AlertStyle, const QString& message, const QString& informativeText,
                            const QStringList& buttons)
{
    printErrorLine(message + QStringLiteral(" ") + informativeText + QStringLiteral(" -> ") +
                   buttons.value(buttons.size() - 1));
    return int(buttons.size()) - 1;
}

void StderrDialogs::chooseSaveFile(const SaveFileRequest&, std::function<void(std::optional<QString>)> done)
{
    done(std::nullopt);
}

void StderrDialogs::chooseOpenFiles(const OpenFileRequest&, std::function<void(QStringList)> done)
{
    done({});
}
