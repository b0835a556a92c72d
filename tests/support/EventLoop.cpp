#include "tests/support/EventLoop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

bool waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return condition();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

void drainEvents()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}
