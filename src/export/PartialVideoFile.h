// The exported video while it is being made: a hidden file ".<name>.<random>.mov.part" in
// the destination's folder, created exclusively so that it can never be someone else's file.
// commit() renames it over the destination in one step, so a file already there is replaced
// only by a finished video; a file that was never committed is removed when the object goes.
// Used by one thread at a time; the export hands it between threads with queued calls.
#pragma once

#include <QString>

#include <memory>

class PartialVideoFile {
public:
    // Creates the empty temporary file beside `destination`. None (with `error`) when the
    // folder cannot take a new file or the destination is a folder itself. Temporary files
    // of earlier exports in that folder that were left by a killed program (older than a
    // day) are removed first.
    static std::unique_ptr<PartialVideoFile> create(const QString& destination, QString* error);

    ~PartialVideoFile();
    PartialVideoFile(const PartialVideoFile&) = delete;
    PartialVideoFile& operator=(const PartialVideoFile&) = delete;

    const QString& path() const { return m_path; }
    const QString& destination() const { return m_destination; }

    // Moves the file into place, replacing whatever file the destination held. False (with
    // `error`) when that fails; the temporary file is then removed and the destination is
    // left as it was.
    bool commit(QString* error);
    // Removes the temporary file (nothing happens after a commit).
    void discard();

private:
    PartialVideoFile(QString path, QString destination);

    QString m_path;
    QString m_destination;
    bool m_settled = false;
};
