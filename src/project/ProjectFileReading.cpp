#include "project/ProjectFileReading.h"

#include <QFile>

#include <algorithm>

namespace {

constexpr qint64 kReadChunkBytes = 1 << 20;

} // namespace

ProjectFileRead readProjectFile(const QString& path)
{
    ProjectFileRead result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = file.errorString();
        return result;
    }
    const auto tooLarge = [&result](const QString& size) {
        result.failure = ProjectDecodeFailure::tooLarge;
        result.error = size + QStringLiteral(" byte, legfeljebb %1 byte").arg(kMaxProjectFileBytes);
        return result;
    };
    // A regular file says its size up front; a pipe or a device is read in chunks and
    // refused as soon as it passes the limit.
    if (!file.isSequential() && file.size() > kMaxProjectFileBytes)
        return tooLarge(QString::number(file.size()));
    QByteArray bytes;
    if (!file.isSequential()) {
        bytes.resize(file.size());
        qint64 done = 0;
        while (done < bytes.size()) {
            const qint64 got = file.read(bytes.data() + done, bytes.size() - done);
            if (got <= 0)
                break;
            done += got;
        }
        bytes.truncate(done);
    } else {
        while (true) {
            const qint64 wanted = std::min(kReadChunkBytes, kMaxProjectFileBytes + 1 - bytes.size());
            const QByteArray chunk = file.read(wanted);
            if (chunk.isEmpty())
                break;
            bytes += chunk;
            if (bytes.size() > kMaxProjectFileBytes)
                return tooLarge(QStringLiteral("több mint %1").arg(kMaxProjectFileBytes));
        }
    }
    if (file.error() != QFileDevice::NoError) {
        result.error = file.errorString();
        return result;
    }
    result.project = decodeProject(bytes, &result.error, &result.failure);
    return result;
}

QString projectTooLargeLogLine(const ProjectFileRead& read)
{
    return QStringLiteral("[Load] Hiba: a projekt túl nagy (") + read.error + QStringLiteral("), skip");
}
