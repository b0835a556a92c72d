#include "export/PartialVideoFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Attempts at a fresh name before giving up; with 64 random bits a second one is already
// never needed in practice.
constexpr int kNameAttempts = 16;
// Enough of the user's file name to recognise the temporary file, short enough that the
// whole name stays far below the 255-byte limit of a file name.
constexpr qsizetype kNameStemLength = 60;

QString nameStem(const QString& destination)
{
    QString stem = QFileInfo(destination).completeBaseName().left(kNameStemLength);
    if (!stem.isEmpty() && stem.back().isHighSurrogate())
        stem.chop(1);
    return stem.isEmpty() ? QStringLiteral("video") : stem;
}

// A temporary file an export still writes is at most hours old; one untouched for a day
// was left by an export that was killed.
constexpr qint64 kStaleAfterSeconds = 24 * 60 * 60;

// Removes the temporary files of earlier exports in `folder` that nothing has written to
// for a day. Only names of the exact form this file makes are touched.
void removeStalePartialFiles(const QDir& folder)
{
    static const QRegularExpression ownName(QStringLiteral("^\\..+\\.[0-9a-f]{16}\\.mov\\.part$"));
    const QDateTime staleBefore = QDateTime::currentDateTimeUtc().addSecs(-kStaleAfterSeconds);
    const QFileInfoList candidates = folder.entryInfoList({QStringLiteral(".*.mov.part")},
                                                          QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QFileInfo& candidate : candidates) {
        if (ownName.match(candidate.fileName()).hasMatch() && candidate.lastModified().toUTC() < staleBefore)
            QFile::remove(candidate.absoluteFilePath());
    }
}

QString createError(const QString& destination, int code)
{
    return QStringLiteral("A videófájl nem hozható létre (%1): %2").arg(destination, qt_error_string(code));
}

} // namespace

PartialVideoFile::PartialVideoFile(QString path, QString destination)
    : m_path(std::move(path))
    , m_destination(std::move(destination))
{}

PartialVideoFile::~PartialVideoFile()
{
    discard();
}

std::unique_ptr<PartialVideoFile> PartialVideoFile::create(const QString& destination, QString* error)
{
    const QFileInfo target(destination);
    // A folder is never replaced by a video.
    if (target.isDir()) {
        *error = createError(destination, EISDIR);
        return nullptr;
    }
    const QDir folder = target.absoluteDir();
    removeStalePartialFiles(folder);
    const QString stem = nameStem(destination);
    int code = 0;
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const QString name = QStringLiteral(".%1.%2.mov.part")
                                     .arg(stem)
                                     .arg(QRandomGenerator::global()->generate64(), 16, 16, QLatin1Char('0'));
        const QString path = folder.filePath(name);
        // Exclusive creation: an existing file of that name is never opened, let alone truncated.
        const int fd =
                ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            code = errno;
            if (code == EEXIST)
                continue;
            break;
        }
        ::close(fd);
        // The finished video takes the place of the old file with the old file's permissions.
        if (target.isFile())
            QFile::setPermissions(path, target.permissions());
        return std::unique_ptr<PartialVideoFile>(new PartialVideoFile(path, destination));
    }
    *error = createError(destination, code);
    return nullptr;
}

bool PartialVideoFile::commit(QString* error)
{
    if (m_settled)
        return false;
    // rename(2) replaces the destination in one step: whoever looks sees either the old file
    // or the finished video, never a partly written one.
    if (std::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(m_destination).constData()) !=
        0) {
        const int code = errno;
        *error = QStringLiteral("A videófájl nem tehető a helyére (%1): %2")
                         .arg(m_destination, qt_error_string(code));
        discard();
        return false;
    }
    m_settled = true;
    return true;
}

void PartialVideoFile::discard()
{
    if (m_settled)
        return;
    m_settled = true;
    QFile::remove(m_path);
}
