// Writes a RIFF/WAVE file of 32-bit IEEE float samples (format tag 3), little-endian and
// interleaved, streaming: the header is patched with the final sizes on close(). Used for
// the rendered recording (silence + boosted audio + silence). One thread at a time.
#pragma once

#include "audio/AudioBuffer.h"

#include <QFile>
#include <QString>

#include <cstdint>
#include <span>

class FloatWavWriter {
public:
    FloatWavWriter() = default;
    ~FloatWavWriter();
    FloatWavWriter(const FloatWavWriter&) = delete;
    FloatWavWriter& operator=(const FloatWavWriter&) = delete;

    // Creates (or truncates) the file and writes a provisional header.
    bool open(const QString& path, int sampleRate, int channelCount, QString* error);
    // Appends `frameCount` frames of interleaved samples (frameCount x channelCount floats).
    bool writeInterleaved(std::span<const float> samples, QString* error);
    // Appends frames of every channel of `buffer`, each sample multiplied by `gain`
    // (no clipping: values beyond -1...1 are written as they are).
    bool writeBuffer(const AudioBuffer& buffer, float gain, QString* error);
    // Appends `frameCount` frames of digital silence (0.0 in every channel).
    bool writeSilence(int64_t frameCount, QString* error);
    // Writes the final sizes into the header and closes the file.
    bool close(QString* error);

    int64_t framesWritten() const { return m_framesWritten; }

private:
    bool writeBytes(const char* data, int64_t size, QString* error);
    bool writeHeader(QString* error);

    QFile m_file;
    int m_sampleRate = 0;
    int m_channelCount = 0;
    int64_t m_framesWritten = 0;
};

// Writes a whole buffer as a float WAV file in one call.
bool writeFloatWav(const QString& path, const AudioBuffer& buffer, QString* error);
