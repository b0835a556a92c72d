// The reason shown for an exception that ended a background job: its own text, or a plain
// Hungarian one for an allocation failure and for something that is not a std::exception.
#pragma once

#include <QString>

#include <exception>
#include <new>

inline QString describeException(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::bad_alloc&) {
        return QStringLiteral("nincs elég memória");
    } catch (const std::exception& caught) {
        return QString::fromLocal8Bit(caught.what());
    } catch (...) {
        return QStringLiteral("ismeretlen hiba");
    }
}
