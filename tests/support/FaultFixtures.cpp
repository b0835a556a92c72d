#include "tests/support/FaultFixtures.h"

#include <QDir>

#include <random>

namespace FaultFixtures {

FileSizeLimit::FileSizeLimit(rlim_t bytes)
{
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    if (sigaction(SIGXFSZ, &ignore, &m_savedAction) != 0 || getrlimit(RLIMIT_FSIZE, &m_saved) != 0)
        return;
    rlimit small = m_saved;
    small.rlim_cur = bytes;
    m_active = setrlimit(RLIMIT_FSIZE, &small) == 0;
}

FileSizeLimit::~FileSizeLimit()
{
    if (m_active)
        setrlimit(RLIMIT_FSIZE, &m_saved);
    sigaction(SIGXFSZ, &m_savedAction, nullptr);
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

QStringList partialVideoFilesIn(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral(".*.mov.part")}, QDir::Files | QDir::Hidden, QDir::Name);
}

QImage noisePage(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    std::mt19937 random(1234);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = qRgb(int(random() % 256), int(random() % 256), int(random() % 256));
    }
    return image;
}

} // namespace FaultFixtures
