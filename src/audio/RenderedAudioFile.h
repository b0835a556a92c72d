// A rendered recording (the float WAV a load or reload writes into the temporary folder),
// removed from the disk when the last of its users lets go of it: the load that writes it,
// the editor while it is the current recording, an export that muxes it. Shared through
// std::shared_ptr between those, on any thread.
#pragma once

#include <QFile>
#include <QString>

class RenderedAudioFile {
public:
    explicit RenderedAudioFile(QString path)
        : m_path(std::move(path))
    {}
    ~RenderedAudioFile() { QFile::remove(m_path); }
    RenderedAudioFile(const RenderedAudioFile&) = delete;
    RenderedAudioFile& operator=(const RenderedAudioFile&) = delete;

    const QString& path() const { return m_path; }

private:
    const QString m_path;
};
