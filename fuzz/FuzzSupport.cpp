#include "FuzzSupport.h"

#include <QGuiApplication>

extern "C" {
#include <libavutil/log.h>
}

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

void quietMessageHandler(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    // Qt stops the program itself after a fatal message; it is kept so that the reason shows.
    if (type == QtFatalMsg) {
        const QByteArray text = message.toLocal8Bit();
        std::fprintf(stderr, "Qt fatal: %s\n", text.constData());
        std::fflush(stderr);
    }
}

} // namespace

void initialiseFuzzTarget(int* argc, char*** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    qInstallMessageHandler(quietMessageHandler);
    av_log_set_level(AV_LOG_QUIET);

    // Vornik's log goes to standard output; libFuzzer writes its own lines and every crash
    // report to standard error, which stays as it is.
    const int devNull = open("/dev/null", O_WRONLY);
    if (devNull >= 0) {
        std::fflush(stdout);
        dup2(devNull, STDOUT_FILENO);
        close(devNull);
    }

    // Qt takes out the arguments it knows and libFuzzer reads its own after this call, so
    // the application gets only the program name. It lives until the process ends.
    static int applicationArgc = 1;
    static char* applicationArgv[] = {argc && *argc > 0 ? (*argv)[0] : const_cast<char*>("fuzz"), nullptr};
    static QGuiApplication* application = new QGuiApplication(applicationArgc, applicationArgv);
    (void)application;
}

QByteArray fuzzInput(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

void fuzzCheckFailed(const char* what)
{
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::fflush(stderr);
    std::abort();
}
