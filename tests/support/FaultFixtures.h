// Faults made on purpose for the tests: a file-size limit that makes every write past it
// fail the way a full disk does, and listings of what a failed operation left in a folder.
#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include <csignal>
#include <sys/resource.h>

namespace FaultFixtures {

// While alive, no file of this process may grow past `bytes`: a write beyond it fails with
// EFBIG as on a full disk (the signal the kernel would send for it is ignored, also for
// root). Process-wide, so the test must wait for any background work it starts before the
// limit goes. The previous limit and signal handling come back on destruction.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

    bool active() const { return m_active; }

private:
    rlimit m_saved{};
    struct sigaction m_savedAction {};
    bool m_active = false;
};

// The names of the files in `folder`, sorted, hidden ones included.
QStringList filesIn(const QString& folder);

// The hidden temporary names an export uses beside its destination (".<name>.*.mov.part").
QStringList partialVideoFilesIn(const QString& folder);

// A page of random pixels (fixed seed): it does not compress, so a few frames of it make a
// video of a known, sizeable length.
QImage noisePage(QSize size);

} // namespace FaultFixtures
